// quorvel-cli run with a session: every window opens as the session says,
// user requests are chosen, and the session is written back on exit.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "CliTestSupport.h"
#include "app/Session.h"
#include "platform/NullModem.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;

std::string Shown(const nlohmann::json& window, const std::string& label) {
  for (const auto& value : window["values"])
    if (value["label"] == label) return value["text"];
  return "(no " + label + ")";
}

TEST(RunSession, OpensEveryWindowChoosesUserRequestsAndSavesTheSession) {
  platform::NullModem modem;
  std::thread line([&] { modem.Run(); });
  const fs::path dir = fs::temp_directory_path() / ("quorvel-run-session-" + std::to_string(getpid()));
  fs::create_directories(dir);
  const fs::path saved = dir / "saved.qvs";
  const CliRun run = RunCli({"run", "--map", "COM1=" + modem.Path(platform::End::A), "--map",
                             "COM2=" + modem.Path(platform::End::B), "--seconds", "1.5", "--user-request",
                             "Reset totaliser", "--user-request", "2:Reset totaliser", "--user-request", "No such item",
                             "--save-session", saved.string(), std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvs"});
  modem.Stop();
  line.join();
  ASSERT_EQ(run.status, 0) << run.err;
  const auto state = nlohmann::json::parse(run.out);
  ASSERT_EQ(state["windows"].size(), 2u) << run.out;
  const auto& master = state["windows"][0];
  const auto& slave = state["windows"][1];
  EXPECT_EQ(master["mode"], "Master");
  EXPECT_EQ(slave["mode"], "Slave");
  EXPECT_EQ(master["counters"]["TOErr"], 0) << run.out;
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
  ASSERT_TRUE(LoadSession(frame, saved.string()));
  ASSERT_EQ(frame.Devices().size(), 2u);
  EXPECT_EQ(frame.Devices()[0]->Mode(), kMaster);
  EXPECT_EQ(frame.Devices()[0]->COM(), 1);
  EXPECT_EQ(frame.Devices()[1]->Mode(), kSlave);
  EXPECT_EQ(frame.Devices()[1]->COM(), 2);
  EXPECT_EQ(fs::canonical(frame.Devices()[0]->ProjectFile()),
            fs::canonical(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc"));
  fs::remove_all(dir);
}

TEST(RunSession, ProjectOptionsAreRefusedForASession) {
  const CliRun run = RunCli({"run", "--com", "3", std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvs"});
  EXPECT_EQ(run.status, kUsage);
  EXPECT_NE(run.err.find("--com is for a project"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace quorvel::cli
