// A device window's settings and what they do to its menus and to the shared
// port table, with a stand-in frame.

#include <gtest/gtest.h>

#include <memory>

#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

constexpr std::int32_t kNever = 2147483647;

// A one-shot write first, so that the first periodic request is not the first in the list.
TestProject Polled() {
  TestProject p;
  p.requests = {WriteOne(100, 7), Read(3, 0, 4, 500), Read(3, 10, 2, 200)};
  return p;
}

class DeviceState : public ::testing::Test {
 protected:
  std::unique_ptr<frmQuorvel> NewWindow(const TestProject& project = {}) {
    auto window = std::make_unique<frmQuorvel>(host);
    Load(*window, project);
    return window;
  }
  int CheckedPorts(const frmQuorvel& w) const {
    int n = 0;
    for (int i = 1; i <= 16; ++i) n += w.menus.mnuCOM[i].Checked ? 1 : 0;
    return n;
  }

  FakeHost host;
};

TEST_F(DeviceState, StartsAsAMasterOnNoPort) {
  auto w = NewWindow();
  EXPECT_EQ(w->ID(), 1);
  EXPECT_EQ(w->Mode(), kMaster);
  EXPECT_TRUE(w->AutoEnable());
  EXPECT_FALSE(w->Connected());
  EXPECT_EQ(w->COM(), 0);
  EXPECT_EQ(w->menus.mnuCOM[1].Caption, "COM1");
  EXPECT_EQ(w->menus.mnuCOM[16].Caption, "COM16");
  EXPECT_EQ(w->menus.mnuConnect.Caption, "&Connect");
}

TEST_F(DeviceState, ChoosingTheCheckedPortReleasesIt) {
  auto w = NewWindow();
  w->SetCOM(3);
  EXPECT_EQ(w->COM(), 3);
  EXPECT_TRUE(w->menus.mnuCOM[3].Checked);
  EXPECT_EQ(host.ports[3].Users, 1);
  EXPECT_EQ(host.ports[3].Mode, kMaster);

  w->SetCOM(3);
  EXPECT_EQ(w->COM(), 0);
  EXPECT_EQ(CheckedPorts(*w), 0);
  EXPECT_EQ(host.ports[3].Users, 0);
  EXPECT_EQ(host.ports[3].Mode, 0);
}

TEST_F(DeviceState, ChoosingAnotherPortMovesTheClaim) {
  auto w = NewWindow();
  w->SetCOM(3);
  w->SetCOM(5);
  EXPECT_EQ(w->COM(), 5);
  EXPECT_FALSE(w->menus.mnuCOM[3].Checked);
  EXPECT_TRUE(w->menus.mnuCOM[5].Checked);
  EXPECT_EQ(host.ports[3].Users, 0);
  EXPECT_EQ(host.ports[3].Mode, 0);
  EXPECT_EQ(host.ports[5].Users, 1);
}

TEST_F(DeviceState, PortNumbersOutsideTheTableLeaveNoPort) {
  for (std::int16_t n : {0, 17, -1, 300}) {
    SCOPED_TRACE(n);
    auto w = NewWindow();
    w->SetCOM(2);
    w->SetCOM(n);
    EXPECT_EQ(w->COM(), 0);
    EXPECT_EQ(CheckedPorts(*w), 0);
    EXPECT_EQ(host.ports[2].Users, 0);
  }
}

TEST_F(DeviceState, SlaveWaitsUntilBothMastersHaveLeftTheirPort) {
  auto a = NewWindow();
  auto b = NewWindow();
  auto slave = NewWindow();
  slave->SetMode(kSlave);
  a->SetCOM(3);
  b->SetCOM(3);
  EXPECT_EQ(b->COM(), 3);
  EXPECT_EQ(host.ports[3].Users, 2);

  slave->SetCOM(3);
  EXPECT_EQ(slave->COM(), 0);
  EXPECT_FALSE(slave->menus.mnuCOM[3].Checked);

  a->SetCOM(3);  // the first Master leaves
  slave->SetCOM(3);
  EXPECT_EQ(slave->COM(), 0);
  EXPECT_EQ(host.ports[3].Users, 1);
  EXPECT_EQ(host.ports[3].Mode, kMaster);

  b->SetCOM(0);  // and the second
  slave->SetCOM(3);
  EXPECT_EQ(slave->COM(), 3);
  EXPECT_TRUE(slave->menus.mnuCOM[3].Checked);
  EXPECT_EQ(host.ports[3].Users, 1);
  EXPECT_EQ(host.ports[3].Mode, kSlave);
}

TEST_F(DeviceState, MasterTurnedSlaveLosesASharedPort) {
  auto a = NewWindow();
  auto b = NewWindow();
  a->SetCOM(3);
  b->SetCOM(3);
  const int menusBefore = host.setMenusCalls;
  const int openBefore = host.openComCalls;

  a->SetMode(kSlave);
  EXPECT_EQ(a->COM(), 0);
  EXPECT_FALSE(a->menus.mnuCOM[3].Checked);
  EXPECT_FALSE(a->menus.mnuCOM[3].Enabled);
  EXPECT_EQ(b->COM(), 3);
  EXPECT_EQ(host.ports[3].Users, 1);
  EXPECT_EQ(host.ports[3].Mode, kMaster);
  EXPECT_GT(host.setMenusCalls, menusBefore);
  EXPECT_GT(host.openComCalls, openBefore);
}

