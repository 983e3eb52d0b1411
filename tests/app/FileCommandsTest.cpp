// The frame's file commands once a name is known: the command line, Open,
// Save Session, the recent sessions and the question on exit.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "SessionTestSupport.h"
#include "app/FileCommands.h"
#include "app/Session.h"
#include "serial/clsCOM.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::TestFrame;
using testing::WriteTestProject;

TEST(CommandLine, IsLoweredAndLosesItsQuotes) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\"C:\\Dir\\A b.QVC\"", "c:\\dir\\a b.qvc"},
      {"x\"y\"z", "xyz"},
  };
  for (const auto& [line, expected] : cases) EXPECT_EQ(CommandLineFile(line), expected) << line;
}

TEST(CommandLine, OpensProjectsAndSessionsByTheirEnding) {
  TempDir dir;
  const std::string project = WriteTestProject(dir.Make("Meter.qvc"));
  const std::string session = dir.Make("Plant.qvs");
  {
    TestFrame t;
    t.frame.OpenProject(project);
    ASSERT_TRUE(SaveSession(t.frame, session));
  }
  struct Case {
    std::string line;
    std::size_t windows;
  };
  // Names are lowered only to pick the kind; here, where letter case
  // matters, the name as given is opened.
  const std::vector<Case> cases = {
      {"\"" + project + "\"", 1},
      {project.substr(0, project.size() - 3) + "QVC", 0},  // the ending lowered: a project, but no such file
      {"\"" + session + "\"", 1},
      {dir.Make("notes.txt"), 0},
  };
  for (const Case& c : cases) {
    TestFrame t;
    OpenCommandLine(t.frame, c.line);
    EXPECT_EQ(t.frame.Devices().size(), c.windows) << c.line;
    EXPECT_TRUE(t.frame.Globals().RecentSessions.empty());
    EXPECT_TRUE(t.frame.Globals().CurrentSession.empty());
  }
}

TEST(FileCommands, OpenPicksTheKindByTheExactExtension) {
  TempDir dir;
  const std::string project = WriteTestProject(dir.Make("in/Meter.qvc"));
  WriteTestProject(dir.Make("in/Upper.QVC"));
  TestFrame t;
  t.frame.Globals().LastPath = "/before";
  OpenChosenFile(t.frame, dir.Make("in/Upper.QVC"));
  EXPECT_TRUE(t.frame.Devices().empty());
  EXPECT_TRUE(t.messages.empty());
  OpenChosenFile(t.frame, dir.Make("in/Missing.qvc"));
  EXPECT_EQ(t.frame.Globals().LastPath, "/before");  // a project that does not load leaves it
  OpenChosenFile(t.frame, project);
  EXPECT_EQ(t.frame.Devices().size(), 1U);
  EXPECT_EQ(t.frame.Globals().LastPath, (dir.path() / "in").string());
  EXPECT_TRUE(t.frame.Globals().RecentFiles.empty());
}

TEST(FileCommands, ASessionOpenedOrSavedHeadsTheRecentList) {
  TempDir dir;
  const std::string project = WriteTestProject(dir.Make("p/Meter.qvc"));
  const std::string saved = dir.Make("s/Saved.qvs");
  TestFrame t;
  t.frame.Globals().AppPath = "/opt/q/";
  t.frame.OpenProject(project);
  t.frame.Globals().SessionChanged = true;
  ASSERT_TRUE(SaveChosenSession(t.frame, saved));
  EXPECT_FALSE(t.frame.Globals().SessionChanged);
  EXPECT_EQ(t.frame.Globals().CurrentSession, saved);
  EXPECT_EQ(t.frame.Globals().RecentSessions, (std::vector<std::string>{saved}));

  const std::string other = dir.Make("t/Other.qvs");
  fs::copy_file(saved, other);
  OpenChosenFile(t.frame, other);
  EXPECT_EQ(t.frame.Devices().size(), 2U);
  EXPECT_EQ(t.frame.Globals().CurrentSession, other);
  EXPECT_EQ(t.frame.Globals().LastPath, (dir.path() / "t").string());
  EXPECT_EQ(t.frame.Globals().RecentSessions, (std::vector<std::string>{other, saved}));

  // A session that does not load is not remembered.
  OpenChosenFile(t.frame, (dir.path() / "gone.qvs").string());
  EXPECT_EQ(t.frame.Globals().RecentSessions.size(), 2U);
  EXPECT_EQ(t.frame.Globals().CurrentSession, other);
}

TEST(FileCommands, ExitAsksOnlyWithWindowsOpenAndTheSessionChanged) {
  TempDir dir;
  const std::string project = WriteTestProject(dir.Make("P.qvc"));
  struct Case {
    bool window;
    bool changed;
    PromptAnswer answer;
    bool asked, saved, closes;
  };
  const std::vector<Case> cases = {
      {false, true, PromptAnswer::Cancel, false, false, true}, {true, false, PromptAnswer::Cancel, false, false, true},
      {true, true, PromptAnswer::Yes, true, true, true},       {true, true, PromptAnswer::No, true, false, true},
      {true, true, PromptAnswer::Cancel, true, false, false},
  };
  for (const Case& c : cases) {
    TestFrame t;
    if (c.window) t.frame.OpenProject(project);
    t.frame.Globals().SessionChanged = c.changed;
    bool asked = false, saved = false;
    const bool closes = MDIForm_QueryUnload(
        t.frame,
        [&](const std::string& text, const std::string& title) {
          asked = true;
          EXPECT_EQ(text, "Save current session?");
          EXPECT_EQ(title, "Draventa");
          return c.answer;
        },
        [&] { saved = true; });
    EXPECT_EQ(asked, c.asked);
    EXPECT_EQ(saved, c.saved);
    EXPECT_EQ(closes, c.closes);
  }
}

}  // namespace
}  // namespace quorvel
