// A device window's settings and commands, and what they do to its menus and
// to the shared port table, with a stand-in frame.

#include <gtest/gtest.h>

#include <memory>

#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

constexpr std::int32_t kNever = frmQuorvel::kNever;

class DeviceState : public ::testing::Test {
 protected:
  // A one-shot write first, so that the first periodic request is not the first in the list.
  std::unique_ptr<frmQuorvel> NewWindow(bool polled = false) {
    TestProject p;
    if (polled) p.requests = {WriteOne(100, 7), Read(3, 0, 4, 500), Read(3, 10, 2, 200)};
    auto window = std::make_unique<frmQuorvel>(host);
    Load(*window, p);
    return window;
  }
  // The checked port items, as "3" or "" for none.
  static std::string Checked(const frmQuorvel& w) {
    std::string checked;
    for (int i = 1; i <= 16; ++i)
      if (w.menus.mnuCOM[i].Checked) checked += std::to_string(i);
    return checked;
  }
  // Users, mode and connections of a port's table entry.
  std::string Claim(int com) const {
    const PortEntry& e = host.ports[static_cast<std::size_t>(com)];
    return std::to_string(e.Users) + " users, mode " + std::to_string(e.Mode) + ", " + std::to_string(e.Connections) +
           " connected";
  }

  FakeHost host;
};

TEST_F(DeviceState, ChoosingAPortMovesTheClaimAndMarksTheSession) {
  auto w = NewWindow();
  w->mnuCOM_Click(3);
  EXPECT_EQ(Checked(*w), "3");
  EXPECT_EQ(Claim(3), "1 users, mode 1, 0 connected");
  w->mnuCOM_Click(5);
  EXPECT_EQ(Checked(*w), "5");
  EXPECT_EQ(Claim(3), "0 users, mode 0, 0 connected");
  w->mnuCOM_Click(5);  // the checked port again releases it
  EXPECT_EQ(w->COM(), 0);
  EXPECT_EQ(Checked(*w), "");
  EXPECT_EQ(Claim(5), "0 users, mode 0, 0 connected");
  // Neither the same mode again nor items outside the menus change the session.
  w->mnuMode_Click(kMaster);
  w->mnuMode_Click(0);
  w->mnuCOM_Click(17);
  EXPECT_EQ(host.sessionChanges, 3);
  for (std::int16_t n : {0, 17, -1, 300}) {
    w->SetCOM(2);
    w->SetCOM(n);
    EXPECT_EQ(Checked(*w) + Claim(2), "0 users, mode 0, 0 connected") << n;
  }
}

TEST_F(DeviceState, MastersShareAPortOtherModesNeedItAlone) {
  auto a = NewWindow();
  auto b = NewWindow();
  auto slave = NewWindow();
  slave->SetMode(kSlave);
  a->SetCOM(3);
  b->SetCOM(3);
  EXPECT_EQ(Claim(3), "2 users, mode 1, 0 connected");
  slave->SetCOM(3);
  EXPECT_EQ(slave->COM(), 0);
  a->SetCOM(3);  // the first Master leaves
  slave->SetCOM(3);
  EXPECT_EQ(slave->COM(), 0);
  EXPECT_EQ(Checked(*slave), "");

  // A Master turned Slave gives up a shared port; a lone window takes its port along.
  a->SetCOM(3);
  const int menusBefore = host.setMenusCalls;
  a->SetMode(kSlave);
  EXPECT_EQ(a->COM(), 0);
  EXPECT_FALSE(a->menus.mnuCOM[3].Enabled);
  EXPECT_EQ(Claim(3), "1 users, mode 1, 0 connected");
  EXPECT_GT(host.setMenusCalls, menusBefore);
  b->SetMode(kMonitor);
  EXPECT_EQ(Checked(*b), "3");
  EXPECT_EQ(Claim(3), "1 users, mode 3, 0 connected");
  b->SetCOM(0);
  slave->SetCOM(3);
  EXPECT_EQ(Checked(*slave), "3");
  EXPECT_EQ(Claim(3), "1 users, mode 2, 0 connected");
}

