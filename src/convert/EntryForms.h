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
};

// Picks the form of the text by its shape and by the element's flags and
// format, and reads its number: in register units for "Hex", "Binary" and
// bit elements, in displayed units otherwise.
EntryReading ReadEntryText(std::string_view text, const AddressCode& code, std::string_view format);

}  // namespace quorvel
