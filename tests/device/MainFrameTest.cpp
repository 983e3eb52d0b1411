// The frame's side of the port table: opening and closing ports as windows
// connect, the two timers, and the port items of every window's menu.

#include <gtest/gtest.h>

#include "DeviceTestSupport.h"
#include "TestProject.h"
#include "platform/OpenFailure.h"
#include "serial/PortEntry.h"

namespace quorvel::testing {
namespace {

frmQuorvel& Open(Bench& bench, std::int16_t com, std::int16_t mode = kMaster) {
  TestProject p;
  p.requests = {Read(3, 0, 1, 1000)};
  const ProjectOnDisk file(p);
  frmQuorvel* w = bench.frame.OpenProject(file.path());
  if (!w) throw std::runtime_error("test project did not load");
  w->SetMode(mode);
  w->SetCOM(com);
  return *w;
}

TEST(MainFrame, PortOpensWithTheFirstConnectionAndClosesWithTheLast) {
  Bench bench;
  frmQuorvel& a = Open(bench, 1);
  frmQuorvel& b = Open(bench, 1);
  EXPECT_FALSE(bench.frame.PortsActive());
  EXPECT_FALSE(bench.frame.PollingTimerEnabled());

  a.SetConnected(true);
  b.SetConnected(true);
  bench.frame.OpenCOM();
  EXPECT_EQ(bench.frame.Port(1).State, PortEntry::kOpen);
  EXPECT_TRUE(bench.frame.Port(1).Port);
  EXPECT_EQ(bench.wire->OpenCount(platform::End::A), 1);
  EXPECT_TRUE(bench.frame.PortsActive());
  EXPECT_TRUE(bench.frame.PollingTimerEnabled());
  EXPECT_TRUE(bench.frame.CheckTimerEnabled());

  a.SetConnected(false);
  bench.frame.OpenCOM();
  EXPECT_EQ(bench.frame.Port(1).State, PortEntry::kOpen);

  b.SetConnected(false);
  bench.frame.OpenCOM();
  EXPECT_EQ(bench.frame.Port(1).State, PortEntry::kClosed);
  EXPECT_FALSE(bench.frame.Port(1).Port);
  EXPECT_FALSE(bench.wire->IsOpen(platform::End::A));
  EXPECT_FALSE(bench.frame.PortsActive());
  EXPECT_FALSE(bench.frame.PollingTimerEnabled());
  // The check timer runs on until its own next tick finds no open port.
  EXPECT_TRUE(bench.frame.CheckTimerEnabled());
  bench.frame.CheckTimer_Timer();
  EXPECT_FALSE(bench.frame.CheckTimerEnabled());
}

TEST(MainFrame, PortThatDoesNotOpenIsMarkedNotAvailable) {
  Bench bench;
  frmQuorvel& w = Open(bench, 1);
  platform::OpenFailure held;
  held.cause = platform::OpenCause::Held;
  bench.wire->FailNextOpen(platform::End::A, held);
  bench.Connect(w);
  EXPECT_EQ(bench.frame.Port(1).State, PortEntry::kNotAvailable);
  EXPECT_FALSE(bench.frame.PortsActive());
  EXPECT_FALSE(bench.frame.PollingTimerEnabled());
  ASSERT_FALSE(bench.boxes.empty());
  EXPECT_EQ(bench.boxes[0].rfind("Can not open COM1", 0), 0u) << bench.boxes[0];
  EXPECT_NE(w.Caption().find("Not available: COM1"), std::string::npos) << w.Caption();
  EXPECT_TRUE(w.Connected());
}

}  // namespace
}  // namespace quorvel::testing
