// Value entry: typed text back into an element's register contents.
//
// Choices made here, so that every text a value label shows can be typed back:
// - Blanks are ignored once the form is known. Forms, first match wins:
//   "ON"/"OFF"/"TRUE"/"FALSE" (single coil only); "H:MM:SS" or "H:MM" when the
//   format is "hh:mm:ss"; hex with an 'h' suffix or "0x" prefix; binary with a
//   "0b" prefix; bare 0/1 digits in a "Binary" or bit element; bare hex digits
//   in a "Hex" (not "Binary") element; otherwise a decimal number (',' group
//   groups and a decimal comma told apart by EntryForms, "NaN"/"Inf" accepted
//   for the range rule to judge). A plain number may carry the picture's own
//   text (a unit, '%'), which comes off first.
// - A value no register of the element can hold is refused, never cut down:
//   a decimal beyond the double range, a non-zero one that would be stored as
//   0, and any entry into a register type without a decoding (6 and up).
// - With both "Unsigned" and "Hex" the range is the unsigned one: the flags
//   say the register holds no negative numbers, and a larger value would be
//   written as some other number.
// - Ranges are named in the element's notation: hex for "Hex" elements.
// - Hex: optional '-', at most 8 significant digits. The label writes a value
//   with a negative high word and nonzero low word as "HHHH LLLLh" with the
//   high group one too large (0xFFFE0001 shows "FFFF 0001h"); that exact
//   blank-separated 4+4 form with a high group of 8000 or more and a nonzero
//   low group is read as ((high - 1) << 16) | low. Run-together digits and the
//   "0x" form are read literally. Float and Double hold numbers, which labels
//   write as signed 32-bit hex, so there a hex value from 80000000 up is that
//   negative number (-2.0 shows "FFFFFFFEh" and reads back as -2).
// - Binary is a bit pattern as wide as the element (16 bits Integer, 8 bits
//   Byte hi/low, 32 bits Long, the bit count for a bit element; Float and
//   Double take it as an unsigned integer of up to 53 bits); a register element
//   checked as signed reads a pattern with its top bit set as negative.
// - A plain-number element (a register element without "Hex" and "Binary")
//   takes whatever is typed in displayed units: v = (y - x0) / k, k = 0 read
//   as 1. "Hex", "Binary" and bit elements take register values as they are.
// - Integer types and bit elements round to nearest (half away from zero)
//   before the range check; bit elements also need 0 <= v < 2^bits.
// - The value handed back is the one the encoded bytes decode to, so that an
//   emulated device holds exactly what a poll would read from a real one.

#include "convert/ValueEntry.h"

#include <charconv>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <cstdint>
#include <utility>

#include "convert/AddressCode.h"
#include "convert/EntryForms.h"
#include "convert/RegisterDecode.h"

namespace quorvel {

namespace {

constexpr double kFloatEntryLimit = 3.402823E+38;
constexpr double kDoubleMax = std::numeric_limits<double>::max();

struct Range {
  bool any = true;
  double lo = 0;
  double hi = 0;
};

Range EntryRange(const AddressCode& code) {
  const bool unsignedFlag = code.unsignedFlag();
  const bool hexFlag = code.hex();
  const auto integerRange = [&](double negLimit, double posLimit) -> Range {
    if (unsignedFlag) return {false, 0, 2 * posLimit + 1};
    if (hexFlag) return {false, negLimit, 2 * posLimit + 1};
    return {false, negLimit, posLimit};
  };
  switch (code.typeField()) {
    case 0:
      return integerRange(-32768.0, 32767.0);
    case 1:
      return integerRange(-2147483648.0, 2147483647.0);
    case 2:
      return {false, -kFloatEntryLimit, kFloatEntryLimit};
    case 4:
    case 5:
      return integerRange(-128.0, 127.0);
    default:
      return {};
  }
}

std::string NumberText(double v) {
  char buf[32];
  const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::general, 10);
  std::string out(buf, ec == std::errc() ? end : buf);
  for (char& ch : out)
    if (ch == 'e') ch = 'E';
  return out;
}

std::string HexNumberText(double v) {
  char buf[24];
  const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<std::uint64_t>(std::fabs(v)), 16);
  std::string out(buf, ec == std::errc() ? end : buf);
  for (char& ch : out) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return (v < 0 ? "-" : "") + out + "h";
}

