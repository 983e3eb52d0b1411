// Windows colour values to screen colours: plain values are blue-green-red,
// system colours follow the desktop's palette or the classic scheme.

#include <gtest/gtest.h>

#include "device/qt/WinColor.h"

namespace quorvel::testing {
namespace {

TEST(WinColor, PlainValuesKeepRedInTheLowByte) {
  struct Case {
    std::uint32_t value;
    QColor expected;
  };
  const Case cases[] = {
      {0x000000FF, QColor(255, 0, 0)},
      {0x0000FF00, QColor(0, 255, 0)},
      {0x00800000, QColor(0, 0, 128)},
      {0x00E0E0E0, QColor(224, 224, 224)},
      {0x00123456, QColor(0x56, 0x34, 0x12)},
      // A palette selector in the high byte does not change the colour.
      {0x02123456, QColor(0x56, 0x34, 0x12)},
  };
  const QPalette palette;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(WinColor(c.value, palette), c.expected);
  }
}

TEST(WinColor, SystemColoursTakeTheMatchingPaletteRole) {
  QPalette palette;
  palette.setColor(QPalette::Button, QColor(1, 2, 3));
  palette.setColor(QPalette::Base, QColor(4, 5, 6));
  palette.setColor(QPalette::Text, QColor(7, 8, 9));
  palette.setColor(QPalette::Disabled, QPalette::Text, QColor(10, 11, 12));
  palette.setColor(QPalette::ToolTipBase, QColor(13, 14, 15));
  palette.setColor(QPalette::Highlight, QColor(16, 17, 18));
  palette.setColor(QPalette::Shadow, QColor(19, 20, 21));
  struct Case {
    std::uint32_t value;
    QColor expected;
  };
  const Case cases[] = {
      {0x8000000F, QColor(1, 2, 3)},     // button face
      {0x80000005, QColor(4, 5, 6)},     // window background
      {0x80000008, QColor(7, 8, 9)},     // window text
      {0x80000011, QColor(10, 11, 12)},  // grey text
      {0x80000018, QColor(13, 14, 15)},  // tool tip background
      {0x8000000D, QColor(16, 17, 18)},  // highlight
      {0x80000015, QColor(19, 20, 21)},  // 3-D dark shadow
      // Nothing in a widget palette stands for these: the classic scheme.
      {0x80000001, QColor(0, 128, 128)},    // desktop
      {0x80000002, QColor(0, 0, 128)},      // active title bar
      {0x8000000C, QColor(128, 128, 128)},  // application workspace
      // No such system colour.
      {0x8000001F, QColor(0, 0, 0)},
      {0x80FFFFFF, QColor(0, 0, 0)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(WinColor(c.value, palette), c.expected);
  }
}

TEST(WinColor, ClassicSchemeForEveryIndex) {
  EXPECT_EQ(ClassicSystemColor(15), QColor(192, 192, 192));
  EXPECT_EQ(ClassicSystemColor(24), QColor(255, 255, 225));
  EXPECT_EQ(ClassicSystemColor(-1), QColor(0, 0, 0));
  EXPECT_EQ(ClassicSystemColor(31), QColor(0, 0, 0));
}

}  // namespace
}  // namespace quorvel::testing
