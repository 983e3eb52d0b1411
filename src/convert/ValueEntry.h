#pragma once

// Reading a value typed into a panel element back into register contents.
//
// Accepted forms, blanks allowed anywhere:
//   decimal          "-12", "1 234", "1.5", "1.235 E+03"
//   hexadecimal      "1Fh", "0001 2345h", "0x1F" (bare digits in a "Hex" element)
//   binary           "0000 0101", "0b101" (bare 0/1 digits in a "Binary" or bit element)
//   time of day      "01:02:03" in an element whose format is "hh:mm:ss"
// A typed value is in displayed units: it is unscaled through k and x0 first.

#include <cstdint>
#include <string>
#include <string_view>

#include "convert/RegisterEncode.h"

namespace quorvel {

struct EntryResult {
  bool ok = false;
  double value = 0;      // the register value (unscaled), when ok
  EncodedValue encoded;  // its bytes as EncodeValue lays them out, when ok
  std::string reason;    // why the text was refused, when not ok
};

EntryResult ParseEntry(std::string_view text, std::uint32_t code, std::string_view format = {}, double k = 1.0,
                       double x0 = 0.0);

// The range rule of value entry; only "Unsigned" and "Hex" matter, both ends inclusive.
bool InEntryRange(double value, std::uint32_t code);

}  // namespace quorvel
