#include "device/qt/WinColor.h"

#include <array>
#include <optional>

#include <QGuiApplication>

namespace quorvel {
namespace {

struct SystemColor {
  std::uint32_t classic;  // 0xRRGGBB
  std::optional<QPalette::ColorRole> role;
  QPalette::ColorGroup group = QPalette::Active;
};

// Indexed as the Windows system colours (COLOR_SCROLLBAR = 0 ...
// COLOR_MENUBAR = 30). Colours of the title bars, borders and desktop have no
// counterpart in a widget palette and keep their classic values.
const std::array<SystemColor, 31>& SystemColors() {
  static const std::array<SystemColor, 31> colors = {{
      {0xC0C0C0, std::nullopt},                        // scroll bars
      {0x008080, std::nullopt},                        // desktop
      {0x000080, std::nullopt},                        // active title bar
      {0x808080, std::nullopt},                        // inactive title bar
      {0xC0C0C0, QPalette::Window},                    // menu bar
      {0xFFFFFF, QPalette::Base},                      // window background
      {0x000000, std::nullopt},                        // window frame
      {0x000000, QPalette::WindowText},                // menu text
      {0x000000, QPalette::Text},                      // window text
      {0xFFFFFF, std::nullopt},                        // title bar text
      {0xC0C0C0, std::nullopt},                        // active border
      {0xC0C0C0, std::nullopt},                        // inactive border
      {0x808080, std::nullopt},                        // application workspace
      {0x000080, QPalette::Highlight},                 // highlight
      {0xFFFFFF, QPalette::HighlightedText},           // highlight text
      {0xC0C0C0, QPalette::Button},                    // button face
      {0x808080, QPalette::Dark},                      // button shadow
      {0x808080, QPalette::Text, QPalette::Disabled},  // grey text
      {0x000000, QPalette::ButtonText},                // button text
      {0xC0C0C0, std::nullopt},                        // inactive title bar text
      {0xFFFFFF, QPalette::Light},                     // button highlight
      {0x000000, QPalette::Shadow},                    // 3-D dark shadow
      {0xDFDFDF, QPalette::Midlight},                  // 3-D light
      {0x000000, QPalette::ToolTipText},               // tool tip text
      {0xFFFFE1, QPalette::ToolTipBase},               // tool tip background
      {0x000000, std::nullopt},                        // (not used by Windows)
      {0x0000FF, QPalette::Link},                      // hot-tracked item
      {0x1084D0, std::nullopt},                        // active title bar gradient
      {0xB5B5B5, std::nullopt},                        // inactive title bar gradient
      {0x000080, QPalette::Highlight},                 // highlighted menu item
      {0xC0C0C0, QPalette::Window},                    // flat menu bar
  }};
  return colors;
}

QColor FromRgb(std::uint32_t rgb) { return QColor((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF); }

}  // namespace

QColor ClassicSystemColor(int index) {
  if (index < 0 || index >= static_cast<int>(SystemColors().size())) return QColor(0, 0, 0);
  return FromRgb(SystemColors()[static_cast<std::size_t>(index)].classic);
}

QColor WinColor(std::uint32_t value, const QPalette& palette) {
  if ((value & 0xFF000000) == kSystemColorFlag) {
    const std::uint32_t index = value & 0x00FFFFFF;
    if (index >= SystemColors().size()) return QColor(0, 0, 0);
    const SystemColor& system = SystemColors()[index];
    if (system.role) return palette.color(system.group, *system.role);
    return FromRgb(system.classic);
  }
  // Windows keeps palette selectors in the high byte of other values; the
  // low three bytes are the colour either way.
  return QColor(value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
}

QColor WinColor(std::uint32_t value) { return WinColor(value, QGuiApplication::palette()); }

}  // namespace quorvel
