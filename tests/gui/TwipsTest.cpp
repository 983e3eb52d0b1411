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
      {120, 390, 33},  // 32.5
      {120, -390, -33},
      {72, 255, 13},  // 12.75
      {2880, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<int>::max()},
      {2880, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<int>::min()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.twips << " twips at " << c.dpi << " dpi");
    EXPECT_EQ(Twips(c.dpi).ToPixels(c.twips), c.pixels);
  }
}

TEST(Twips, ResolutionsThatAreNoneCountAs96) {
  for (double dpi : {0.0, -120.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(dpi);
    EXPECT_EQ(Twips(dpi).Dpi(), 96);
    EXPECT_EQ(Twips(dpi).ToPixels(1440), 96);
  }
}

}  // namespace
}  // namespace quorvel::testing
