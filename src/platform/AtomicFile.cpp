#include "platform/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

namespace quorvel::platform {
namespace {

std::string Reason(int code) { return std::strerror(code); }

// A name beside the target that another writer, in this process or another,
// picks only by chance; the exclusive create catches that chance.
std::string TempName(const std::string& target) {
  std::random_device random;
  return target + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(random());
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

}  // namespace

bool WriteFileAtomically(const std::string& path, std::string_view bytes, std::string& error) {
  std::string target = path;
  std::error_code ec;
  if (std::filesystem::is_symlink(path, ec)) {
    // The link stays; its target gets the new content.
    const auto resolved = std::filesystem::weakly_canonical(path, ec);
    if (!ec) target = resolved.string();
  }
  struct stat old {};
  const bool existed = ::stat(target.c_str(), &old) == 0;

  std::string temp;
  int fd = -1;
  for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
    temp = TempName(target);
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) break;
  }
  if (fd < 0) {
    error = "Cannot write " + path + ": " + Reason(errno);
    return false;
  }
  bool ok = WriteAll(fd, bytes);
  int code = errno;
  if (ok && existed) ::fchmod(fd, old.st_mode & 07777);
  if (ok && ::fsync(fd) != 0) ok = false, code = errno;
  if (::close(fd) != 0 && ok) ok = false, code = errno;
  if (ok && ::rename(temp.c_str(), target.c_str()) != 0) ok = false, code = errno;
  if (!ok) {
    ::unlink(temp.c_str());
    error = "Cannot write " + path + ": " + Reason(code);
  }
  return ok;
}

}  // namespace quorvel::platform
