// The message window's geometry in twips, worked out by hand from the
// window's rules: 3000 wide up to a 2880-twip text, else text + 360; the
// text 60 left of centre; the button 180 below the text's height; the
// window 1020 below the button's top.

#include <gtest/gtest.h>

#include <climits>

#include "dialogs/MsgLayout.h"

namespace quorvel::testing {
namespace {

TEST(LayOutMsg, SizesTheWindowToTheText) {
  const struct {
    std::int32_t textWidth, textHeight;
    std::int32_t width, height, tbLeft, cmdOKLeft, cmdOKTop;
  } cases[] = {
      // Short texts all get the narrow window, centred 60 twips left.
      {1500, 195, 3000, 1395, 690, 938, 375},
      {0, 0, 3000, 1200, 1440, 938, 180},
      {2880, 195, 3000, 1395, 0, 938, 375},
      // One twip more and the window follows the text.
      {2881, 195, 3241, 1395, 120, 1058, 375},
      {6000, 390, 6360, 1590, 120, 2618, 570},
      // Half twips of centring round away from zero: 999.5 -> 1000.
      {1001, 195, 3000, 1395, 940, 938, 375},
      // Nonsense measures count as nothing, or as the most there can be.
      {-50, -1, 3000, 1200, 1440, 938, 180},
      {INT_MAX, 195, 1'000'360, 1395, 120, 499'618, 375},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.textWidth << " x " << c.textHeight);
    const MsgLayout m = LayOutMsg(c.textWidth, c.textHeight);
    EXPECT_EQ(m.Width, c.width);
    EXPECT_EQ(m.Height, c.height);
    EXPECT_EQ(m.tbLeft, c.tbLeft);
    EXPECT_EQ(m.tbTop, 60);
    EXPECT_EQ(m.cmdOKLeft, c.cmdOKLeft);
    EXPECT_EQ(m.cmdOKTop, c.cmdOKTop);
    EXPECT_EQ(m.ClientWidth(), c.width - 90);
    EXPECT_EQ(m.ClientHeight(), c.height - 375);
  }
}

TEST(MsgLines, BreaksAtEveryKindOfLineEnd) {
  using Lines = std::vector<std::string>;
  const struct {
    const char* text;
    Lines lines;
  } cases[] = {
      {"", {""}},
      {"Time-out", {"Time-out"}},
      {"Request: 3\r\nTime-out", {"Request: 3", "Time-out"}},
      {"a\nb\rc", {"a", "b", "c"}},
      {"a\r\n", {"a", ""}},
      {"\r\n\r\n", {"", "", ""}},
      // LF CR is two line ends, not one.
      {"a\n\rb", {"a", "", "b"}},
      {"a\r\rb", {"a", "", "b"}},
  };
  for (const auto& c : cases) EXPECT_EQ(MsgLines(c.text), c.lines) << '"' << c.text << '"';
}

}  // namespace
}  // namespace quorvel::testing
