// quorvel-cli run with a session: every window opens as the session says,
// user requests are chosen, and the session is written back on exit.

#include <gtest/gtest.h>

#include <filesystem>

#include "CliTestSupport.h"
#include "app/DefaultPlacement.h"
#include "app/Session.h"
#include "app/SessionFile.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;

const std::string kSession = std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvs";

// The sample session (or `file`) run over a null-modem line, saved on exit
// to `saved` in a scratch directory of the test's own.
struct RunSession : ::testing::Test {
  testing::TempDir dir;
  const std::string saved = dir.Make("saved.qvs");

  CliRun Run(std::vector<std::string> options, const std::string& file = kSession) {
    options.insert(options.begin(), {"--save-session", saved});
    options.push_back(file);
    return RunCliOnModem("run", options);
  }
};

TEST_F(RunSession, OpensEveryWindowChoosesUserRequestsAndSavesTheSession) {
  const CliRun run = Run({"--seconds", "1.5", "--user-request", "Reset totaliser", "--user-request",
                          "2:Reset totaliser", "--user-request", "No such item"});
  // The run goes on past a user request that names nothing, but fails.
  ASSERT_EQ(run.status, 1) << run.err;
  const auto state = nlohmann::json::parse(run.out);
  ASSERT_EQ(state["windows"].size(), 2u) << run.out;
  const auto& master = state["windows"][0];
  const auto& slave = state["windows"][1];
  EXPECT_EQ(master["mode"], "Master");
  EXPECT_EQ(slave["mode"], "Slave");
  EXPECT_EQ(master["counters"]["TOErr"], 0) << run.out;
  EXPECT_EQ(master["timing"], "Classic");
  EXPECT_EQ(slave["echo"], false);
  // The master's user request set coil 10 in the emulated meter, and the
  // master's next poll showed it; the slave window has no user menus.
  EXPECT_EQ(Shown(slave, "C 0010"), "1");
  EXPECT_EQ(Shown(master, "C 0010"), "1");
  EXPECT_EQ(state["messages"],
            nlohmann::json::array({"window 2 has no user request Reset totaliser",
                                   "window 1 has no user request No such item", "Reset totaliser: Responce is OK."}))
      << run.out;

  // The saved session opens the same two windows again.
  platform::SystemClock clock;
  frmQuorvelMain frame(clock);
  ASSERT_TRUE(LoadSession(frame, saved));
  ASSERT_EQ(frame.Devices().size(), 2u);
  EXPECT_EQ(frame.Devices()[0]->Mode(), kMaster);
  EXPECT_EQ(frame.Devices()[0]->COM(), 1);
  EXPECT_EQ(frame.Devices()[1]->Mode(), kSlave);
  EXPECT_EQ(frame.Devices()[1]->COM(), 2);
  EXPECT_EQ(fs::canonical(frame.Devices()[0]->ProjectFile()),
            fs::canonical(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc"));
}

TEST_F(RunSession, TimingAndEchoOverrideEveryPortTheSessionUses) {
  const CliRun run = Run({"--seconds", "0.2", "--timing", "FAST", "--echo"});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto state = nlohmann::json::parse(run.out);
  ASSERT_EQ(state["windows"].size(), 2u) << run.out;
  for (const auto& window : state["windows"]) {
    EXPECT_EQ(window["timing"], "Fast") << run.out;
    EXPECT_EQ(window["echo"], true) << run.out;
  }
  platform::SystemClock clock;
  frmQuorvelMain frame(clock);
  ASSERT_TRUE(LoadSession(frame, saved));
  for (int com = 1; com <= 3; ++com) {
    EXPECT_EQ(frame.Port(com).Timing, com <= 2 ? LineTiming::Fast : LineTiming::Classic) << com;
    EXPECT_EQ(frame.Port(com).Echo, com <= 2) << com;
  }
}

// Headless nothing has a size; the saved session carries the ones the
// desktop would give the same windows, so that it opens usable there.
TEST_F(RunSession, ASavedSessionHasTheDesktopsSizes) {
  const std::string project = std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc";
  const CliRun run = Run({"--seconds", "0.05"}, project);
  ASSERT_EQ(run.status, 0) << run.err;
  const SessionFile session = ParseSession(testing::ReadBytes(saved));
  EXPECT_EQ(session.Width, 10240);
  EXPECT_EQ(session.Height, 7680);
  ASSERT_EQ(session.Windows.size(), 1u);

  platform::SystemClock clock;
  frmQuorvelMain frame(clock);
  const frmQuorvel* window = frame.OpenProject(project);
  ASSERT_NE(window, nullptr);
  const WindowPlacement expected = DefaultWindowPlacement(*window, 0);
  // The sample's panel is larger than the least window the desktop makes.
  EXPECT_GT(expected.Width, 4800);
  EXPECT_GT(expected.Height, 3600);
  const SessionWindow& saved = session.Windows[0];
  EXPECT_EQ(WindowPlacement(saved.Left, saved.Top, saved.Width, saved.Height), expected);
}

TEST_F(RunSession, RefusesProjectOptionsAndUnknownTimings) {
  const struct {
    std::vector<std::string> args;
    const char* says;
  } cases[] = {
      {{"run", "--com", "3", kSession}, "--com is for a project"},
      {{"run", "--timing", "slow", kSession}, "timing is classic, standard or fast, not 'slow'"},
      {{"run", "--seconds", "nan", kSession}, "not a number of seconds: 'nan'"},
      {{"run", "--seconds", "inf", kSession}, "not a number of seconds: 'inf'"},
      {{"monitor", "--seconds", "INF"}, "not a number of seconds: 'INF'"},
      // The sample session's second window emulates the meter.
      {{"run", "--log", "2:values.csv", kSession}, "window 2 is a Slave: it has no values to log"},
      {{"run", "--log", "3:values.csv", kSession}, "there is no window 3"},
      {{"run", "--log-every", kSession}, "--log-every goes with --log"},
  };
  for (const auto& c : cases) {
    const CliRun run = RunCli(c.args);
    EXPECT_EQ(run.status, kUsage) << c.says;
    EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
  }
}

}  // namespace
}  // namespace quorvel::cli
