// libFuzzer target: any text typed into a panel element, for any element
// (every register type and flag, bit elements of 1..16 bits), every picture
// the program offers (and pictures made of any bytes) and a few scalings.
// An accepted text must encode into exactly the element's bytes, decode back
// to the value reported, and what the label then shows must type back to a
// value that shows the same (for the offered pictures, it must type back at
// all, unless the label shows the overflow text or a float beyond the entry
// range); with any other picture the text must still be read without harm.
// Where the label shows every bit (integer elements, default picture,
// no scaling) it must give back the very bytes.
//
// Input: 4 bytes of address code, a picture byte, a scaling byte, then the
// text; with the picture byte's top bit set the text runs to the first NUL
// and the picture is what follows it.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzCheck.h"
#include "convert/AddressCode.h"
#include "convert/DisplayText.h"
#include "convert/NumberFormat.h"
#include "convert/RegisterDecode.h"
#include "convert/RegisterEncode.h"
#include "convert/ValueEntry.h"

using namespace quorvel;
using fuzz::Check;

namespace {

// The pictures of the format dialog and of the program's own elements; an
// empty one stands for the element's default.
const char* const kPictures[] = {"",
                                 "0",
                                 "0.0",
                                 "0.00",
                                 "0.000",
                                 "#,##0",
                                 "#,##0.00",
                                 "# ##0",
                                 "## ##0",
                                 "0.00 E+00",
                                 "0.000 E+00",
                                 "0.00E-00",
                                 "0 %",
                                 "0.0 \"kg\"",
                                 "0.0 \\\xC2\xB0\x43",
                                 "# ##0 \"ms\"",
                                 "0.0;(0.0)",
                                 "0;-0;\"zero\"",
                                 "00000",
                                 "0,",
                                 "General Number",
                                 "Fixed",
                                 "Standard",
                                 "Percent",
                                 "Scientific",
                                 "hh:mm:ss"};

struct Scaling {
  double k, x0;
};
const Scaling kScalings[] = {{1, 0}, {0.1, 0}, {0.01, 0}, {2, 0}, {10, 0}, {-1, 0}, {0.5, 0}, {1, 100}, {0.1, -40}};

double Decode(const EncodedValue& encoded, std::uint32_t raw) {
  const AddressCode code(raw);
  std::vector<std::uint8_t> bytes(encoded.view().begin(), encoded.view().end());
  if (code.isBit()) return DecodeBits(bytes, 0, code.width());
  return DecodeRegisters(bytes, raw);
}

bool SameValue(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Register elements beyond Byte low have no type of their own.
bool KnownType(const AddressCode& code) { return code.isBit() || code.typeField() <= 5; }

// Integer elements in decimal or hex show every bit; Float and Double round,
// and Long in "Binary" shows its low 8 bits only.
bool ShowsEveryBit(const AddressCode& code) {
  if (code.isBit()) return true;
  const int type = code.typeField();
  if (type == 2 || type == 3) return false;
  return !(type == 1 && code.binary() && !code.hex());
}

// Shown on purpose in a form that does not type back: the overflow text, a
// float beyond the entry range, and the largest doubles, which their rounded
// text puts beyond the double range.
bool ShowsNoEnterableValue(const std::string& text, double v, const AddressCode& code) {
  if (text == kOverflowText) return true;
  if (code.isBit()) return false;
  if (code.typeField() == 2) return !(std::fabs(v) <= 3.402823E+38);
  return code.typeField() == 3 && !(std::fabs(v) <= 1.797E+308);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 6) return 0;
  std::uint32_t raw = 0;
  std::memcpy(&raw, data, sizeof raw);
  // The address plays no part; keep the defined flags only.
  raw = (raw & (AddressCode::kSwapped | AddressCode::kTypeMask | AddressCode::kHex | AddressCode::kBinary |
                AddressCode::kTableMask | AddressCode::kUnsigned)) |
        0x0040;
  const AddressCode code(raw);
  const std::uint8_t pick = data[4];
  const Scaling scaling = kScalings[data[5] % std::size(kScalings)];
  std::string_view text(reinterpret_cast<const char*>(data + 6), size - 6);
  std::string format;
  // Bit elements and "Binary" registers lay their bits into the picture, a
  // mask rather than a number picture: theirs is the default alone.
  const std::size_t index = pick % std::size(kPictures);
  const bool offered = (pick & 0x80) == 0 && (index == 0 || !(code.isBit() || code.binary()));
  if ((pick & 0x80) == 0) {
    format = kPictures[index];
    if (format.empty()) format = DefaultFormat(raw);
  } else {
    const std::size_t nul = text.find('\0');
    if (nul != std::string_view::npos) {
      format = std::string(text.substr(nul + 1));
      text = text.substr(0, nul);
    }
  }

  const EntryResult entry = ParseEntry(text, raw, format, scaling.k, scaling.x0);
  if (!entry.ok) {
    Check(!entry.reason.empty(), "a refused text says why");
    return 0;
  }
  if (!KnownType(code)) return 0;
  Check(entry.encoded.size == code.byteCount(), "an accepted value fills the element's bytes");
  const double v = Decode(entry.encoded, raw);
  Check(SameValue(v, entry.value), "the encoded bytes decode to the value reported");

  const std::string shown = DisplayText(v, raw, format, scaling.k, scaling.x0);
  const EntryResult back = ParseEntry(shown, raw, format, scaling.k, scaling.x0);
  // Any other picture may lay the value out in a way no one could type
  // back (bits laid into "0.0"); there, only the reading above must hold.
  if (!offered) return 0;
  const bool everyBit = index == 0 && scaling.k == 1 && scaling.x0 == 0 && ShowsEveryBit(code);
  if (!back.ok) {
    // A picture that rounds may show a value near the end of the range as
    // one beyond it (34 + 100 shown through "0," is "0", and 0 - 100 is no
    // unsigned value); one that shows every bit never does.
    const bool rounded = !everyBit && back.reason.starts_with("Out of range");
    Check(rounded || ShowsNoEnterableValue(shown, v, code), "what a label shows types back");
    return 0;
  }
  // A picture with sections rounds a small value into the positive or
  // negative section, while the number typed back may be exactly 0 and take
  // the zero section (0.2 shows "0", and 0 shows "zero").
  if (format.find(';') == std::string::npos) {
    Check(DisplayText(Decode(back.encoded, raw), raw, format, scaling.k, scaling.x0) == shown,
          "what a label shows types back to the same text");
  }
  if (everyBit) {
    Check(std::memcmp(back.encoded.bytes.data(), entry.encoded.bytes.data(), sizeof entry.encoded.bytes) == 0,
          "a label that shows every bit types back to the same bytes");
  }
  return 0;
}
