// Tile to Fit: side by side while the windows fit at their own sizes, spread
// evenly over the frame when they do not.

#include <gtest/gtest.h>

#include "app/TileToFit.h"

namespace quorvel {
namespace {

TEST(TileToFit, WindowsKeepTheirSizesSideBySideOrSpreadWhenTheyCannot) {
  struct Case {
    const char* name;
    TileSize area;
    std::vector<TileSize> wanted;
    std::vector<TileRect> placed;
  };
  const Case cases[] = {
      {"three in a row", {2200, 700}, {{712, 560}, {712, 560}, {712, 560}},
       {{0, 0, 712, 560}, {712, 0, 712, 560}, {1424, 0, 712, 560}}},
      {"a second row under the tallest of the first", {1500, 1300}, {{712, 560}, {712, 600}, {712, 560}},
       {{0, 0, 712, 560}, {712, 0, 712, 600}, {0, 600, 712, 560}}},
      {"no room: spread from corner to corner, the last whole", {1280, 760}, {{712, 560}, {712, 560}, {712, 560}},
       {{0, 0, 712, 560}, {284, 100, 712, 560}, {568, 200, 712, 560}}},
      {"larger than the frame: cut to it", {600, 400}, {{712, 560}}, {{0, 0, 600, 400}}},
      {"nothing to place", {600, 400}, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(TileToFit(c.area, c.wanted), c.placed);
  }
}

}  // namespace
}  // namespace quorvel
