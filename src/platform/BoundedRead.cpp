#include "platform/BoundedRead.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quorvel::platform {
namespace {

std::string CannotRead(const std::string& path, const std::string& reason) {
  return "Cannot read " + path + ": " + reason;
}

}  // namespace

std::string FileTooLarge(const std::string& path) { return "File too large: " + path; }

BoundedFile::~BoundedFile() {
  if (fd_ >= 0) ::close(fd_);
}

bool BoundedFile::Open(const std::string& path, std::string& error) {
  path_ = path;
  // Without O_NONBLOCK opening a FIFO waits for a writer, and a terminal for
  // its carrier; the descriptor's own type is checked afterwards, so a file
  // swapped for something else between a look and the open is caught too.
  fd_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd_ < 0) {
    error = CannotRead(path, std::strerror(errno));
    return false;
  }
  struct stat info {};
  if (::fstat(fd_, &info) != 0) {
    error = CannotRead(path, std::strerror(errno));
    return false;
  }
  if (!S_ISREG(info.st_mode)) {
    error = CannotRead(path, S_ISDIR(info.st_mode) ? std::strerror(EISDIR) : "not a regular file");
    ::close(fd_);
    fd_ = -1;
    return false;
  }
  size_ = static_cast<std::uint64_t>(info.st_size);
  return true;
}

bool BoundedFile::Read(std::uint64_t count, std::string& bytes, std::string& error) {
  if (fd_ < 0) {
    error = CannotRead(path_, std::strerror(EBADF));
    return false;
  }
  char buffer[65536];
  while (count > 0) {
    const ssize_t n = ::read(fd_, buffer, static_cast<std::size_t>(std::min<std::uint64_t>(count, sizeof buffer)));
    if (n < 0) {
      if (errno == EINTR) continue;
      error = CannotRead(path_, std::strerror(errno));
      return false;
    }
    if (n == 0) break;
    bytes.append(buffer, static_cast<std::size_t>(n));
    taken_ += static_cast<std::uint64_t>(n);
    count -= static_cast<std::uint64_t>(n);
  }
  return true;
}

bool BoundedFile::ReadRest(std::uint64_t limit, std::string& bytes, std::string& error) {
  if (size_ > limit) {
    error = FileTooLarge(path_);
    return false;
  }
  // The size said may be stale (a file being written, a /proc file saying
  // 0), so one byte past the cap is asked for to see whether there is more.
  const std::size_t before = bytes.size();
  const std::uint64_t room = limit > taken_ ? limit - taken_ : 0;
  bytes.reserve(before + static_cast<std::size_t>(std::min(size_, limit) - std::min(size_, taken_)));
  if (!Read(room + 1, bytes, error)) return false;
  if (bytes.size() - before > room) {
    bytes.resize(before);
    error = FileTooLarge(path_);
    return false;
  }
  return true;
}

bool ReadWholeFile(const std::string& path, std::uint64_t limit, std::string& bytes, std::string& error) {
  BoundedFile file;
  std::string content;
  if (!file.Open(path, error) || !file.ReadRest(limit, content, error)) return false;
  bytes = std::move(content);
  return true;
}

}  // namespace quorvel::platform
