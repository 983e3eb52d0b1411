// Commands of a device window's menu: connecting, choosing a port and a mode.

#include <gtest/gtest.h>

#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

TEST(WindowCommands, ConnectWithoutPortTogglesStateAndCaptionOnly) {
  FakeHost host;
  frmQuorvel w(host);
  w.mnuConnect_Click();
  EXPECT_TRUE(w.Connected());
  EXPECT_EQ(w.menus.mnuConnect.Caption, "Dis&connect");
  EXPECT_EQ(host.openComCalls, 1);
  w.mnuConnect_Click();
  EXPECT_FALSE(w.Connected());
  EXPECT_EQ(w.menus.mnuConnect.Caption, "&Connect");
  for (const PortEntry& entry : host.ports) EXPECT_EQ(entry.Connections, 0);
}

TEST(WindowCommands, PortAndModeChangesMarkTheSession) {
  FakeHost host;
  frmQuorvel w(host);
  w.mnuMode_Click(kMaster);  // the same mode again
  EXPECT_EQ(host.sessionChanges, 0);
  w.mnuMode_Click(kSlave);
  EXPECT_EQ(host.sessionChanges, 1);
  EXPECT_EQ(w.Mode(), kSlave);
  w.mnuCOM_Click(3);
  EXPECT_EQ(host.sessionChanges, 2);
  EXPECT_EQ(w.COM(), 3);
  w.mnuCOM_Click(3);  // the checked port again releases it
  EXPECT_EQ(w.COM(), 0);
  EXPECT_EQ(host.ports[3].Users, 0);
  w.mnuCOM_Click(17);
  w.mnuMode_Click(0);
  EXPECT_EQ(host.sessionChanges, 3);
}

}  // namespace
}  // namespace quorvel::testing
