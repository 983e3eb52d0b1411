// The frame's file commands: the command line and the question on exit.

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

using testing::TempDir;
using testing::TestFrame;
using testing::WriteTestProject;

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
  };
  for (const Case& c : cases) {
    TestFrame t;
    OpenCommandLine(t.frame, c.line);
    EXPECT_EQ(t.frame.Devices().size(), c.windows) << c.line;
    EXPECT_TRUE(t.frame.Globals().RecentSessions.empty());
    EXPECT_TRUE(t.frame.Globals().CurrentSession.empty());
  }
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
      {true, false, PromptAnswer::Cancel, false, false, true},
      {true, true, PromptAnswer::Yes, true, true, true},
      {true, true, PromptAnswer::No, true, false, true},
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
