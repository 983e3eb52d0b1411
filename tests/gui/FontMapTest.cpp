// A panel font's size at the panel's resolution, kept within bounds.

#include <gtest/gtest.h>

#include "device/qt/FontMap.h"

namespace quorvel::testing {
namespace {

TEST(FontMap, SizeInPointsBecomesPixelsAtTheResolution) {
  struct Case {
    int points;
    double dpi;
    int pixels;
  };
  const Case cases[] = {{9, 120, 15}, {12, 72, 12}, {-5, 96, 11}, {32767, 72, 500}};
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.points << " pt at " << c.dpi);
    EXPECT_EQ(PanelFont({"Arial", c.points}, c.dpi).pixelSize(), c.pixels);
  }
}

}  // namespace
}  // namespace quorvel::testing
