#pragma once

// Colours as project files store them: Windows colour values. A plain colour
// is 0x00BBGGRR (red in the low byte); 0x800000nn names system colour nn,
// which follows the desktop's colour scheme.

#include <cstdint>

#include <QColor>
#include <QPalette>

namespace quorvel {

inline constexpr std::uint32_t kSystemColorFlag = 0x80000000;

// The colour `value` stands for. A system colour takes the role of `palette`
// that means the same thing on this desktop, and the classic Windows scheme's
// colour where no role does.
QColor WinColor(std::uint32_t value, const QPalette& palette);
// The same against the application's palette.
QColor WinColor(std::uint32_t value);

// System colour `index` of the classic Windows scheme; black for an index
// that names none.
QColor ClassicSystemColor(int index);

}  // namespace quorvel
