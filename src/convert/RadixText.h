#pragma once

// Hexadecimal and binary texts of "Hex" and "Binary" elements.

#include <string>
#include <string_view>

namespace quorvel {

// "1Fh", "0001 2345h", "FFFF0001h": see the implementation for the exact rule.
// Throws FormatError ("Overflow") when v does not round to 32 bits.
std::string HexText(double v);

// The `bits` lowest binary digits of v laid into "#"*bits + format from the right.
std::string BinaryText(double v, int bits, std::string_view format);

}  // namespace quorvel
