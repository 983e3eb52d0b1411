#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "convert/AddressCode.h"
#include "convert/RegisterDecode.h"

namespace quorvel {
namespace {

using A = AddressCode;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t Type(int t) { return static_cast<std::uint32_t>(t) << A::kTypeShift; }

Bytes FromHex(const std::string& hex) {
  Bytes bytes;
  std::string digits;
  for (char c : hex) {
    if (c != ' ') digits += c;
  }
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// Wire bytes as they follow the response header, worked out by hand from the
// register contents (float and double bit patterns from their IEEE 754 layout).
TEST(DecodeRegisters, ByTypeSignAndWordOrder) {
  const struct {
    const char* what;
    const char* wire;
    std::uint32_t code;
    double expected;
  } cases[] = {
      {"integer signed", "FF FE", Type(0), -2},
      {"integer unsigned", "FF FE", Type(0) | A::kUnsigned, 65534},
      {"integer hex", "FF FE", Type(0) | A::kHex, 65534},
      {"integer high byte first", "12 34", Type(0), 0x1234},
      {"integer smallest", "80 00", Type(0), -32768},
      {"swap leaves one register alone", "FF FE", Type(0) | A::kSwapped, -2},
      {"byte hi signed", "80 01", Type(4), -128},
      {"byte hi unsigned", "80 01", Type(4) | A::kUnsigned, 128},
      {"byte low", "80 01", Type(5), 1},
      {"byte low signed", "01 80", Type(5), -128},
      {"byte low hex", "01 80", Type(5) | A::kHex, 128},
      {"long", "00 01 00 02", Type(1), 131073},
      {"long swapped", "00 01 00 02", Type(1) | A::kSwapped, 65538},
      {"long minus one", "FF FF FF FF", Type(1), -1},
      {"long unsigned", "FF FF FF FF", Type(1) | A::kUnsigned, 4294967295.0},
      {"long smallest", "00 00 80 00", Type(1), -2147483648.0},
      {"long largest", "FF FF 7F FF", Type(1), 2147483647},
      {"long hex", "00 00 80 00", Type(1) | A::kHex, 2147483648.0},
      {"float", "00 00 3F 80", Type(2), 1.0},
      {"float swapped", "3F 80 00 00", Type(2) | A::kSwapped, 1.0},
      {"float pi", "0F DB 40 49", Type(2), 3.1415927410125732},
      {"float pi swapped", "40 49 0F DB", Type(2) | A::kSwapped, 3.1415927410125732},
      {"float ignores unsigned", "00 00 BF 80", Type(2) | A::kUnsigned, -1.0},
      {"double", "00 00 00 00 00 00 3F F0", Type(3), 1.0},
      {"double swapped", "3F F0 00 00 00 00 00 00", Type(3) | A::kSwapped, 1.0},
      {"double pi", "2D 18 54 44 21 FB 40 09", Type(3), 3.141592653589793},
      {"double pi swapped", "40 09 21 FB 54 44 2D 18", Type(3) | A::kSwapped, 3.141592653589793},
      {"double ignores hex", "00 00 00 00 00 00 C0 00", Type(3) | A::kHex, -2.0},
      {"type without decoding", "12 34", Type(6), 0},
      {"bit element", "FF FF", A::kBitElement, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes wire = FromHex(c.wire);
    EXPECT_EQ(DecodeRegisters(wire, c.code), c.expected);
  }
}

TEST(DecodeRegisters, NonFiniteFloatsComeThrough) {
  Bytes inf = FromHex("00 00 7F 80");
  EXPECT_EQ(DecodeRegisters(inf, Type(2)), INFINITY);
  Bytes nan = FromHex("00 00 00 00 00 00 7F F8");
  EXPECT_TRUE(std::isnan(DecodeRegisters(nan, Type(3))));
}

TEST(DecodeRegisters, ReversesTheCallersBytesInPlace) {
  Bytes wire = FromHex("FF FE 12 34");
  EXPECT_EQ(DecodeRegisters(wire, Type(0)), -2);
  // Only the element's own bytes are touched.
  EXPECT_EQ(wire, FromHex("FE FF 12 34"));
  // So a second decode of the same buffer reads the reversed bytes.
  EXPECT_EQ(DecodeRegisters(wire, Type(0)), -257);

  Bytes four = FromHex("00 01 00 02");
  DecodeRegisters(four, Type(1));
  EXPECT_EQ(four, FromHex("02 00 01 00"));
}

TEST(DecodeRegisters, ShortBufferDecodesAsZeroAndStaysUntouched) {
  for (std::uint32_t code : {Type(0), Type(1), Type(2), Type(3), Type(4)}) {
    SCOPED_TRACE(code);
    Bytes wire = FromHex("3F F0 12 34 56 78 9A");
    wire.resize(static_cast<std::size_t>(A(code).byteCount()) - 1);
    const Bytes copy = wire;
    EXPECT_EQ(DecodeRegisters(wire, code), 0);
    EXPECT_EQ(wire, copy);
  }
}

TEST(DecodeBits, LeastSignificantBitFirst) {
  const struct {
    const char* what;
    const char* packed;
    int first;
    int count;
    double expected;
  } cases[] = {
      {"three bits", "05", 0, 3, 5},
      {"offset", "05", 1, 2, 2},
      {"one coil on", "01", 0, 1, 1},
      {"one coil off", "FE", 0, 1, 0},
      {"across a byte", "80 01", 7, 2, 3},
      {"sixteen bits", "34 12", 0, 16, 0x1234},
      {"past the data reads 0", "FF", 6, 4, 3},
      {"none", "FF", 0, 0, 0},
      {"before the data reads 0", "01", -1, 2, 2},
      {"far past", "FF", 1000, 4, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Bytes packed = FromHex(c.packed);
    EXPECT_EQ(DecodeBits(packed, c.first, c.count), c.expected);
  }
}

}  // namespace
}  // namespace quorvel