// Connecting, or switching AutoEnable (in every mode, so that a window that
// turns Master later polls only when enabled), schedules the periodic requests.
TEST_F(DeviceState, ConnectingAndAutoEnableSchedule) {
  struct Case {
    bool command;  // the AutoEnable command, else connecting
    std::int16_t mode;
    bool autoEnable, queued;  // AutoEnable afterwards
    std::int32_t window, periodic;
  };
  for (const Case& c : {Case{false, kMaster, true, false, 0, 0}, Case{false, kMaster, false, false, kNever, 0},
                        Case{false, kMaster, false, true, -1000, 0}, Case{false, kMaster, true, true, -1000, 0},
                        Case{false, kSlave, true, false, 777, 555}, Case{true, kMaster, false, false, kNever, kNever},
                        Case{true, kMaster, true, false, 0, 0}, Case{true, kMaster, false, true, -1000, kNever},
                        Case{true, kMaster, true, true, -1000, 0}, Case{true, kSlave, false, false, kNever, kNever}}) {
    SCOPED_TRACE(::testing::Message() << (c.command ? "command" : "connect") << " mode " << c.mode << " AutoEnable "
                                      << c.autoEnable << " queued " << c.queued);
    auto w = NewWindow(true);
    w->SetMode(c.mode);
    w->SetAutoEnable(c.command ? !c.autoEnable : c.autoEnable);
    if (c.command) w->SetConnected(true);
    w->SetNextTime(777);
    for (const auto& r : w->Requests) r->SetNextTime(555);
    if (c.queued) w->PendingRequests.push_back(w->Requests[0]);
    if (c.command) {
      w->mnuAutoEnable_Click();
      EXPECT_EQ(w->menus.mnuAutoEnable.Checked, c.autoEnable);
    } else {
      w->SetConnected(true);
    }
    EXPECT_EQ(w->NextTime(), c.window);
    EXPECT_EQ(w->Requests[1]->NextTime(), c.periodic);
    EXPECT_EQ(w->Requests[2]->NextTime(), c.periodic);
    if (c.command) {
      EXPECT_EQ(w->Requests[0]->NextTime(), 555) << "a one-shot request is not rescheduled";
    } else if (c.mode == kMaster) {
      EXPECT_EQ(w->CurrentRequest, w->Requests[1]);
    }
  }
}

TEST_F(DeviceState, MenuCaptionsFollowModeAndConnection) {
  auto w = NewWindow();
  w->mnuConnect_Click();
  EXPECT_EQ(w->menus.mnuConnect.Caption, "Dis&connect");
  w->mnuConnect_Click();
  EXPECT_EQ(w->menus.mnuConnect.Caption, "&Connect");
  const struct {
    std::int16_t mode;
    const char* autoCaption;  // "": hidden
    const char* settings;
  } modes[] = {{kSlave, "Emulation &Enable", "Slave &Settings"},
               {kMonitor, "", "Monitor &Settings"},
               {kMaster, "Auto Requests &Enable", "Master &Settings"}};
  for (const auto& c : modes) {
    w->SetMode(c.mode);
    EXPECT_EQ(w->menus.mnuAutoEnable.Visible ? w->menus.mnuAutoEnable.Caption : "", c.autoCaption);
    EXPECT_EQ(w->menus.mnuSettings.Caption, c.settings);
  }
  // The mode items are enabled only off a connected port.
  w->SetCOM(4);
  w->SetConnected(true);
  EXPECT_FALSE(w->menus.mnuMode[2].Enabled);
  w->SetCOM(0);
  EXPECT_TRUE(w->menus.mnuMode[2].Enabled);
}

TEST_F(DeviceState, UnloadingGivesBackThePort) {
  auto a = NewWindow();
  auto b = NewWindow();
  a->SetCOM(3);
  b->SetCOM(3);
  a->SetConnected(true);
  b->SetConnected(true);
  a->Form_Unload();
  EXPECT_EQ(Claim(3), "1 users, mode 1, 1 connected");
  EXPECT_EQ(host.openComCalls, 1);
  b->SetConnected(false);
  b->Form_Unload();
  EXPECT_EQ(Claim(3), "0 users, mode 0, 0 connected");
  EXPECT_EQ(host.openComCalls, 1) << "a window that was not connected has no port to close";

  frmQuorvel none(host);
  EXPECT_FALSE(none.SetProjectFile("/nonexistent/quorvel/none.qvc"));
  EXPECT_EQ(none.ProjectFile(), "");
  EXPECT_EQ(host.boxes, std::vector<std::string>{"Path not found: /nonexistent/quorvel/none.qvc"});
}

}  // namespace
}  // namespace quorvel::testing
