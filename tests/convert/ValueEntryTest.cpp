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
    // A comma that cannot group thousands is the decimal point; "1,234" is
    // the decimal point too unless the picture groups digits with ','.
    {"0,5", Reg(3, kSwapped), "", 1, 0, 0.5, {0x3F, 0xE0, 0, 0, 0, 0, 0, 0}},
    {"12,5", Reg(0), "", 1, 0, 13, {0x00, 0x0D}},
    {"-1,25 E+01", Reg(0), "0.00 E+00", 1, 0, -13, {0xFF, 0xF3}},
    {",5", Reg(0), "", 0.1, 0, 5, {0x00, 0x05}},
    {"1,234", Reg(0), "", 0.001, 0, 1234, {0x04, 0xD2}},
    {"1,234", Reg(0), "#,##0", 1, 0, 1234, {0x04, 0xD2}},
    {"1,234.5", Reg(1), "", 1, 0, 1235, {0x04, 0xD3, 0x00, 0x00}},
    {"1,234", Reg(0), "Standard", 1, 0, 1234, {0x04, 0xD2}},
    // What a label shows types back: the picture's own text comes off, and
    // its percent and thousands scaling is undone.
    {"12.5 kg", Reg(0), "0.0 \"kg\"", 0.1, 0, 125, {0x00, 0x7D}},
    {"12.5", Reg(0), "0.0 \"kg\"", 0.1, 0, 125, {0x00, 0x7D}},
    {"21.5 \xC2\xB0\x43", Reg(0), "0.0 \\\xC2\xB0\x43", 0.1, 0, 215, {0x00, 0xD7}},
    {"50 %", Reg(0), "0 %", 0.01, 0, 50, {0x00, 0x32}},
    {"12.50%", Reg(0), "Percent", 0.001, 0, 125, {0x00, 0x7D}},
    {"1235", Reg(1), "0,", 1, 0, 1235000, {0xD8, 0x38, 0x00, 0x12}},
    {"h 12", Reg(0), "\"h\" 0", 1, 0, 12, {0x00, 0x0C}},  // a literal 'h' is no hex suffix
    {"- 2", Reg(0), "# ##0", 1, 0, -2, {0xFF, 0xFE}},
    {"(2.5)", Reg(0), "0.0;(0.0)", 0.1, 0, -25, {0xFF, 0xE7}},
    {"-2.5", Reg(0), "0.0;(0.0)", 0.1, 0, -25, {0xFF, 0xE7}},
    {"zero", Reg(0), "0;-0;\"zero\"", 1, 0, 0, {0x00, 0x00}},
    {"1.235 E+03", Reg(0), "0.000 E+00", 1, 0, 1235, {0x04, 0xD3}},
    {"8 191 ms", Reg(0), "# ##0 \"ms\"", 1, 0, 8191, {0x1F, 0xFF}},
    {"-2.5e-1", Reg(3, kSwapped), "", 1, 0, -0.25, {0xBF, 0xD0, 0, 0, 0, 0, 0, 0}},
    {"2.5", Reg(0), "", 1, 0, 3, {0x00, 0x03}},
    {"2.4", Reg(0), "", 1, 0, 2, {0x00, 0x02}},
    {"-2.6", Reg(0), "", 1, 0, -3, {0xFF, 0xFD}},
    {"-2.5", Reg(0), "", 1, 0, -3, {0xFF, 0xFD}},
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
    // Commas that are neither one decimal point nor thousands groups.
    {"1,23.4", Reg(3), "", 1, 0, "Not a number: 1,23.4 (a comma is the decimal point or groups three digits)"},
    {"1,2,3", Reg(3), "", 1, 0, "Not a number: 1,2,3 (a comma is the decimal point or groups three digits)"},
    {"1,234,5", Reg(3), "#,##0", 1, 0, "Not a number: 1,234,5 (a comma is the decimal point or groups three digits)"},
    {"1e3,5", Reg(3), "", 1, 0, "Not a number: 1e3,5 (a comma is the decimal point or groups three digits)"},
    // A unit typed differently.
    {"12.5 g", Reg(0), "0.0 \"kg\"", 1, 0, "Not a number: 12.5 g (the element shows \"kg\")"},
    // Beyond what the type holds: refused, not cut down to the nearest.
    {"1E+309", Reg(3), "", 1, 0, "Out of range: -1.797693135E+308 to 1.797693135E+308"},
    {"-1.798 E+308", Reg(3), "0.000 E+00", 1, 0, "Out of range: -1.797693135E+308 to 1.797693135E+308"},
    {"1e308", Reg(3), "", 0.1, 0, "Out of range: -1.797693135E+307 to 1.797693135E+307"},
    {"1e-400", Reg(3), "", 1, 0, "Out of range: too close to 0 to be held"},
    {"-2.4E-324", Reg(3), "", 1, 0, "Out of range: too close to 0 to be held"},
    {"1e-50", Reg(2), "", 1, 0, "Out of range: too close to 0 to be held"},
    {"1e-400", Reg(0), "", 1, 0, "Out of range: too close to 0 to be held"},
    // A register type without a decoding takes nothing rather than writing 0.
    {"0", Reg(6), "", 1, 0, "Not writable: the element's register type 6 is unknown"},
    {"12", Reg(15), "", 1, 0, "Not writable: the element's register type 15 is unknown"},
    // Hex elements name the range in hex; both flags hold no negative numbers.
    {"-1", Reg(4, kUnsigned | kHex), "", 1, 0, "Out of range: 0h to FFh"},
    {"-1", Reg(1, kUnsigned | kHex), "", 1, 0, "Out of range: 0h to FFFFFFFFh"},
    {"10h", Bits(4, kHex), "", 1, 0, "Out of range: 0h to Fh"},
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
  EXPECT_TRUE(ParseEntry("-inf", Reg(3)).ok);
  EXPECT_EQ(ParseEntry("4.941 E-324", Reg(3)).value, 0x1p-1074);  // the least double is held
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
    {4, kHex, "-80h", "FF", "-81h", "100", "Out of range: -80h to FFh"},
    {0, 0, "-32768.49", "32767.49", "-32768.5", "32767.5", "Out of range: -32768 to 32767"},
    {0, kHex, "-8000", "FFFFh", "-8001h", "0x10000", "Out of range: -8000h to FFFFh"},
    {0, kHex | kUnsigned, "0", "FFFFh", "-1", "0x10000", "Out of range: 0h to FFFFh"},
    {1, kHex, "-80000000h", "FFFFFFFF", "-2147483648.5", "4294967295.5", "Out of range: -80000000h to FFFFFFFFh"},
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

// Double and the types beyond take anything (ParseEntry refuses the latter).
TEST(InEntryRange, SomeElementsTakeAnyNumber) {
  for (std::uint32_t code : {Reg(3), Reg(3, kUnsigned), Reg(6), Reg(15)}) {
    for (double v : {-1e300, 1e300, -HUGE_VAL, std::nan("")}) EXPECT_TRUE(InEntryRange(v, code)) << std::hex << code;
  }
  EXPECT_FALSE(InEntryRange(std::nextafter(3.402823E+38, INFINITY), Reg(2, kHex)));
  EXPECT_FALSE(InEntryRange(NAN, Reg(5, kHex)));
  EXPECT_FALSE(InEntryRange(70000, Reg(0, kUnsigned | kHex)));
}

}  // namespace
}  // namespace quorvel::test
