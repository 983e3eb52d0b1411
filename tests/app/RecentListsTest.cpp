// The recent project and session lists: order, duplicates, length, the
// sample entry, the menus, and when a project enters its list.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SessionTestSupport.h"
#include "app/PublicVeriables.h"
#include "app/RecentLists.h"
#include "serial/clsCOM.h"

namespace quorvel {
namespace {

using List = std::vector<std::string>;

TEST(RecentLists, MostRecentFirstWithoutDuplicatesAtMostEight) {
  List list;
  for (const char* path : {"a", "b", "c", "d", "e", "f", "g", "h", "i"}) AddRecent(list, path);
  EXPECT_EQ(list, (List{"i", "h", "g", "f", "e", "d", "c", "b"}));  // "a" dropped as the ninth
  AddRecent(list, "e");
  EXPECT_EQ(list, (List{"e", "i", "h", "g", "f", "d", "c", "b"}));
  AddRecent(list, "");
  EXPECT_EQ(list.front(), "e");
  EXPECT_EQ(list.size(), 8U);
  AddRecent(list, "b");  // the last one moves up; nothing drops
  EXPECT_EQ(list, (List{"b", "e", "i", "h", "g", "f", "d", "c"}));
  List cased;  // letter case makes another entry
  for (const char* path : {"C:\\A.qvc", "c:\\a.qvc", "C:\\A.qvc"}) AddRecent(cased, path);
  EXPECT_EQ(cased, (List{"C:\\A.qvc", "c:\\a.qvc"}));
}

TEST(RecentLists, AnEmptyListOffersTheSampleBesideTheProgram) {
  PublicVeriables globals;
  globals.AppPath = "/opt/quorvel/";
  EXPECT_EQ(ShowRecentSessions(globals), List{"/opt/quorvel/Coriolis.qvs"});
  EXPECT_EQ(ShowRecentFiles(globals), List{"/opt/quorvel/Coriolis.qvc"});
  // The sample is an entry like any other.
  AddRecentSession(globals, "/home/u/plant.qvs");
  EXPECT_EQ(globals.RecentSessions, (List{"/home/u/plant.qvs", "/opt/quorvel/Coriolis.qvs"}));
  // A list with entries gets no sample.
  PublicVeriables other;
  AddRecentFile(other, "/p.qvc");
  EXPECT_EQ(other.RecentFiles, List{"/p.qvc"});
}

TEST(RecentLists, AProjectEntersItsListWhenItsWindowCloses) {
  testing::TempDir dir;
  const std::string a = testing::WriteTestProject(dir.Make("A.qvc"));
  const std::string b = testing::WriteTestProject(dir.Make("B.qvc"));
  testing::TestFrame t;
  t.frame.Globals().AppPath = "/opt/quorvel/";
  t.frame.OpenProject(a);
  t.frame.OpenProject(b);
  EXPECT_TRUE(t.frame.Globals().RecentFiles.empty());
  // Unload closes the last window first, so the first one ends up on top.
  t.frame.Unload();
  EXPECT_EQ(t.frame.Globals().RecentFiles, (List{a, b}));
  EXPECT_TRUE(t.frame.Devices().empty());
}

}  // namespace
}  // namespace quorvel
