#include "convert/DisplayText.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "ConvertTestSupport.h"

namespace quorvel::test {
namespace {

struct Case {
  const char* what;
  double value;
  std::uint32_t code;
  const char* format;
  double k;
  double x0;
  const char* expected;
};

TEST(DisplayText, ChoosesTheTextByTheAddressCode) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      // Plain numbers are scaled first.
      {"scaled", 100, Reg(0), "0.00", 0.1, -5, "5.00"},
      {"negative scale", 3, Reg(0), "0", -0.5, 0, "-2"},  // -1.5 rounds away from zero
      {"time of day", 3661, Reg(1), "hh:mm:ss", 1, 0, "01:01:01"},
      {"time is exact text", 3661, Reg(0), "HH:MM:SS", 1, 0, "HH:MM:SS"},
      // Hex shows the register value unscaled, whatever the format.
      {"hex", 31, Reg(0, kHex), "0.00", 10, 5, "1Fh"},
      {"hex and binary", 255, Reg(0, kHex | kBinary), "0000 0000", 1, 0, "FFh"},
      // Binary: a word shows 16 bits, every other type 8; negatives wrap.
      {"binary word", 65534, Reg(0, kBinary), "0000 0000 0000 0000", 1, 0, "1111 1111 1111 1110"},
      {"binary word negative", -2, Reg(0, kBinary), "0000 0000 0000 0000", 1, 0, "1111 1111 1111 1110"},
      {"binary byte", -1, Reg(4, kBinary), "0000 0000", 1, 0, "1111 1111"},
      {"binary long", 74565, Reg(1, kBinary), "", 1, 0, "01000101"},
      // Bit elements lay their bits into the format.
      {"eight coils", 5, Bits(8), " 0000 0000", 1, 0, "0000 0101"},
      {"coils hex", 255, Bits(8, kHex), "", 1, 0, "FFh"},
      {"coils both", 5, Bits(4, kBinary | kHex), "0000", 1, 0, "0101"},
      // Failures show their own wording.
      {"hex overflow", 1e10, Reg(1, kHex), "", 1, 0, "Overflow"},
      {"binary nan", nan, Reg(2, kBinary), "", 1, 0, "Overflow"},
      {"float nan", nan, Reg(2), "0.00", 1, 0, "NaN"},
      {"scaled to infinity", 1e308, Reg(3), "0.00", 1e10, 0, "Inf"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(DisplayText(c.value, c.code, c.format, c.k, c.x0), c.expected);
  }
}

}  // namespace
}  // namespace quorvel::test
