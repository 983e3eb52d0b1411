#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "ConvertTestSupport.h"
#include "convert/ValueEntry.h"

namespace quorvel::test {
namespace {

struct Accepted {
  const char* text;
  std::uint32_t code;
  const char* format;
  double k;
  double x0;
  double value;  // as the element decodes its new contents
  Wire wire;
};

const Accepted kAccepted[] = {
    // Decimal forms.
    {"1,234,567", Reg(1), "", 1, 0, 1234567, {0xD6, 0x87, 0x00, 0x12}},
    {"-2.5e-1", Reg(3, kSwapped), "", 1, 0, -0.25, {0xBF, 0xD0, 0, 0, 0, 0, 0, 0}},
    {"2.5", Reg(0), "", 1, 0, 3, {0x00, 0x03}},
    {"12", Reg(0, kBinary), "", 1, 0, 12, {0x00, 0x0C}},  // not a bit pattern: decimal
    // Hexadecimal forms, unscaled in "Hex" elements.
    {"- 0X 1f", Reg(0), "", 1, 0, -31, {0xFF, 0xE1}},
    {"-1", Reg(0, kHex), "", 1, 0, 65535, {0xFF, 0xFF}},
    {"1E5", Reg(0, kHex), "", 1, 0, 0x1E5, {0x01, 0xE5}},
    {"10h", Reg(0, kHex), "", 10, 5, 16, {0x00, 0x10}},
    // Float and Double take hex as the signed 32-bit number their labels show.
    {"0x80000000", Reg(2), "", 1, 0, -2147483648.0, {0x00, 0x00, 0xCF, 0x00}},
    // Binary patterns: as wide as the element, negative when checked as signed.
    {"0000 0000 0000 0000 0001", Reg(0, kBinary), "", 1, 0, 1, {0x00, 0x01}},
    {"0B 1111 1111 1111 1110", Reg(0), "", 1, 0, -2, {0xFF, 0xFE}},
    {"1000 0000", Reg(5, kBinary | kUnsigned), "", 1, 0, 128, {0x00, 0x80}},
    // Bit elements: bare 0/1 digits are the bits; decimal and hex also work.
    {"ON", Bits(1), "0", 1, 0, 1, {0x01}},
    {"15.4", Bits(4), "", 1, 0, 15, {0x0F}},
    {"10", Bits(8), "", 2, 5, 2, {0x02}},  // bit elements are not scaled
    // Time of day in seconds.
    {"01:02:03", Reg(1), "hh:mm:ss", 1, 0, 3723, {0x0E, 0x8B, 0x00, 0x00}},
    {"100:00:00", Reg(1), "hh:mm:ss", 1, 0, 360000, {0x7E, 0x40, 0x00, 0x05}},
    {"00:01:00", Reg(0), "hh:mm:ss", 2, 0, 30, {0x00, 0x1E}},
    // Plain elements take displayed units.
    {"3276.7", Reg(0), "", 0.1, 0, 32767, {0x7F, 0xFF}},
    {"110", Reg(0), "", 2, 100, 5, {0x00, 0x05}},
    {"5", Reg(0), "", 0, 0, 5, {0x00, 0x05}},  // k = 0 reads as 1
};

TEST(ParseEntry, AcceptedForms) {
  for (const auto& c : kAccepted) {
    SCOPED_TRACE(testing::Message() << '"' << c.text << "\" code 0x" << std::hex << c.code);
    const EntryResult r = ParseEntry(c.text, c.code, c.format, c.k, c.x0);
    ASSERT_TRUE(r.ok) << r.reason;
    EXPECT_EQ(r.value, c.value);
    EXPECT_EQ(Bytes(r.encoded), c.wire);
  }
}

struct Refused {
  const char* text;
  std::uint32_t code;
  const char* format;
  double k;
  double x0;
  const char* reason;
};

const Refused kRefused[] = {
    {"", Reg(0), "", 1, 0, "Nothing entered"},
    {" 12abc ", Reg(0), "", 1, 0, "Not a number: 12abc"},
    {"1e400", Reg(1), "", 1, 0, "Out of range: -2147483648 to 2147483647"},
    {"01:02:03", Reg(1), "", 1, 0, "Not a number: 01:02:03"},
    {"1:60:00", Reg(1), "hh:mm:ss", 1, 0, "Not a time: 1:60:00"},
    {"h", Reg(0), "", 1, 0, "Not a hex number: h"},
    {"1 2345 6789h", Reg(1, kHex), "", 1, 0, "Too many hex digits: at most 8"},
    {"0b102", Reg(0), "", 1, 0, "Not a binary number: 0b102"},
    {"1 0000 0000", Reg(4, kBinary), "", 1, 0, "Too many bits for 8 bits"},
    {"ON", Bits(4), "", 1, 0, "Not a number: ON"},
    {"15.5", Bits(4), "", 1, 0, "Out of range: 0 to 15"},
    {"3276.8", Reg(0), "", 0.1, 0, "Out of range: -3276.8 to 3276.7"},
    {"40000", Reg(0), "", -1, 0, "Out of range: -32767 to 32768"},
    {"NaN", Reg(0), "", 1, 0, "Out of range: -32768 to 32767"},
    {"Inf", Reg(2), "", 1, 0, "Out of range: -3.402823E+38 to 3.402823E+38"},
};

TEST(ParseEntry, RefusedTextsSayWhy) {
  for (const auto& c : kRefused) {
    SCOPED_TRACE(testing::Message() << '"' << c.text << "\" code 0x" << std::hex << c.code);
    const EntryResult r = ParseEntry(c.text, c.code, c.format, c.k, c.x0);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.reason, c.reason);
  }
}

TEST(ParseEntry, DoubleTakesAnyNumberIncludingNaN) {
  const EntryResult r = ParseEntry("NaN", Reg(3));
  ASSERT_TRUE(r.ok) << r.reason;
  EXPECT_TRUE(std::isnan(r.value));
  EXPECT_TRUE(ParseEntry("-1e308", Reg(3)).ok);
  EXPECT_TRUE(ParseEntry("-inf", Reg(7)).ok);  // types without a decoding accept anything
}

// Beyond the double range a decimal saturates rather than failing: the label
// rounds the largest doubles up to "1.798 E+308".
TEST(ParseEntry, DecimalsBeyondDoubleRangeSaturate) {
  constexpr double kMax = std::numeric_limits<double>::max();
  const std::pair<const char*, double> cases[] = {
      {"1.798 E+308", kMax}, {"-1e400", -kMax},          {"123456e99999999999", kMax},
      {"-2.4E-324", -0.0},   {"4.941 E-324", 0x1p-1074},
  };
  for (const auto& [text, value] : cases) {
    const EntryResult r = ParseEntry(text, Reg(3));
    ASSERT_TRUE(r.ok) << text << ": " << r.reason;
    EXPECT_EQ(r.value, value) << text;
    EXPECT_EQ(std::signbit(r.value), std::signbit(value)) << text;
  }
}

// Both ends of every cell of the range table, through typed text: rounding
// happens first, so x.5 beyond an end is refused and x.49 accepted. In "Hex"
// elements bare digits are hex, so decimals there need a decimal point.
struct RangeRow {
  int type;
  std::uint32_t flags;
  const char* lo;
  const char* hi;
  const char* belowLo;
  const char* aboveHi;
  const char* reason;
};

const RangeRow kRanges[] = {
    {4, kUnsigned, "-0.49", "255.49", "-0.5", "255.5", "Out of range: 0 to 255"},
    {4, kHex, "-80h", "FF", "-81h", "100", "Out of range: -128 to 255"},
    {0, 0, "-32768.49", "32767.49", "-32768.5", "32767.5", "Out of range: -32768 to 32767"},
    {0, kHex, "-8000", "FFFFh", "-8001h", "0x10000", "Out of range: -32768 to 65535"},
    {1, kHex, "-80000000h", "FFFFFFFF", "-2147483648.5", "4294967295.5", "Out of range: -2147483648 to 4294967295"},
    {2, 0, "-3.402823E+38", "3.402823E+38", "-3.4028231E+38", "3.4028231E+38",
     "Out of range: -3.402823E+38 to 3.402823E+38"},
};

TEST(ParseEntry, RangeTableEnds) {
  for (const auto& row : kRanges) {
    const std::uint32_t code = Reg(row.type, row.flags);
    SCOPED_TRACE(testing::Message() << "code 0x" << std::hex << code);
    for (const char* inside : {row.lo, row.hi}) EXPECT_TRUE(ParseEntry(inside, code).ok) << inside;
    for (const char* outside : {row.belowLo, row.aboveHi}) {
      const EntryResult r = ParseEntry(outside, code);
      EXPECT_FALSE(r.ok) << outside;
      EXPECT_EQ(r.reason, row.reason) << outside;
    }
  }
}

// Both "Unsigned" and "Hex", Double and the types beyond take anything.
TEST(InEntryRange, SomeElementsTakeAnyNumber) {
  for (std::uint32_t code : {Reg(0, kUnsigned | kHex), Reg(1, kUnsigned | kHex), Reg(4, kUnsigned | kHex),
                             Reg(5, kUnsigned | kHex | kBinary), Reg(3), Reg(3, kUnsigned), Reg(6), Reg(15)}) {
    for (double v : {-1e300, 1e300, -HUGE_VAL, std::nan("")}) EXPECT_TRUE(InEntryRange(v, code)) << std::hex << code;
  }
  EXPECT_FALSE(InEntryRange(std::nextafter(3.402823E+38, INFINITY), Reg(2, kHex)));
  EXPECT_FALSE(InEntryRange(NAN, Reg(5, kHex)));
}

}  // namespace
}  // namespace quorvel::test
