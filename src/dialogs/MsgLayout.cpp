#include "dialogs/MsgLayout.h"

#include <algorithm>

namespace quorvel {
namespace {

// Half of `v`, halves away from zero.
std::int32_t Half(std::int64_t v) { return static_cast<std::int32_t>(v >= 0 ? (v + 1) / 2 : -((-v + 1) / 2)); }

}  // namespace

MsgLayout LayOutMsg(std::int32_t textWidth, std::int32_t textHeight) {
  MsgLayout m;
  m.tbWidth = std::clamp(textWidth, 0, MsgLayout::kMaxText);
  m.tbHeight = std::clamp(textHeight, 0, MsgLayout::kMaxText);
  m.Width = m.tbWidth <= MsgLayout::kNarrowText ? MsgLayout::kMinWidth : m.tbWidth + MsgLayout::kTextMargin;
  m.tbLeft = Half(std::int64_t{m.Width} - m.tbWidth) - MsgLayout::kLeftShift;
  m.cmdOKTop = m.tbHeight + MsgLayout::kButtonGap;
  m.cmdOKLeft = Half(std::int64_t{m.Width} - m.cmdOKWidth);
  m.Height = m.cmdOKTop + MsgLayout::kBelowButton;
  return m;
}

std::vector<std::string> MsgLines(std::string_view text) {
  std::vector<std::string> lines(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

}  // namespace quorvel
