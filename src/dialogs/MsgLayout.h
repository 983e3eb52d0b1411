#pragma once

// Where the message window puts its text and its OK button, in twips, for a
// text of a measured size. The window grows with the text but is never
// narrower than the OK button needs; measuring the text is the view's part.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

struct MsgLayout {
  // The narrowest window, and the widest text it takes.
  static constexpr std::int32_t kMinWidth = 3000;
  static constexpr std::int32_t kNarrowText = 2880;
  // Room beside a text wider than that.
  static constexpr std::int32_t kTextMargin = 360;
  // The text sits this far left of the centre.
  static constexpr std::int32_t kLeftShift = 60;
  static constexpr std::int32_t kTextTop = 60;
  static constexpr std::int32_t kButtonGap = 180;
  // From the button's top to the window's bottom edge.
  static constexpr std::int32_t kBelowButton = 1020;
  static constexpr std::int32_t kButtonWidth = 1125;
  static constexpr std::int32_t kButtonHeight = 345;
  // The window's sizes are outer sizes, borders and title bar included, as a
  // fixed dialog frame draws them at 96 dpi (3 px borders, a 19 px title).
  static constexpr std::int32_t kFrameWidth = 90;
  static constexpr std::int32_t kFrameHeight = 375;
  // Texts beyond this are taken as this, so that no sum overflows.
  static constexpr std::int32_t kMaxText = 1'000'000;

  std::int32_t Width = kMinWidth;
  std::int32_t Height = 0;
  std::int32_t tbLeft = 0;
  std::int32_t tbTop = kTextTop;
  std::int32_t tbWidth = 0;
  std::int32_t tbHeight = 0;
  std::int32_t cmdOKLeft = 0;
  std::int32_t cmdOKTop = 0;
  std::int32_t cmdOKWidth = kButtonWidth;
  std::int32_t cmdOKHeight = kButtonHeight;

  // The inside of the window, where the controls are placed.
  std::int32_t ClientWidth() const { return Width - kFrameWidth; }
  std::int32_t ClientHeight() const { return Height - kFrameHeight; }
};

// The layout for a text `textWidth` by `textHeight` twips; negative sizes
// count as 0. Half twips of centring go away from zero.
MsgLayout LayOutMsg(std::int32_t textWidth, std::int32_t textHeight);

// The lines of a message. Lines end in CR LF; a lone LF or CR, as other
// programs write them, ends a line too. A text ending in a line end has an
// empty last line, which takes its height like any other.
std::vector<std::string> MsgLines(std::string_view text);

}  // namespace quorvel
