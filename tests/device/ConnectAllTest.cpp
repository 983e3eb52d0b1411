// Commands that act on every window at once, and the ones passed on to the frame.

#include <gtest/gtest.h>

#include "DeviceTestSupport.h"

namespace quorvel::testing {
namespace {

TEST(ConnectAll, SwitchesEveryWindowAndOpensASharedPortOnce) {
  Bench bench;
  frmQuorvel& first = bench.Open(1, kMaster);
  frmQuorvel& second = bench.Open(1, kMaster);
  frmQuorvel& slave = bench.Open(2, kSlave);
  second.mnuConnectAll_Click();
  for (frmQuorvel* w : {&first, &second, &slave}) {
    EXPECT_TRUE(w->Connected());
    EXPECT_EQ(w->menus.mnuConnect.Caption, "Dis&connect");
  }
  EXPECT_EQ(bench.wire->OpenCount(platform::End::A), 1);
  EXPECT_EQ(bench.wire->OpenCount(platform::End::B), 1);
  EXPECT_EQ(bench.frame.Port(1).Connections, 2);
  bench.Run(3000);
  EXPECT_GT(first.Counters().RequestCount, 0);
  EXPECT_GT(second.Counters().RequestCount, 0) << "both masters on the port join the polling cycle";
  EXPECT_GT(slave.Counters().SlaveRequestCount, 0);
  EXPECT_EQ(first.Counters().TOErr + second.Counters().TOErr, 0);

  first.mnuDisconnectAll_Click();
  for (frmQuorvel* w : {&first, &second, &slave}) EXPECT_FALSE(w->Connected());
  for (int com : {1, 2}) {
    EXPECT_EQ(bench.frame.Port(com).State, PortEntry::kClosed);
    EXPECT_FALSE(bench.frame.Port(com).Port);
  }
  EXPECT_FALSE(bench.wire->IsOpen(platform::End::A));
  EXPECT_TRUE(bench.boxes.empty());
}

TEST(FrameCommands, OnlyThoseThatChangeTheSessionMarkIt) {
  Bench bench;
  frmQuorvel& window = bench.Open(1, kMaster);
  const std::string project = window.ProjectFile();
  bench.frame.Globals().RecentFiles = {project};

  window.mnuRecentSession_Click(3);  // no such entry: nothing happens
  window.mnuSaveSession_Click();     // needs a file dialog: nothing headless
  window.mnuClearCounters_Click();
  EXPECT_FALSE(bench.frame.Globals().SessionChanged);

  window.mnuAutoEnable_Click();
  EXPECT_TRUE(bench.frame.Globals().SessionChanged);
  bench.frame.Globals().SessionChanged = false;

  window.mnuRecentFile_Click(1);
  EXPECT_TRUE(bench.frame.Globals().SessionChanged);
  ASSERT_EQ(bench.frame.Devices().size(), 2u);
  EXPECT_EQ(bench.frame.Devices()[1]->ProjectFile(), project);
}

}  // namespace
}  // namespace quorvel::testing
