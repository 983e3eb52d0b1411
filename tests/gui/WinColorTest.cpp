// Windows colour values to screen colours: plain values are blue-green-red,
// system colours follow the desktop's palette or the classic scheme.

#include <gtest/gtest.h>

#include "device/qt/WinColor.h"

namespace quorvel::testing {
namespace {

TEST(WinColor, PlainValuesAreBlueGreenRedSystemOnesComeFromThePalette) {
  QPalette palette;
  palette.setColor(QPalette::Button, QColor(1, 2, 3));
  palette.setColor(QPalette::Disabled, QPalette::Text, QColor(10, 11, 12));
  palette.setColor(QPalette::ToolTipBase, QColor(13, 14, 15));
  struct Case {
    std::uint32_t value;
    QColor expected;
  };
  const Case cases[] = {
      {0x000000FF, QColor(255, 0, 0)},
      {0x00123456, QColor(0x56, 0x34, 0x12)},
      // A palette selector in the high byte does not change the colour.
      {0x02123456, QColor(0x56, 0x34, 0x12)},
      {0x8000000F, QColor(1, 2, 3)},     // button face
      {0x80000011, QColor(10, 11, 12)},  // grey text
      {0x80000018, QColor(13, 14, 15)},  // tool tip background
      // Nothing in a widget palette stands for these: the classic scheme.
      {0x80000001, QColor(0, 128, 128)},  // desktop
      // No such system colour.
      {0x80FFFFFF, QColor(0, 0, 0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(WinColor(c.value, palette), c.expected);
  }
}

}  // namespace
}  // namespace quorvel::testing
