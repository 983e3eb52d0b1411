// A device window's settings and commands, and what they do to its menus and
// to the shared port table, with a stand-in frame.

#include <gtest/gtest.h>

#include <memory>

#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

class DeviceState : public ::testing::Test {
 protected:
  std::unique_ptr<frmQuorvel> NewWindow() { return Loaded(host, TestProject{}); }
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

}  // namespace
}  // namespace quorvel::testing
