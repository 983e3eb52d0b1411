// The recent lists: order, duplicates and length.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/RecentLists.h"

namespace quorvel {
namespace {

using List = std::vector<std::string>;

TEST(RecentLists, MostRecentFirstWithoutDuplicatesAtMostEight) {
  List list;
  for (const char* path : {"a", "b", "c", "d", "e", "f", "g", "h", "i"}) AddRecent(list, path);
  EXPECT_EQ(list, (List{"i", "h", "g", "f", "e", "d", "c", "b"}));  // "a" dropped as the ninth
  AddRecent(list, "e");
  EXPECT_EQ(list, (List{"e", "i", "h", "g", "f", "d", "c", "b"}));
  AddRecent(list, "b");  // the last one moves up; nothing drops
  EXPECT_EQ(list, (List{"b", "e", "i", "h", "g", "f", "d", "c"}));
  List cased;  // letter case makes another entry
  for (const char* path : {"C:\\A.qvc", "c:\\a.qvc", "C:\\A.qvc"}) AddRecent(cased, path);
  EXPECT_EQ(cased, (List{"C:\\A.qvc", "c:\\a.qvc"}));
}

}  // namespace
}  // namespace quorvel
