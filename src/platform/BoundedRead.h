#pragma once

// The one way the program reads a file it is given: projects, sessions,
// settings, register lists, the JSON of a project and the guide's links.
// A path can name anything, and the user may be handed it by another program
// or an old recent-files entry, so a read must neither hang nor eat memory:
// the file is opened without blocking, refused unless the opened descriptor
// is a regular file (a FIFO, a terminal or /dev/zero never gets a read), and
// read no further than a cap that depends on what the file is for.
//
// A BoundedFile lives for one read: open, look at its head if the kind has
// one to check, then take the rest. It closes when it goes.

#include <cstdint>
#include <string>

namespace quorvel::platform {

// The most each kind of file may hold. A project of 32767 elements with
// every text at its longest is far below the project cap; a dump of the
// largest project as JSON, every byte two hex digits and its separator,
// stays within its own; a register list names at most every address of the
// four tables, a line each.
inline constexpr std::uint64_t kProjectFileLimit = 64ull << 20;
inline constexpr std::uint64_t kSessionFileLimit = 1ull << 20;
inline constexpr std::uint64_t kSettingsFileLimit = 1ull << 20;
inline constexpr std::uint64_t kJsonFileLimit = 256ull << 20;
inline constexpr std::uint64_t kCsvFileLimit = 16ull << 20;
inline constexpr std::uint64_t kLinkFileLimit = 64ull << 10;

// "File too large: PATH".
std::string FileTooLarge(const std::string& path);

class BoundedFile {
 public:
  BoundedFile() = default;
  ~BoundedFile();
  BoundedFile(const BoundedFile&) = delete;
  BoundedFile& operator=(const BoundedFile&) = delete;

  // Opens `path` for reading; false with `error` set ("Cannot read PATH:
  // ...") when it is missing, unreadable or not a regular file.
  bool Open(const std::string& path, std::string& error);
  // The size the file system gives; a file can still grow while it is read.
  std::uint64_t Size() const { return size_; }
  // Appends up to `count` further bytes to `bytes`; fewer at the end of the file.
  bool Read(std::uint64_t count, std::string& bytes, std::string& error);
  // Appends the rest of the file to `bytes`; "File too large" when the whole
  // file would be more than `limit` bytes, with nothing appended.
  bool ReadRest(std::uint64_t limit, std::string& bytes, std::string& error);

 private:
  std::string path_;
  int fd_ = -1;
  std::uint64_t size_ = 0;
  std::uint64_t taken_ = 0;
};

// The whole file at `path` into `bytes`, at most `limit` bytes of it.
bool ReadWholeFile(const std::string& path, std::uint64_t limit, std::string& bytes, std::string& error);

}  // namespace quorvel::platform
