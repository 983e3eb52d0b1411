#include <gtest/gtest.h>

#include <cmath>

#include "ConvertTestSupport.h"
#include "convert/RegisterDecode.h"

namespace quorvel::test {
namespace {

// Wire bytes as they follow the response header, worked out by hand from the
// register contents (float and double bit patterns from their IEEE 754 layout).
TEST(DecodeRegisters, ByTypeSignAndWordOrder) {
  const struct {
    const char* what;
    const char* wire;
    std::uint32_t code;
    double expected;
  } cases[] = {
      {"integer signed", "FF FE", Reg(0), -2},
      {"integer unsigned", "FF FE", Reg(0, kUnsigned), 65534},
      {"integer at the sign's edge", "80 00", Reg(0), -32768},
      {"integer top positive", "7F FF", Reg(0), 32767},
      {"long at the sign's edge", "00 00 80 00", Reg(1), -2147483648.0},
      {"byte hi signed", "80 01", Reg(4), -128},
      {"byte low signed", "01 80", Reg(5), -128},
      {"long", "00 01 00 02", Reg(1), 131073},
      {"long swapped", "00 01 00 02", Reg(1, kSwapped), 65538},
      {"long unsigned", "FF FF FF FF", Reg(1, kUnsigned), 4294967295.0},
      {"float swapped", "3F 80 00 00", Reg(2, kSwapped), 1.0},
      {"float pi", "0F DB 40 49", Reg(2), 3.1415927410125732},
      {"float ignores unsigned", "00 00 BF 80", Reg(2, kUnsigned), -1.0},
      {"double swapped", "3F F0 00 00 00 00 00 00", Reg(3, kSwapped), 1.0},
      {"double pi", "2D 18 54 44 21 FB 40 09", Reg(3), 3.141592653589793},
      {"double ignores hex", "00 00 00 00 00 00 C0 00", Reg(3, kHex), -2.0},
      {"type without decoding", "12 34", Reg(6), 0},
      {"bit element", "FF FF", Bits(1), 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Wire wire = Hex(c.wire);
    EXPECT_EQ(DecodeRegisters(wire, c.code), c.expected);
  }
  Wire nan = Hex("00 00 00 00 00 00 7F F8");
  EXPECT_TRUE(std::isnan(DecodeRegisters(nan, Reg(3))));
}

TEST(DecodeRegisters, ReversesTheCallersBytesInPlace) {
  Wire wire = Hex("FF FE 12 34");
  EXPECT_EQ(DecodeRegisters(wire, Reg(0)), -2);
  // Only the element's own bytes are touched, so a second decode reads them reversed.
  EXPECT_EQ(wire, Hex("FE FF 12 34"));
  EXPECT_EQ(DecodeRegisters(wire, Reg(0)), -257);
  Wire four = Hex("00 01 00 02");
  DecodeRegisters(four, Reg(1));
  EXPECT_EQ(four, Hex("02 00 01 00"));
}

TEST(DecodeRegisters, ShortBufferDecodesAsZeroAndStaysUntouched) {
  for (int type = 0; type <= 4; ++type) {
    SCOPED_TRACE(type);
    Wire wire = Hex("3F F0 12 34 56 78 9A");
    wire.resize(static_cast<std::size_t>(AddressCode(Reg(type)).byteCount()) - 1);
    const Wire copy = wire;
    EXPECT_EQ(DecodeRegisters(wire, Reg(type)), 0);
    EXPECT_EQ(wire, copy);
  }
}

TEST(DecodeBits, LeastSignificantBitFirst) {
  const struct {
    const char* what;
    const char* packed;
    int first, count;
    double expected;
  } cases[] = {{"three bits", "05", 0, 3, 5},
               {"across a byte", "80 01", 7, 2, 3},
               {"sixteen bits", "34 12", 0, 16, 0x1234},
               {"past the data reads 0", "FF", 6, 4, 3},
               {"before the data reads 0", "01", -1, 2, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(DecodeBits(Hex(c.packed), c.first, c.count), c.expected);
  }
}

}  // namespace
}  // namespace quorvel::test
