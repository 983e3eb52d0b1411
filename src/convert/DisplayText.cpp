#include "convert/DisplayText.h"

#include <exception>

#include "convert/AddressCode.h"
#include "convert/NumberFormat.h"
#include "convert/RadixText.h"

namespace quorvel {

std::string DisplayText(double v, std::uint32_t raw, std::string_view format, double k, double x0) {
  const AddressCode code(raw);
  try {
    if (code.isBit()) {
      // The element's width is its bit count; its format is the bit mask.
      if (code.hex() && !code.binary()) return HexText(v);
      return BinaryText(v, code.width(), format);
    }
    // Hex wins when both flags are set; neither is scaled.
    if (code.hex()) return HexText(v);
    if (code.binary()) {
      const bool word = code.typeField() == 0;
      if (v < 0) v += word ? 65536.0 : 256.0;
      return BinaryText(v, word ? 16 : 8, format);
    }
    const double y = v * k + x0;
    if (format == "hh:mm:ss") return FormatTimeOfDay(y);
    return FormatNumber(y, format);
  } catch (const std::exception& e) {
    // The label shows what went wrong rather than keep a stale value.
    return e.what();
  }
}

}  // namespace quorvel
