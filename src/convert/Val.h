#pragma once

// Numbers typed into dialog fields, read as Basic's Val reads them.

#include <string_view>

namespace quorvel {

// The number at the start of `text`: blanks, tabs and line feeds are skipped
// anywhere, then an optional sign, digits with at most one point and an
// exponent (E or D). "&H" and "&O" read hexadecimal and octal integers, four
// digits or fewer as a 16-bit and up to eight as a 32-bit signed value.
// Reading stops at the first other character; no number at all gives 0.
double Val(std::string_view text);

}  // namespace quorvel
