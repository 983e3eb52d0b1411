// The one file reader: what it takes, what it refuses and with which words,
// and that nothing it is pointed at can make it wait or fill the memory.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>

#include "LineTestSupport.h"
#include "platform/BoundedRead.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kLimit = 1024;

struct ReadCase {
  const char* name;
  // Makes the thing to read in `dir` and gives its path.
  std::function<std::string(const fs::path& dir)> make;
  bool ok;
  // The whole error with PATH for the path; empty when read.
  std::string error;
  std::string content = {};
};

void PrintTo(const ReadCase& c, std::ostream* os) { *os << c.name; }

std::string Write(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
  return path.string();
}

// A file that says it is `size` bytes long and holds almost none of them.
std::string Sparse(const fs::path& path, std::uint64_t size) {
  const std::string name = Write(path, "DraventaFabricant\n");
  if (truncate(name.c_str(), static_cast<off_t>(size)) != 0) throw std::runtime_error("no sparse file");
  return name;
}

std::string Replace(std::string text, const std::string& path) {
  const auto at = text.find("PATH");
  if (at != std::string::npos) text.replace(at, 4, path);
  return text;
}

class BoundedRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(BoundedRead, TakesRegularFilesUpToTheLimitOnly) {
  const ReadCase& c = GetParam();
  if (std::string(c.name) == "Unreadable" && geteuid() == 0) GTEST_SKIP() << "root reads every file";
  TempDir dir;
  const std::string path = c.make(dir.path());
  // A FIFO's other end held open here: even a reader that did wait for a
  // writer would find one, so the test cannot hang on it.
  const int writer = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  struct stat info {};
  const bool fifo = stat(path.c_str(), &info) == 0 && S_ISFIFO(info.st_mode);
  if (fifo) {
    ASSERT_GE(writer, 0);
    ASSERT_EQ(write(writer, "x", 1), 1);
  }

  std::string bytes = "untouched", error;
  EXPECT_EQ(ReadWholeFile(path, kLimit, bytes, error), c.ok);
  EXPECT_EQ(error, Replace(c.error, path));
  EXPECT_EQ(bytes, c.ok ? c.content : "untouched");
  if (writer >= 0) close(writer);
}

const ReadCase kCases[] = {
    {"Regular", [](const fs::path& d) { return Write(d / "a.txt", "one\r\ntwo"); }, true, "", "one\r\ntwo"},
    {"Empty", [](const fs::path& d) { return Write(d / "e.txt", ""); }, true, "", ""},
    {"ExactlyTheLimit", [](const fs::path& d) { return Write(d / "l.txt", std::string(kLimit, 'x')); }, true, "",
     std::string(kLimit, 'x')},
    {"OneByteOver", [](const fs::path& d) { return Write(d / "o.txt", std::string(kLimit + 1, 'x')); }, false,
     "File too large: PATH"},
    {"SparseTwentyGigabytes", [](const fs::path& d) { return Sparse(d / "big.qvc", 20ull << 30); }, false,
     "File too large: PATH"},
    {"Fifo",
     [](const fs::path& d) {
       const fs::path p = d / "pipe.qvs";
       mkfifo(p.c_str(), 0600);
       return p.string();
     },
     false, "Cannot read PATH: not a regular file"},
    {"LinkToDevZero",
     [](const fs::path& d) {
       fs::create_symlink("/dev/zero", d / "zero.conf");
       return (d / "zero.conf").string();
     },
     false, "Cannot read PATH: not a regular file"},
    {"LinkToAFile",
     [](const fs::path& d) {
       Write(d / "target", "through");
       fs::create_symlink(d / "target", d / "link");
       return (d / "link").string();
     },
     true, "", "through"},
    {"Directory", [](const fs::path& d) { return d.string(); }, false, "Cannot read PATH: Is a directory"},
    {"Missing", [](const fs::path& d) { return (d / "none").string(); }, false,
     "Cannot read PATH: No such file or directory"},
    {"Unreadable",
     [](const fs::path& d) {
       const std::string p = Write(d / "locked", "secret");
       chmod(p.c_str(), 0);
       return p;
     },
     false, "Cannot read PATH: Permission denied"},
};

INSTANTIATE_TEST_SUITE_P(Kinds, BoundedRead, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<ReadCase>& info) { return std::string(info.param.name); });

// The project loader looks at the head before it decides to read the rest.
TEST(BoundedFile, ReadsTheHeadOfAFileTooLargeToReadWhole) {
  TempDir dir;
  const std::string path = Sparse(dir.path() / "big.qvc", 20ull << 30);
  BoundedFile file;
  std::string bytes, error;
  ASSERT_TRUE(file.Open(path, error)) << error;
  EXPECT_EQ(file.Size(), 20ull << 30);
  ASSERT_TRUE(file.Read(8, bytes, error)) << error;
  EXPECT_EQ(bytes, "Draventa");
  EXPECT_FALSE(file.ReadRest(kLimit, bytes, error));
  EXPECT_EQ(error, "File too large: " + path);
  EXPECT_EQ(bytes, "Draventa");
}

// A file that says it is empty but is not (as /proc's do) is still capped.
TEST(BoundedFile, CapsAFileWhoseSizeSaysNothing) {
  std::string bytes, error;
  EXPECT_TRUE(ReadWholeFile("/proc/self/status", 1 << 20, bytes, error)) << error;
  EXPECT_NE(bytes.find("Name:"), std::string::npos);
  EXPECT_FALSE(ReadWholeFile("/proc/self/status", 16, bytes, error));
  EXPECT_EQ(error, "File too large: /proc/self/status");
}

}  // namespace
}  // namespace quorvel::platform