bool ShownInHex(const AddressCode& code) {
  if (code.isBit()) return code.hex() && !code.binary();
  return code.hex() && code.typeField() != 2 && code.typeField() != 3;
}

// The accepted range in the units and the notation the user types.
std::string RangeText(const AddressCode& code, bool scaled, double k, double x0) {
  double lo = 0;
  double hi = 0;
  if (code.isBit()) {
    hi = std::ldexp(1.0, code.width()) - 1;
  } else {
    const Range r = code.typeField() == 3 ? Range{false, -kDoubleMax, kDoubleMax} : EntryRange(code);
    lo = r.lo;
    hi = r.hi;
    if (scaled) {
      // Scaled beyond the double range, an end stays where the double range puts it.
      lo = std::clamp(lo * k + x0, -kDoubleMax, kDoubleMax);
      hi = std::clamp(hi * k + x0, -kDoubleMax, kDoubleMax);
      if (lo > hi) std::swap(lo, hi);
    }
  }
  if (ShownInHex(code)) return "Out of range: " + HexNumberText(lo) + " to " + HexNumberText(hi);
  return "Out of range: " + NumberText(lo) + " to " + NumberText(hi);
}

constexpr const char* kTooCloseToZero = "Out of range: too close to 0 to be held";

bool IsKnownType(const AddressCode& code) { return code.isBit() || code.typeField() <= 5; }

bool IsIntegerType(const AddressCode& code) {
  if (code.isBit()) return true;
  const int type = code.typeField();
  return type == 0 || type == 1 || type == 4 || type == 5;
}

}  // namespace

bool InEntryRange(double value, std::uint32_t raw) {
  const Range r = EntryRange(AddressCode(raw));
  return r.any || (value >= r.lo && value <= r.hi);
}

EntryResult ParseEntry(std::string_view text, std::uint32_t raw, std::string_view format, double k, double x0) {
  const AddressCode code(raw);
  EntryResult result;
  if (!IsKnownType(code)) {
    result.reason = "Not writable: the element's register type " + std::to_string(code.typeField()) + " is unknown";
    return result;
  }
  EntryReading reading = ReadEntryText(text, code, format);
  if (!reading.ok) {
    result.reason = std::move(reading.reason);
    return result;
  }
  if (reading.underflow) {
    result.reason = kTooCloseToZero;
    return result;
  }

  double v = reading.number;
  const bool scaled = !code.isBit() && !code.hex() && !code.binary();
  if (k == 0) k = 1;
  if (scaled) v = (v - x0) / k;
  if (IsIntegerType(code)) v = std::round(v);

  // A typed infinity stands for itself; one the text or the scaling ran into does not.
  const bool overflow = reading.overflow || (std::isinf(v) && !std::isinf(reading.number));
  bool inRange = !overflow && InEntryRange(v, raw);
  if (code.isBit()) inRange = inRange && v >= 0 && v <= std::ldexp(1.0, code.width()) - 1;
  if (!inRange) {
    result.reason = RangeText(code, scaled, k, x0);
    return result;
  }

  result.ok = true;
  result.encoded = EncodeValue(v, raw);
  if (code.isBit()) {
    result.value = DecodeBits(result.encoded.view(), 0, code.width());
  } else {
    EncodedValue scratch = result.encoded;  // decoding reverses its buffer
    result.value = DecodeRegisters({scratch.bytes.data(), static_cast<std::size_t>(scratch.size)}, raw);
  }
  if (result.value == 0 && v != 0 && !IsIntegerType(code)) {
    // A Float holds nothing this small.
    result = {};
    result.reason = kTooCloseToZero;
  }
  return result;
}

}  // namespace quorvel
