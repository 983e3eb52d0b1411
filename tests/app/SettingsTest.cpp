// The frame's settings in the per-user store: what start-up reads, what
// unload writes and what it leaves.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SessionTestSupport.h"
#include "app/Settings.h"
#include "serial/clsCOM.h"

namespace quorvel {
namespace {

using List = std::vector<std::string>;

std::string Get(platform::SettingsStore& store, const std::string& key) {
  return store.GetSetting("Quorvel", "Startup", key, "<none>");
}

void Put(platform::SettingsStore& store, const std::string& key, const std::string& value) {
  store.SaveSetting("Quorvel", "Startup", key, value);
}

TEST(Settings, StoredValuesWinAndUnreadableOnesFallBack) {
  platform::MemorySettingsStore store;
  Put(store, "MainLeft", "123.5");
  Put(store, "MainTop", "abc");
  Put(store, "MainWidth", "");
  Put(store, "MainHeight", "9000");
  Put(store, "Path", "/home/u/meters");
  Put(store, "1", "/p/one.qvc");
  Put(store, "2", "");
  Put(store, "3", "/p/three.qvc");
  Put(store, "8s", "/s/eight.qvs");
  Put(store, "9", "/p/nine.qvc");  // beyond the list
  testing::TestFrame t;
  LoadStartupSettings(store, t.frame, {28800, 16200});
  EXPECT_EQ(t.frame.Placement, (WindowPlacement{123.5f, 2700, 19200, 9000}));
  EXPECT_EQ(t.frame.Globals().LastPath, "/home/u/meters");
  EXPECT_EQ(t.frame.Globals().RecentFiles, (List{"/p/one.qvc", "/p/three.qvc"}));
  EXPECT_EQ(t.frame.Globals().RecentSessions, List{"/s/eight.qvs"});
}

TEST(Settings, SaveWritesTheListsInOrderAndLeavesLaterKeys) {
  platform::MemorySettingsStore store;
  Put(store, "3", "/old/three.qvc");
  Put(store, "MainLeft", "1");
  testing::TestFrame t;
  t.frame.Globals().RecentFiles = {"/a.qvc", "/b.qvc"};
  t.frame.Globals().RecentSessions = {"/s.qvs"};
  t.frame.Globals().LastPath = "/last";
  t.frame.Placement = {10, 20, 3000.5f, 4000};
  EXPECT_TRUE(SaveStartupSettings(store, t.frame));
  EXPECT_EQ(Get(store, "1"), "/a.qvc");
  EXPECT_EQ(Get(store, "2"), "/b.qvc");
  EXPECT_EQ(Get(store, "3"), "/old/three.qvc");
  EXPECT_EQ(Get(store, "1s"), "/s.qvs");
  EXPECT_EQ(Get(store, "2s"), "<none>");
  EXPECT_EQ(Get(store, "MainLeft"), "10");
  EXPECT_EQ(Get(store, "MainWidth"), "3000.5");
  EXPECT_EQ(Get(store, "Path"), "/last");
}

}  // namespace
}  // namespace quorvel
