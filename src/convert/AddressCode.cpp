#include "convert/AddressCode.h"

#include <algorithm>

namespace quorvel {

std::string TypeName(int type) {
  static const char* const kNames[] = {"Integer", "Long", "Float", "Double", "Byte hi", "Byte low"};
  return type >= 0 && type < 6 ? kNames[type] : "";
}

std::string DefaultFormat(std::uint32_t raw) {
  const AddressCode code(raw);
  // Only the Hex, Binary and bit-element bits choose the row.
  const std::uint32_t kind = raw & (AddressCode::kHex | AddressCode::kBinary | AddressCode::kBitElement);
  const int type = code.typeField();
  if (kind == 0) {
    switch (type) {
      case 0:
        return "## ##0";
      case 1:
        return "# ### ### ##0";
      case 2:
        return "0.00";
      case 3:
        return "0.000 E+00";
      default:
        return "0";
    }
  }
  if (kind == AddressCode::kHex) return "";
  if (kind == AddressCode::kBinary) {
    if (type == 0) return "0000 0000 0000 0000";
    if (type == 4 || type == 5) return "0000 0000";
    return "";
  }
  if (kind == AddressCode::kBitElement) {
    // The rightmost n + n/4 characters, so 4, 8 and 12 bits keep a leading blank.
    const std::string full = "0000 0000 0000 0000";
    const int n = code.width();
    const auto take = static_cast<std::size_t>(n + n / 4);
    return full.substr(full.size() - std::min(take, full.size()));
  }
  return "";
}

}  // namespace quorvel
