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
    {"-12", Reg(0), "", 1, 0, -12, {0xFF, 0xF4}},
    {"-32 768", Reg(0), "## ##0", 1, 0, -32768, {0x80, 0x00}},
    {"1,234,567", Reg(1), "", 1, 0, 1234567, {0xD6, 0x87, 0x00, 0x12}},
    {"+5", Reg(0), "", 1, 0, 5, {0x00, 0x05}},
    {"1.5", Reg(2), "", 1, 0, 1.5, {0x00, 0x00, 0x3F, 0xC0}},
    {"1.235 E+03", Reg(3), "", 1, 0, 1235, {0x00, 0x00, 0x00, 0x00, 0x4C, 0x00, 0x40, 0x93}},
    {"-2.5e-1", Reg(3, kSwapped), "", 1, 0, -0.25, {0xBF, 0xD0, 0, 0, 0, 0, 0, 0}},
    {".5", Reg(2, kSwapped), "", 1, 0, 0.5, {0x3F, 0x00, 0x00, 0x00}},
    {"2.5", Reg(0), "", 1, 0, 3, {0x00, 0x03}},
    {"-2.5", Reg(0), "", 1, 0, -3, {0xFF, 0xFD}},
    {"Inf", Reg(3, kSwapped), "", 1, 0, INFINITY, {0x7F, 0xF0, 0, 0, 0, 0, 0, 0}},
    {"12", Reg(0, kBinary), "", 1, 0, 12, {0x00, 0x0C}},  // not a bit pattern: decimal
    // Hexadecimal forms, unscaled in "Hex" elements.
    {"1Fh", Reg(0), "", 1, 0, 31, {0x00, 0x1F}},
    {"1f H", Reg(0), "", 1, 0, 31, {0x00, 0x1F}},
    {"0x1F", Reg(0), "", 1, 0, 31, {0x00, 0x1F}},
    {"- 0X 1f", Reg(0), "", 1, 0, -31, {0xFF, 0xE1}},
    {"FFFE", Reg(0, kHex), "", 1, 0, 65534, {0xFF, 0xFE}},
    {"-1", Reg(0, kHex), "", 1, 0, 65535, {0xFF, 0xFF}},
    {"1E5", Reg(0, kHex), "", 1, 0, 0x1E5, {0x01, 0xE5}},
    {"1.5", Reg(0, kHex), "", 1, 0, 2, {0x00, 0x02}},
    {"10h", Reg(0, kHex), "", 10, 5, 16, {0x00, 0x10}},
    {"0001 2345h", Reg(1, kHex), "", 1, 0, 74565, {0x23, 0x45, 0x00, 0x01}},
    // The label's two-word form of a negative high word reads back to its value.
    {"FFFF 0001h", Reg(1, kHex), "", 1, 0, 0xFFFE0001, {0x00, 0x01, 0xFF, 0xFE}},
    {"8001 0001h", Reg(1, kHex | kSwapped), "", 1, 0, 0x80000001, {0x80, 0x00, 0x00, 0x01}},
    {"FFFF 0001", Reg(1, kHex), "", 1, 0, 0xFFFE0001, {0x00, 0x01, 0xFF, 0xFE}},
    {"7FFF 0001h", Reg(1, kHex), "", 1, 0, 0x7FFF0001, {0x00, 0x01, 0x7F, 0xFF}},
    {"FFFF0001h", Reg(1, kHex), "", 1, 0, 0xFFFF0001, {0x00, 0x01, 0xFF, 0xFF}},
    // Float and Double take hex as the signed 32-bit number their labels show.
    {"FFFFFFFEh", Reg(2, kHex), "", 1, 0, -2, {0x00, 0x00, 0xC0, 0x00}},
    {"FFFF 7960h", Reg(3, kHex | kSwapped), "", 1, 0, -100000, {0xC0, 0xF8, 0x6A, 0x00, 0, 0, 0, 0}},
    {"0x80000000", Reg(2), "", 1, 0, -2147483648.0, {0x00, 0x00, 0xCF, 0x00}},
    {"7FFF0001h", Reg(2, kSwapped), "", 1, 0, 2147418112, {0x4E, 0xFF, 0xFE, 0x00}},
    {"-0xFFFFFFFE", Reg(3, kSwapped), "", 1, 0, -4294967294.0, {0xC1, 0xEF, 0xFF, 0xFF, 0xFF, 0xC0, 0x00, 0x00}},
    // Binary patterns: as wide as the element, negative when checked as signed.
    {"1111 1111 1111 1110", Reg(0, kBinary), "", 1, 0, 65534, {0xFF, 0xFE}},
    {"0000 0000 0000 0000 0001", Reg(0, kBinary), "", 1, 0, 1, {0x00, 0x01}},
    {"0b101", Reg(0), "", 1, 0, 5, {0x00, 0x05}},
    {"0B 1111 1111 1111 1110", Reg(0), "", 1, 0, -2, {0xFF, 0xFE}},
    {"0b1111111111111110", Reg(0, kUnsigned), "", 1, 0, 65534, {0xFF, 0xFE}},
    {"1000 0000", Reg(4, kBinary), "", 1, 0, 128, {0x80, 0x00}},
    {"1000 0000", Reg(5, kBinary | kUnsigned), "", 1, 0, 128, {0x00, 0x80}},
    {"11111111111111111111111111111111", Reg(1, kBinary), "", 1, 0, 4294967295, {0xFF, 0xFF, 0xFF, 0xFF}},
    {"1111 1110", Reg(2, kBinary), "", 1, 0, 254, {0x00, 0x00, 0x43, 0x7E}},
    {"0x1F", Reg(0, kBinary), "", 1, 0, 31, {0x00, 0x1F}},
    // Bit elements: bare 0/1 digits are the bits; decimal and hex also work.
    {"1", Bits(1), "0", 1, 0, 1, {0x01}},
    {"ON", Bits(1), "0", 1, 0, 1, {0x01}},
    {"off", Bits(1), "0", 1, 0, 0, {0x00}},
    {"True", Bits(1), "0", 1, 0, 1, {0x01}},
    {" 1010 0101", Bits(8), " 0000 0000", 1, 0, 0xA5, {0xA5}},
    {"255", Bits(8), "", 1, 0, 255, {0xFF}},
    {"0x80", Bits(8), "", 1, 0, 128, {0x80}},
    {"1 0000 0000 0000", Bits(13), "", 1, 0, 4096, {0x00, 0x10}},
    {"15.4", Bits(4), "", 1, 0, 15, {0x0F}},
    {"10", Bits(8), "", 2, 5, 2, {0x02}},  // bit elements are not scaled
    {"1F", Bits(8, kHex), "", 1, 0, 31, {0x1F}},
    // Time of day in seconds.
    {"01:02:03", Reg(1), "hh:mm:ss", 1, 0, 3723, {0x0E, 0x8B, 0x00, 0x00}},
    {"1 : 02", Reg(1), "hh:mm:ss", 1, 0, 3720, {0x0E, 0x88, 0x00, 0x00}},
    {"100:00:00", Reg(1), "hh:mm:ss", 1, 0, 360000, {0x7E, 0x40, 0x00, 0x05}},
    {"3600", Reg(1), "hh:mm:ss", 1, 0, 3600, {0x0E, 0x10, 0x00, 0x00}},
    {"00:01:00", Reg(0), "hh:mm:ss", 2, 0, 30, {0x00, 0x1E}},
    // Plain elements take displayed units.
    {"3276.7", Reg(0), "", 0.1, 0, 32767, {0x7F, 0xFF}},
    {"110", Reg(0), "", 2, 100, 5, {0x00, 0x05}},
    {"5", Reg(0), "", 0, 0, 5, {0x00, 0x05}},  // k = 0 reads as 1
    {"5", Reg(0), "", -1, 0, -5, {0xFF, 0xFB}},
    {"25", Reg(2, kSwapped), "", 10, 0, 2.5, {0x40, 0x20, 0x00, 0x00}},
    {"0x10", Reg(0), "", 2, 0, 8, {0x00, 0x08}},
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
    {" \t ", Reg(0), "", 1, 0, "Nothing entered"},
    {"abc", Reg(0), "", 1, 0, "Not a number: abc"},
    {" 12abc ", Reg(0), "", 1, 0, "Not a number: 12abc"},
    {"+-5", Reg(0), "", 1, 0, "Not a number: +-5"},
    {"1.2.3", Reg(2), "", 1, 0, "Not a number: 1.2.3"},
    {"1e", Reg(3), "", 1, 0, "Not a number: 1e"},
    {"1e400", Reg(1), "", 1, 0, "Out of range: -2147483648 to 2147483647"},
    {"1e400x", Reg(3), "", 1, 0, "Not a number: 1e400x"},
    {"01:02:03", Reg(1), "", 1, 0, "Not a number: 01:02:03"},
    {"1:60:00", Reg(1), "hh:mm:ss", 1, 0, "Not a time: 1:60:00"},
    {"1:2:3:4", Reg(1), "hh:mm:ss", 1, 0, "Not a time: 1:2:3:4"},
    {"1:002", Reg(1), "hh:mm:ss", 1, 0, "Not a time: 1:002"},
    {"-1:00", Reg(1), "hh:mm:ss", 1, 0, "Not a time: -1:00"},
    {"h", Reg(0), "", 1, 0, "Not a hex number: h"},
    {"0xG1", Reg(0), "", 1, 0, "Not a hex number: 0xG1"},
    {"1 2345 6789h", Reg(1, kHex), "", 1, 0, "Too many hex digits: at most 8"},
    {"FFFFh", Reg(0), "", 1, 0, "Out of range: -32768 to 32767"},
    {"0b102", Reg(0), "", 1, 0, "Not a binary number: 0b102"},
    {"1 0000 0000 0000 0000", Reg(0, kBinary), "", 1, 0, "Too many bits for 16 bits"},
    {"1 0000 0000", Reg(4, kBinary), "", 1, 0, "Too many bits for 8 bits"},
    {"0b1 0000 0000 0000 0000 0000 0000 0000 0000", Reg(1), "", 1, 0, "Too many bits for 32 bits"},
    {"1 0000 0000", Bits(8), "", 1, 0, "Too many bits for 8 bits"},
    {"2", Bits(1), "", 1, 0, "Out of range: 0 to 1"},
    {"ON", Bits(4), "", 1, 0, "Not a number: ON"},
    {"256", Bits(8), "", 1, 0, "Out of range: 0 to 255"},
    {"-1", Bits(8), "", 1, 0, "Out of range: 0 to 255"},
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
      {"1.798 E+308", kMax},        {"-1e400", -kMax},     {"0.000001e315", kMax},
      {"123456e99999999999", kMax}, {"1e-400", 0.0},       {"-2.4E-324", -0.0},
      {"1000e-327", 0.0},           {"0.00000e-330", 0.0}, {"4.941 E-324", 0x1p-1074},
      {"1.797 E+308", 1.797E+308},
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
    {4, 0, "-128", "127", "-129", "128", "Out of range: -128 to 127"},
    {4, kHex, "-80h", "FF", "-81h", "100", "Out of range: -128 to 255"},
    {5, kUnsigned | kSwapped, "0", "255", "-1", "256", "Out of range: 0 to 255"},
    {5, kBinary, "-128", "127", "-129", "128", "Out of range: -128 to 127"},
    {0, kUnsigned, "0", "65535", "-1", "65536", "Out of range: 0 to 65535"},
    {0, 0, "-32768.49", "32767.49", "-32768.5", "32767.5", "Out of range: -32768 to 32767"},
    {0, kHex, "-8000", "FFFFh", "-8001h", "0x10000", "Out of range: -32768 to 65535"},
    {1, kUnsigned, "0", "4294967295", "-1", "4294967296", "Out of range: 0 to 4294967295"},
    {1, 0, "-2147483648", "2147483647", "-2147483649", "2147483648", "Out of range: -2147483648 to 2147483647"},
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
