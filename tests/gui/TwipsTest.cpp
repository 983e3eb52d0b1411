// Twips to pixels at a screen's resolution, rounded as Windows rounds.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "device/qt/Twips.h"

namespace quorvel::testing {
namespace {

TEST(Twips, ToPixelsRoundsHalvesAwayFromZero) {
  struct Case {
    double dpi;
    std::int32_t twips;
    int pixels;
  };
  const Case cases[] = {
      {96, 1440, 96},
      {96, 15, 1},
      {96, 7, 0},
      {96, 8, 1},
      {96, 0, 0},
      {120, 390, 33},  // 32.5
      {120, -390, -33},
      {72, 255, 13},   // 12.75
      {144, 255, 26},  // 25.5
      {2880, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<int>::max()},
      {2880, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<int>::min()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.twips << " twips at " << c.dpi << " dpi");
    EXPECT_EQ(Twips(c.dpi).ToPixels(c.twips), c.pixels);
  }
}

TEST(Twips, ToTwipsIsTheInverseOnWholePixels) {
  EXPECT_EQ(Twips(96).ToTwips(8), 120);
  EXPECT_EQ(Twips(120).ToTwips(25), 300);
  EXPECT_EQ(Twips(72).ToTwips(-3), -60);
  EXPECT_EQ(Twips(1).ToTwips(std::numeric_limits<int>::max()), std::numeric_limits<std::int32_t>::max());
}

TEST(Twips, ResolutionsThatAreNoneCountAs96) {
  for (double dpi : {0.0, -120.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(dpi);
    EXPECT_EQ(Twips(dpi).Dpi(), 96);
    EXPECT_EQ(Twips(dpi).ToPixels(1440), 96);
  }
}

TEST(Twips, RectanglesScaleEachValueAndNeverGoNegative) {
  EXPECT_EQ(Twips(120).ToRect(3000, 390, 2040, 300), QRect(250, 33, 170, 25));
  EXPECT_EQ(Twips(96).ToRect(-150, 30, -45, 0), QRect(-10, 2, 0, 0));
  // Far outside any screen, yet a rectangle whose edges can be computed.
  const QRect far =
      Twips(2880).ToRect(std::numeric_limits<std::int32_t>::max(), 0, std::numeric_limits<std::int32_t>::max(), 1);
  EXPECT_GT(far.left(), 0);
  EXPECT_GT(far.right(), far.left());
}

TEST(Twips, PointsScaleWithTheResolution) {
  EXPECT_EQ(Twips(96).PointsToPixels(9), 12);
  EXPECT_EQ(Twips(120).PointsToPixels(9), 15);
  EXPECT_EQ(Twips(96).PointsToPixels(8), 11);  // 10.67
}

}  // namespace
}  // namespace quorvel::testing
