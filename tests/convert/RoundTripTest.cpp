// What a label shows must type back: decode -> DisplayText -> ParseEntry.

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ConvertTestSupport.h"
#include "convert/DisplayText.h"
#include "convert/RegisterDecode.h"
#include "convert/ValueEntry.h"

namespace quorvel::test {
namespace {

double Decode(Wire wire, std::uint32_t code) {
  const AddressCode c(code);
  if (c.isBit()) return DecodeBits(wire, 0, c.width());
  return DecodeRegisters(wire, code);  // works on its own copy
}

// Texts show every bit, except Float and Double (rounded, or hex/binary of
// the rounded number) and Long in "Binary" (its low 8 bits only).
bool DisplayIsLossless(std::uint32_t raw) {
  const AddressCode code(raw);
  if (code.isBit()) return true;
  const int type = code.typeField();
  if (type == 2 || type == 3) return false;
  return !(type == 1 && code.binary() && !code.hex());
}

// Texts that cannot be typed back on purpose: the error wording shown in
// place of a value, floats beyond the entry range (the range rule stops just
// short of the largest float), and the largest doubles, which their rounded
// text puts beyond the double range.
bool ShowsNoEnterableValue(const std::string& text, double v, std::uint32_t raw) {
  if (text == kOverflowText) return true;
  const AddressCode code(raw);
  if (code.isBit()) return false;
  if (code.typeField() == 2) return !(std::fabs(v) <= 3.402823E+38);
  return code.typeField() == 3 && std::fabs(v) > 1.797E+308;
}

// One element and one wire image: the full round trip where the text holds
// every bit, the display's own fixed point where it rounds.
void CheckRoundTrip(const Wire& wire, std::uint32_t code, std::string_view format, double k = 1, double x0 = 0,
                    bool lossless = false) {
  const double v = Decode(wire, code);
  const std::string text = DisplayText(v, code, format, k, x0);
  const EntryResult entry = ParseEntry(text, code, format, k, x0);
  if (!entry.ok && ShowsNoEnterableValue(text, v, code)) return;
  ASSERT_TRUE(entry.ok) << "code 0x" << std::hex << code << std::dec << " value " << v << " shown \"" << text
                        << "\": " << entry.reason;
  if (lossless) {
    ASSERT_EQ(Bytes(entry.encoded), wire) << "code 0x" << std::hex << code << std::dec << " shown \"" << text << '"';
  } else {
    ASSERT_EQ(DisplayText(Decode(Bytes(entry.encoded), code), code, format, k, x0), text)
        << "code 0x" << std::hex << code << std::dec << " value " << v;
  }
}

// Wire images worth trying for a register element: edges and a sweep.
std::vector<Wire> SampleWires(std::uint32_t raw, std::mt19937& rng) {
  const AddressCode code(raw);
  const auto size = static_cast<std::size_t>(code.byteCount());
  const int type = code.typeField();
  std::vector<Wire> out;
  for (std::uint8_t fill : {0x00, 0xFF, 0x80, 0x7F, 0x01, 0xFE}) out.emplace_back(size, fill);
  for (std::size_t i = 0; i < size; ++i) {
    Wire w(size, 0);
    w[i] = 0x80;  // each bit position's top bit, alone
    out.push_back(w);
    w[i] = 0x01;
    out.push_back(w);
  }
  std::uniform_int_distribution<int> byte(0, 255);
  for (int i = 0; i < 1500; ++i) {
    Wire w(size);
    for (auto& b : w) b = static_cast<std::uint8_t>(byte(rng));
    out.push_back(w);
  }
  if (type == 2 || type == 3) {
    // Random bytes are mostly huge or tiny; add everyday numbers and limits.
    const double special[] = {0.0,          -0.0,          1.0,        -1.0,         0.1,       -2.5,
                              0.005,        123456.789,    16777217.0, 4294967294.0, -100000.0, 3e9,
                              3.402823E+38, -3.402823E+38, FLT_MAX,    FLT_TRUE_MIN, DBL_MAX,   DBL_TRUE_MIN,
                              DBL_MIN,      INFINITY,      -INFINITY,  NAN};
    for (double s : special) out.push_back(Bytes(EncodeValue(s, raw)));
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::uniform_int_distribution<int> integer(-70000, 70000);
    for (int i = 0; i < 1500; ++i) {
      out.push_back(Bytes(EncodeValue(mantissa(rng) * std::pow(10.0, exponent(rng)), raw)));
      out.push_back(Bytes(EncodeValue(integer(rng), raw)));
    }
  }
  // A byte element owns one byte of its register; the other is always 0.
  for (auto& w : out) {
    if (type == 4) w[1] = 0;
    if (type == 5) w[0] = 0;
  }
  return out;
}

TEST(RoundTrip, RegisterElementsWithDefaultFormats) {
  std::mt19937 rng(5150);
  for (int type = 0; type <= 5; ++type) {
    for (std::uint32_t flags = 0; flags < 16; ++flags) {
      const std::uint32_t code = static_cast<std::uint32_t>(type) << 20 | 0x0064 | (flags & 1 ? kUnsigned : 0) |
                                 (flags & 2 ? kHex : 0) | (flags & 4 ? kBinary : 0) | (flags & 8 ? kSwapped : 0);
      const std::string format = DefaultFormat(code);
      const bool lossless = DisplayIsLossless(code);
      for (const Wire& wire : SampleWires(code, rng)) {
        ASSERT_NO_FATAL_FAILURE(CheckRoundTrip(wire, code, format, 1, 0, lossless));
      }
    }
  }
}

}  // namespace
}  // namespace quorvel::test
