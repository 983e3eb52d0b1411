// Project paths in sessions: relative to the session where they can be, and
// read back whether written here or on Windows.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SessionTestSupport.h"
#include "app/SessionPaths.h"

namespace quorvel {
namespace {

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
      {"..\\projects\\a.qvc", root + "/projects/a.qvc"},        {".\\x\\..\\a.qvc", sessionDir + "/a.qvc"},
      {"odd\\name.qvc", sessionDir + "/odd\\name.qvc"},         {"C:\\Missing\\a.qvc", "C:\\Missing\\a.qvc"},
      {"\\\\server\\share\\a.qvc", "\\\\server\\share\\a.qvc"},
  };
  for (const auto& [stored, expected] : cases) EXPECT_EQ(ResolveProjectPath(sessionDir, stored), expected) << stored;
}

}  // namespace
}  // namespace quorvel
