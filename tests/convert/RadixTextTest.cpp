#include "convert/RadixText.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "ConvertTestSupport.h"

namespace quorvel::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(HexText, WordsAndLongs) {
  const struct {
    double value;
    const char* expected;
  } cases[] = {
      {31, "1Fh"},
      {65535, "FFFFh"},
      {65536, "0001 0000h"},
      {2.5, "2h"},  // ties go to the even neighbour
      // Above 2147483647 the value is taken as the signed long of the same bits.
      {4294901761.0, "FFFF0001h"},   // -65535: no high word, eight digits
      {4294836225.0, "FFFF 0001h"},  // 0xFFFE0001 = -131071 splits into -1 and -65535
      {2147483647.5, "8000 0000h"},  // -2147483648.5 rounds to the even -2147483648
      {-1, "FFFFFFFFh"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(HexText(c.value), c.expected);
  }
  for (double v : {6442450944.0, -2147483649.0, -2147483648.5 - 1, 1e300, kNaN, kInf, -kInf}) {
    SCOPED_TRACE(v);
    ExpectOverflow([&] { HexText(v); });
  }
}

TEST(BinaryText, DigitsLaidIntoTheMaskFromTheRight) {
  const struct {
    double value;
    int bits;
    const char* format;
    const char* expected;
  } cases[] = {
      {5, 16, "0000 0000", "000000000000 0101"},        // digits without a place go left, unseparated
      {5, 4, "0000 0000", "0101"},                      // stops when the digits run out
      {2748, 12, " 0000 0000 0000", "1010 1011 1100"},  // so the leading blank is not reached
      {9, 3, "000", "001"},                             // only the lowest bits
      {5, 8, "0000-0000b", "0000-0101b"},               // any other character is copied
      {2.5, 8, "", "00000010"},                         // ties go to the even neighbour
      {-1, 8, "0000 0000", "1111 1111"},                // two's complement
      {5, 0, "0000", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.value) + " " + std::to_string(c.bits) + " \"" + c.format + "\"");
    EXPECT_EQ(BinaryText(c.value, c.bits, c.format), c.expected);
  }
  ExpectOverflow([] { BinaryText(kNaN, 8, ""); });
  ExpectOverflow([] { BinaryText(kInf, 8, ""); });
}

}  // namespace
}  // namespace quorvel::test
