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
      {"integer", 1234, Reg(0), "## ##0", 1, 0, "1 234"},
      {"scaled", 100, Reg(0), "0.00", 0.1, -5, "5.00"},
      {"negative scale", 3, Reg(0), "0", -0.5, 0, "-2"},  // -1.5 rounds away from zero
      {"long", 2147483647, Reg(1), "# ### ### ##0", 1, 0, "2 147 483 647"},
      {"double", 0.00012345, Reg(3), "0.000 E+00", 1, 0, "1.234 E-04"},
      {"empty format", 2.5, Reg(2), "", 1, 0, "2.5"},
      {"time of day", 3661, Reg(1), "hh:mm:ss", 1, 0, "01:01:01"},
      {"scaled time", 61, Reg(0), "hh:mm:ss", 60, 0, "01:01:00"},
      {"time is exact text", 3661, Reg(0), "HH:MM:SS", 1, 0, "HH:MM:SS"},
      // Hex shows the register value unscaled, whatever the format.
      {"hex", 31, Reg(0, kHex), "0.00", 10, 5, "1Fh"},
      {"hex long", 74565, Reg(1, kHex), "", 1, 0, "0001 2345h"},
      {"hex and binary", 255, Reg(0, kHex | kBinary), "0000 0000", 1, 0, "FFh"},
      // Binary: a word shows 16 bits, every other type 8; negatives wrap.
      {"binary word", 65534, Reg(0, kBinary), "0000 0000 0000 0000", 1, 0, "1111 1111 1111 1110"},
      {"binary negative word", -2, Reg(0, kBinary), "0000 0000 0000 0000", 1, 0, "1111 1111 1111 1110"},
      {"binary byte", -1, Reg(4, kBinary), "0000 0000", 1, 0, "1111 1111"},
      {"binary long", 74565, Reg(1, kBinary), "", 1, 0, "01000101"},
      {"binary not scaled", 5, Reg(4, kBinary), "0000 0000", 3, 1, "0000 0101"},
      // Bit elements lay their bits into the format.
      {"one coil", 1, Bits(1), "0", 1, 0, "1"},
      {"eight coils", 5, Bits(8), " 0000 0000", 1, 0, "0000 0101"},
      {"twelve inputs", 2748, Bits(12, AddressCode::kInputTable), " 0000 0000 0000", 1, 0, "1010 1011 1100"},
      {"sixteen coils", 0x8001, Bits(16), "0000 0000 0000 0000", 1, 0, "1000 0000 0000 0001"},
      {"coils hex", 255, Bits(8, kHex), "", 1, 0, "FFh"},
      {"coils binary", 5, Bits(8, kBinary), "", 1, 0, "00000101"},
      {"coils both", 5, Bits(4, kBinary | kHex), "0000", 1, 0, "0101"},
      // Failures show their own wording.
      {"hex overflow", 1e10, Reg(1, kHex), "", 1, 0, "Overflow"},
      {"time overflow", 1e300, Reg(3), "hh:mm:ss", 1, 0, "Overflow"},
      {"percent overflow", 1e306, Reg(3), "0%%%%", 1, 0, "Overflow"},
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
