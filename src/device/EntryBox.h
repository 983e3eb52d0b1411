#pragma once

// The edit box that opens over a value label while the user types a new value:
// what it shows and where, held in the core so that a view only mirrors it.

#include <cstdint>
#include <string>

namespace quorvel {

struct EntryBox {
  bool Visible = false;
  std::string Text;
  std::string ToolTipText;
  // Twips, taken from the value label it covers.
  std::int32_t Left = 0;
  std::int32_t Top = 0;
  std::int32_t Width = 0;
  std::int32_t Height = 0;
  bool FontBold = false;
  bool FontItalic = false;
  bool FontUnderline = false;
  bool FontStrikethru = false;
  int FontSize = 8;
  std::string FontName;
  std::uint32_t BackColor = 0xFFFFFF;
  std::uint32_t ForeColor = 0;
  // Set when the box opens: the whole text is selected so typing replaces it.
  bool SelectAll = false;
  // Why the last Enter was refused; a view may show it as a hint. Empty otherwise.
  std::string Refusal;
};

}  // namespace quorvel