TEST_F(DeviceState, LoneWindowTakesItsPortIntoTheNewMode) {
  auto a = NewWindow();
  a->SetCOM(3);
  a->SetMode(kMonitor);
  EXPECT_EQ(a->COM(), 3);
  EXPECT_TRUE(a->menus.mnuCOM[3].Checked);
  EXPECT_EQ(host.ports[3].Users, 1);
  EXPECT_EQ(host.ports[3].Mode, kMonitor);
}

TEST_F(DeviceState, ConnectingAMasterSchedulesItsRequests) {
  struct Case {
    bool autoEnable;
    bool queued;
    std::int32_t nextTime;
  };
  for (const Case& c :
       {Case{true, false, 0}, Case{false, false, kNever}, Case{false, true, -1000}, Case{true, true, -1000}}) {
    SCOPED_TRACE(::testing::Message() << "AutoEnable " << c.autoEnable << " queued " << c.queued);
    auto w = NewWindow(Polled());
    w->SetAutoEnable(c.autoEnable);
    for (const auto& r : w->Requests) r->SetNextTime(12345);
    if (c.queued) w->PendingRequests.push_back(w->Requests[0]);
    w->SetConnected(true);
    EXPECT_EQ(w->NextTime(), c.nextTime);
    EXPECT_EQ(w->Requests[0]->NextTime(), kNever);
    EXPECT_EQ(w->Requests[1]->NextTime(), 0);
    EXPECT_EQ(w->Requests[2]->NextTime(), 0);
    EXPECT_EQ(w->CurrentRequest, w->Requests[1]);
  }
}

TEST_F(DeviceState, ConnectingASlaveLeavesTheScheduleAlone) {
  auto w = NewWindow(Polled());
  w->SetMode(kSlave);
  w->SetNextTime(777);
  w->Requests[1]->SetNextTime(999);
  w->SetConnected(true);
  EXPECT_EQ(w->NextTime(), 777);
  EXPECT_EQ(w->Requests[1]->NextTime(), 999);
}

TEST_F(DeviceState, WindowConnectedBeforeItsPortJoinsWhenThePortIsChosen) {
  auto w = NewWindow();
  host.now = 100;
  w->SetConnected(true);
  EXPECT_EQ(w->ConnectTime(), 0);

  host.now = 7000;
  w->SetCOM(5);
  EXPECT_EQ(host.ports[5].Connections, 1);
  EXPECT_EQ(host.ports[5].Users, 1);
  EXPECT_EQ(w->ConnectTime(), 7000);

  host.now = 8000;
  w->SetCOM(6);
  EXPECT_EQ(host.ports[5].Connections, 0);
  EXPECT_EQ(host.ports[6].Connections, 1);
  EXPECT_EQ(w->ConnectTime(), 8000);
}

TEST_F(DeviceState, ConnectionCountsFollowOnlyRealChanges) {
  auto w = NewWindow();
  w->SetCOM(4);
  host.now = 4242;
  w->SetConnected(true);
  w->SetConnected(true);
  EXPECT_EQ(host.ports[4].Connections, 1);
  EXPECT_EQ(w->ConnectTime(), 4242);
  w->SetConnected(false);
  w->SetConnected(false);
  EXPECT_EQ(host.ports[4].Connections, 0);
  EXPECT_EQ(host.ports[4].Users, 1);
  // The setter leaves opening and closing ports to its caller.
  EXPECT_EQ(host.openComCalls, 0);
}

TEST_F(DeviceState, ModeItemsAreEnabledOnlyOffAConnectedPort) {
  struct Case {
    std::int16_t com;
    bool connected;
    bool portFirst;
    bool enabled;
  };
  for (const Case& c : {Case{0, false, true, true}, Case{0, true, true, true}, Case{4, false, true, true},
                        Case{4, true, true, false}, Case{4, true, false, false}}) {
    SCOPED_TRACE(::testing::Message() << "COM " << c.com << " connected " << c.connected << " port first "
                                      << c.portFirst);
    auto w = NewWindow();
    if (c.portFirst) w->SetCOM(c.com);
    w->SetConnected(c.connected);
    if (!c.portFirst) w->SetCOM(c.com);
    for (int m = 1; m <= 3; ++m) EXPECT_EQ(w->menus.mnuMode[m].Enabled, c.enabled) << "mnuMode " << m;
    // Leaving the port frees the mode again.
    w->SetCOM(0);
    EXPECT_TRUE(w->menus.mnuMode[1].Enabled);
  }
}

