#include <gtest/gtest.h>

#include <cmath>

#include "ConvertTestSupport.h"

namespace quorvel::test {
namespace {

struct EncodeCase {
  double value;
  std::uint32_t code;
  Wire wire;
};

// Wire bytes worked out by hand (two's complement, IEEE layouts from python's struct).
const EncodeCase kCases[] = {
    // Integer: rounding to nearest, halves away from zero, low 16 bits kept.
    {-2, Reg(0), {0xFF, 0xFE}},
    {2.4, Reg(0), {0x00, 0x02}},
    {2.5, Reg(0), {0x00, 0x03}},
    {2.6, Reg(0), {0x00, 0x03}},
    {-2.5, Reg(0), {0xFF, 0xFD}},
    {-2.6, Reg(0), {0xFF, 0xFD}},
    {70000, Reg(0), {0x11, 0x70}},
    // Long: first register least significant unless swapped.
    {131073, Reg(1), {0x00, 0x01, 0x00, 0x02}},
    {-2, Reg(1, kSwapped), {0xFF, 0xFF, 0xFF, 0xFE}},
    {4294967296 + 5, Reg(1), {0x00, 0x05, 0x00, 0x00}},
    // Float: nearest single, overflow to infinity.
    {1.0, Reg(2), {0x00, 0x00, 0x3F, 0x80}},
    {0.1, Reg(2, kSwapped), {0x3D, 0xCC, 0xCC, 0xCD}},
    {1 + 0x1p-24 + 0x1p-50, Reg(2, kSwapped), {0x3F, 0x80, 0x00, 0x01}},
    {1 + 0x1p-24, Reg(2, kSwapped), {0x3F, 0x80, 0x00, 0x00}},  // tie to even
    {1e39, Reg(2, kSwapped), {0x7F, 0x80, 0x00, 0x00}},
    {0x1.fffffefffffffp127, Reg(2, kSwapped), {0x7F, 0x7F, 0xFF, 0xFF}},
    // Double: words least significant first unless swapped.
    {0x1.3456789abcdefp-1005, Reg(3), {0xCD, 0xEF, 0x89, 0xAB, 0x45, 0x67, 0x01, 0x23}},
    {0x1.3456789abcdefp-1005, Reg(3, kSwapped), {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}},
    // Byte hi fills the high byte, Byte low the low byte.
    {200, Reg(4), {0xC8, 0x00}},
    {-128, Reg(5), {0x00, 0x80}},
    // Types without a decoding take one register of 0.
    {1234, Reg(6), {0x00, 0x00}},
    // Bit elements: packed least significant first, bits beyond the width clear.
    {3, Bits(1), {0x01}},
    {0x1A5, Bits(9), {0xA5, 0x01}},
    {-1, Bits(10), {0xFF, 0x03}},
};

TEST(EncodeValue, GoldenWireBytes) {
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::Message() << "value " << c.value << " code 0x" << std::hex << c.code);
    EXPECT_EQ(Bytes(EncodeValue(c.value, c.code)), c.wire);
  }
}

TEST(EncodeValue, NonFiniteIntegersGiveZeroBits) {
  for (double v : {NAN, INFINITY, -INFINITY}) {
    EXPECT_EQ(Bytes(EncodeValue(v, Reg(0))), (Wire{0, 0}));
    EXPECT_EQ(Bytes(EncodeValue(v, Reg(1))), (Wire{0, 0, 0, 0}));
    EXPECT_EQ(Bytes(EncodeValue(v, Bits(4))), (Wire{0}));
  }
  // Huge values keep their (zero) low bits rather than overflowing a conversion.
  EXPECT_EQ(Bytes(EncodeValue(1e300, Reg(1))), (Wire{0, 0, 0, 0}));
}

}  // namespace
}  // namespace quorvel::test
