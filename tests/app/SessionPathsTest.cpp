// Project paths in sessions: relative to the session where they can be, and
// read back whether written here or on Windows.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SessionTestSupport.h"
#include "app/SessionPaths.h"

namespace quorvel {
namespace {

TEST(RelativePath, ClimbsToTheCommonDirectoryAndDescends) {
  const struct {
    std::string base, target;
    PathStyle style;
    std::string expected;
  } cases[] = {
      {"/home/u/s.qvs", "/home/u/p/a.qvc", PathStyle::Native, "p/a.qvc"},
      {"/home/u/sessions/s.qvs", "/home/u/projects/a.qvc", PathStyle::Native, "../projects/a.qvc"},
      {"/home/A/s.qvs", "/home/a/x.qvc", PathStyle::Native, "../a/x.qvc"},  // letter case makes another directory
      {"C:\\a\\b\\c\\s.qvs", "C:\\x.qvc", PathStyle::Windows, "..\\..\\..\\x.qvc"},
      {"C:\\Dev\\s.qvs", "D:\\Dev\\a.qvc", PathStyle::Windows, ""},  // another drive shares no directory
      // On Windows letter case does not count; the rest comes from the target.
      {"C:\\DEV\\s.qvs", "c:\\dev\\Sub\\A.qvc", PathStyle::Windows, "Sub\\A.qvc"},
      // A directory whose name starts like another's is not common.
      {"C:\\ab\\s.qvs", "C:\\abc\\x.qvc", PathStyle::Windows, "..\\abc\\x.qvc"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RelativePath(c.base, c.target, c.style), c.expected) << c.base << " -> " << c.target;
  }
  const std::string rest(1200, 'x');  // at most a thousand characters of the rest
  EXPECT_EQ(RelativePath("/d/s.qvs", "/d/" + rest), rest.substr(0, 1000));
}

TEST(StoredProjectPath, IsRelativeWhenThatLeadsBackElseAbsolute) {
  EXPECT_EQ(StoredProjectPath("/t/s/./x/../a.qvs", "/t/s/q/../p.qvc"), "p.qvc");
  // A rest beyond the cap would not lead back.
  std::string deep = "/t";
  for (int i = 0; i < 120; ++i) deep += "/abcdefghij";
  EXPECT_EQ(StoredProjectPath("/t/a.qvs", deep + "/p.qvc"), deep + "/p.qvc");
}

TEST(ResolveProjectPath, ReadsPathsWrittenHereOrOnWindows) {
  testing::TempDir dir;
  dir.Make("sessions/.keep");
  const std::string sessionDir = (dir.path() / "sessions").string();
  const std::string root = dir.path().string();
  // A file whose name holds a backslash is found under that name.
  testing::WriteBytes(dir.Make("sessions/odd\\name.qvc"), "x");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a.qvc", sessionDir + "/a.qvc"},
      {"../projects/a.qvc", root + "/projects/a.qvc"},
      {"..\\projects\\a.qvc", root + "/projects/a.qvc"},
      {".\\x\\..\\a.qvc", sessionDir + "/a.qvc"},
      {"odd\\name.qvc", sessionDir + "/odd\\name.qvc"},
      {root + "/projects/a.qvc", root + "/projects/a.qvc"},
      {"C:\\Missing\\a.qvc", "C:\\Missing\\a.qvc"},
      {"\\\\server\\share\\a.qvc", "\\\\server\\share\\a.qvc"},
  };
  for (const auto& [stored, expected] : cases) EXPECT_EQ(ResolveProjectPath(sessionDir, stored), expected) << stored;
}

}  // namespace
}  // namespace quorvel