TEST_F(DeviceState, MenuCaptionsFollowConnectionAndMode) {
  auto w = NewWindow();
  w->SetConnected(true);
  EXPECT_EQ(w->menus.mnuConnect.Caption, "Dis&connect");
  w->SetConnected(false);
  EXPECT_EQ(w->menus.mnuConnect.Caption, "&Connect");

  struct Case {
    std::int16_t mode;
    bool autoVisible;
    const char* autoCaption;
    const char* settings;
  };
  // Monitor hides the item; Master after it names requests again.
  for (const Case& c :
       {Case{kSlave, true, "Emulation &Enable", "Slave &Settings"}, Case{kMonitor, false, nullptr, "Monitor &Settings"},
        Case{kMaster, true, "Auto Requests &Enable", "Master &Settings"}}) {
    SCOPED_TRACE(c.mode);
    w->SetMode(c.mode);
    EXPECT_EQ(w->menus.mnuAutoEnable.Visible, c.autoVisible);
    if (c.autoCaption) {
      EXPECT_EQ(w->menus.mnuAutoEnable.Caption, c.autoCaption);
    }
    EXPECT_EQ(w->menus.mnuSettings.Caption, c.settings);
    for (int m = 1; m <= 3; ++m) EXPECT_EQ(w->menus.mnuMode[m].Checked, m == c.mode) << "mnuMode " << m;
  }

  w->SetAutoEnable(false);
  EXPECT_FALSE(w->menus.mnuAutoEnable.Checked);
  w->SetAutoEnable(true);
  EXPECT_TRUE(w->menus.mnuAutoEnable.Checked);
}

TEST_F(DeviceState, UserMenusShowOnlyForAMasterWithEntries) {
  auto w = NewWindow();
  w->menus.mnuUser1.push_back(MenuItem{"Reset"});
  w->SetMode(kMaster);  // the same mode still sets the user menus
  EXPECT_TRUE(w->menus.mnuUserMain[1].Visible);
  EXPECT_FALSE(w->menus.mnuUserMain[2].Visible);
  w->SetMode(kSlave);
  EXPECT_FALSE(w->menus.mnuUserMain[1].Visible);
  EXPECT_FALSE(w->menus.mnuUserMain[2].Visible);
}

TEST_F(DeviceState, AutoEnableCommandReschedules) {
  struct Case {
    std::int16_t mode;
    bool queued;
    bool after;  // AutoEnable after the command
    std::int32_t windowNext;
  };
  for (const Case& c :
       {Case{kMaster, false, false, kNever}, Case{kMaster, false, true, 0}, Case{kMaster, true, false, -1000},
        Case{kMaster, true, true, -1000}, Case{kSlave, false, false, kNever}}) {
    SCOPED_TRACE(::testing::Message() << "mode " << c.mode << " queued " << c.queued << " to " << c.after);
    auto w = NewWindow(Polled());
    w->SetMode(c.mode);
    w->SetAutoEnable(!c.after);
    w->SetConnected(true);
    for (const auto& r : w->Requests) r->SetNextTime(555);
    if (c.queued) w->PendingRequests.push_back(w->Requests[0]);
    w->mnuAutoEnable_Click();
    EXPECT_EQ(w->AutoEnable(), c.after);
    EXPECT_EQ(w->menus.mnuAutoEnable.Checked, c.after);
    EXPECT_EQ(w->NextTime(), c.windowNext);
    EXPECT_EQ(w->Requests[0]->NextTime(), 555) << "a one-shot request is not rescheduled";
    EXPECT_EQ(w->Requests[1]->NextTime(), c.after ? 0 : kNever);
    EXPECT_EQ(w->Requests[2]->NextTime(), c.after ? 0 : kNever);
  }
}

TEST_F(DeviceState, UnloadingGivesBackThePort) {
  auto a = NewWindow();
  auto b = NewWindow();
  a->SetCOM(3);
  b->SetCOM(3);
  a->SetConnected(true);
  b->SetConnected(true);
  ASSERT_EQ(host.ports[3].Connections, 2);

  a->Form_Unload();
  EXPECT_EQ(host.ports[3].Users, 1);
  EXPECT_EQ(host.ports[3].Connections, 1);
  EXPECT_EQ(host.ports[3].Mode, kMaster);
  EXPECT_EQ(host.openComCalls, 1);

  b->SetConnected(false);
  const int menusBefore = host.setMenusCalls;
  b->Form_Unload();
  EXPECT_EQ(host.ports[3].Users, 0);
  EXPECT_EQ(host.ports[3].Connections, 0);
  EXPECT_EQ(host.ports[3].Mode, 0);
  EXPECT_EQ(host.openComCalls, 1) << "a window that was not connected has no port to close";
  EXPECT_GT(host.setMenusCalls, menusBefore);
}

TEST_F(DeviceState, ProjectThatDoesNotLoadLeavesNoPath) {
  auto w = std::make_unique<frmQuorvel>(host);
  EXPECT_FALSE(w->SetProjectFile("/nonexistent/quorvel/none.qvc"));
  EXPECT_EQ(w->ProjectFile(), "");
  ASSERT_EQ(host.boxes.size(), 1u);
  EXPECT_EQ(host.boxes[0], "Path not found: /nonexistent/quorvel/none.qvc");
}

}  // namespace
}  // namespace quorvel::testing
