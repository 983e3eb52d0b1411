#pragma once

// Panel fonts are named as on a Windows desktop ("MS Sans Serif", "Arial",
// "Courier New"); on other desktops a face of the same kind stands in.

#include <string>

#include <QFont>
#include <QString>

namespace quorvel {

struct FontSettings {
  std::string Name;  // UTF-8
  int Size = 8;      // points
  bool Bold = false;
  bool Italic = false;
  bool Underline = false;
  bool Strikethru = false;
};

// `face` when it is installed; otherwise an installed face of the same kind
// (sans serif, serif or monospaced), sans serif when the kind is unknown.
QString InstalledFace(const std::string& face);

// The font for `settings` at `dpi` dots per inch. Its size is set in pixels so
// that text scales with a panel laid out at that resolution.
QFont PanelFont(const FontSettings& settings, double dpi);

}  // namespace quorvel
