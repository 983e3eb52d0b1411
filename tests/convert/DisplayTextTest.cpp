#include "convert/DisplayText.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "convert/AddressCode.h"

namespace quorvel {
namespace {

using A = AddressCode;

constexpr std::uint32_t Type(int t) { return static_cast<std::uint32_t>(t) << A::kTypeShift; }
constexpr std::uint32_t Coils(int n) { return A::kBitElement | Type(n - 1); }

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
      {"integer", 1234, Type(0), "## ##0", 1, 0, "1 234"},
      {"scaled", 100, Type(0), "0.00", 0.1, -5, "5.00"},
      {"negative scale", 3, Type(0), "0", -0.5, 0, "-2"},  // -1.5 rounds away from zero
      {"long", 2147483647, Type(1) | 123, "# ### ### ##0", 1, 0, "2 147 483 647"},
      {"double", 0.00012345, Type(3), "0.000 E+00", 1, 0, "1.234 E-04"},
      {"empty format", 2.5, Type(2), "", 1, 0, "2.5"},
      {"time of day", 3661, Type(1), "hh:mm:ss", 1, 0, "01:01:01"},
      {"scaled time", 61, Type(0), "hh:mm:ss", 60, 0, "01:01:00"},
      {"time is exact text", 3661, Type(0), "HH:MM:SS", 1, 0, "HH:MM:SS"},
      // Hex shows the register value unscaled, whatever the format.
      {"hex", 31, A::kHex | Type(0), "0.00", 10, 5, "1Fh"},
      {"hex long", 74565, A::kHex | Type(1), "", 1, 0, "0001 2345h"},
      {"hex and binary", 255, A::kHex | A::kBinary | Type(0), "0000 0000", 1, 0, "FFh"},
      // Binary: a word shows 16 bits, every other type 8; negatives wrap.
      {"binary word", 65534, A::kBinary | Type(0), "0000 0000 0000 0000", 1, 0, "1111 1111 1111 1110"},
      {"binary negative word", -2, A::kBinary | Type(0), "0000 0000 0000 0000", 1, 0, "1111 1111 1111 1110"},
      {"binary byte", -1, A::kBinary | Type(4), "0000 0000", 1, 0, "1111 1111"},
      {"binary long", 74565, A::kBinary | Type(1), "", 1, 0, "01000101"},
      {"binary not scaled", 5, A::kBinary | Type(4), "0000 0000", 3, 1, "0000 0101"},
      // Bit elements lay their bits into the format.
      {"one coil", 1, Coils(1), "0", 1, 0, "1"},
      {"eight coils", 5, Coils(8), " 0000 0000", 1, 0, "0000 0101"},
      {"twelve inputs", 2748, Coils(12) | A::kInputTable, " 0000 0000 0000", 1, 0, "1010 1011 1100"},
      {"sixteen coils", 0x8001, Coils(16), "0000 0000 0000 0000", 1, 0, "1000 0000 0000 0001"},
      {"coils hex", 255, Coils(8) | A::kHex, "", 1, 0, "FFh"},
      {"coils binary", 5, Coils(8) | A::kBinary, "", 1, 0, "00000101"},
      {"coils both", 5, Coils(4) | A::kBinary | A::kHex, "0000", 1, 0, "0101"},
      // Failures show their own wording.
      {"hex overflow", 1e10, A::kHex | Type(1), "", 1, 0, "Overflow"},
      {"time overflow", 1e300, Type(3), "hh:mm:ss", 1, 0, "Overflow"},
      {"percent overflow", 1e306, Type(3), "0%%%%", 1, 0, "Overflow"},
      {"binary nan", nan, A::kBinary | Type(2), "", 1, 0, "Overflow"},
      {"float nan", nan, Type(2), "0.00", 1, 0, "NaN"},
      {"scaled to infinity", 1e308, Type(3), "0.00", 1e10, 0, "Inf"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(DisplayText(c.value, c.code, c.format, c.k, c.x0), c.expected);
  }
}

// An element without a format of its own shows its default one.
TEST(DisplayText, DefaultFormatsShowAsIntended) {
  const struct {
    double value;
    std::uint32_t code;
    const char* expected;
  } cases[] = {
      {-32768, Type(0), "-32 768"},
      {65535, Type(0) | A::kUnsigned, "65 535"},
      {-1234.5, Type(3), "-1.235 E+03"},
      {0x1234, A::kBinary | Type(0), "0001 0010 0011 0100"},
      {0x81, A::kBinary | Type(5), "1000 0001"},
      {6, Coils(3), "110"},
      {0xF0, Coils(8), "1111 0000"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(DisplayText(c.value, c.code, DefaultFormat(c.code), 1, 0), c.expected);
  }
}

}  // namespace
}  // namespace quorvel
