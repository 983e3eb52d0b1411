#pragma once

// The typed forms of a value (decimal, hex, binary, time, coil words), read
// into a number before scaling and range check.

#include <string>
#include <string_view>

#include "convert/AddressCode.h"

namespace quorvel {

struct EntryReading {
  bool ok = false;
  double number = 0;
  std::string reason;  // why the text was refused, when not ok
  // A decimal beyond the double range (number is then an infinity of its
  // sign), or one so close to 0 that a double holds it as 0.
  bool overflow = false;
  bool underflow = false;
};

// Picks the form of the text by its shape and by the element's flags and
// format, and reads its number: in register units for "Hex", "Binary" and
// bit elements, in displayed units otherwise, where the picture's own parts
// (a unit, '%') come off first and its scaling is undone.
EntryReading ReadEntryText(std::string_view text, const AddressCode& code, std::string_view format);

}  // namespace quorvel
