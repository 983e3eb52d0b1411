#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>

#include "ConvertTestSupport.h"
#include "convert/RegisterDecode.h"

namespace quorvel::test {
namespace {

struct EncodeCase {
  double value;
  std::uint32_t code;
  Wire wire;
};

// Wire bytes worked out by hand (two's complement, IEEE layouts from python's struct).
const EncodeCase kCases[] = {
    // Integer: rounding half away from zero, low 16 bits kept.
    {-2, Reg(0), {0xFF, 0xFE}},
    {65534, Reg(0, kUnsigned), {0xFF, 0xFE}},
    {1, Reg(0, kSwapped), {0x00, 0x01}},
    {2.5, Reg(0), {0x00, 0x03}},
    {-2.5, Reg(0), {0xFF, 0xFD}},
    {-0.5, Reg(0), {0xFF, 0xFF}},
    {0.49, Reg(0), {0x00, 0x00}},
    {70000, Reg(0), {0x11, 0x70}},
    {-32768, Reg(0), {0x80, 0x00}},
    // Long: first register least significant unless swapped.
    {131073, Reg(1), {0x00, 0x01, 0x00, 0x02}},
    {65538, Reg(1, kSwapped), {0x00, 0x01, 0x00, 0x02}},
    {-2, Reg(1), {0xFF, 0xFE, 0xFF, 0xFF}},
    {-2, Reg(1, kSwapped), {0xFF, 0xFF, 0xFF, 0xFE}},
    {123456789, Reg(1, kHex), {0xCD, 0x15, 0x07, 0x5B}},
    {-123456789, Reg(1, kSwapped), {0xF8, 0xA4, 0x32, 0xEB}},
    {4294967295, Reg(1, kUnsigned), {0xFF, 0xFF, 0xFF, 0xFF}},
    {4294967296 + 5, Reg(1), {0x00, 0x05, 0x00, 0x00}},
    // Float: nearest single, overflow to infinity.
    {1.0, Reg(2), {0x00, 0x00, 0x3F, 0x80}},
    {1.0, Reg(2, kSwapped), {0x3F, 0x80, 0x00, 0x00}},
    {-2.5, Reg(2, kUnsigned), {0x00, 0x00, 0xC0, 0x20}},
    {0.1, Reg(2, kSwapped), {0x3D, 0xCC, 0xCC, 0xCD}},
    {1 + 0x1p-24 + 0x1p-50, Reg(2, kSwapped), {0x3F, 0x80, 0x00, 0x01}},
    {1 + 0x1p-24, Reg(2, kSwapped), {0x3F, 0x80, 0x00, 0x00}},  // tie to even
    {1e39, Reg(2, kSwapped), {0x7F, 0x80, 0x00, 0x00}},
    {-1e39, Reg(2), {0x00, 0x00, 0xFF, 0x80}},
    {0x1.fffffefffffffp127, Reg(2, kSwapped), {0x7F, 0x7F, 0xFF, 0xFF}},
    {0x1.ffffffp127, Reg(2, kSwapped), {0x7F, 0x80, 0x00, 0x00}},
    // Double: words least significant first unless swapped.
    {1.0, Reg(3), {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x3F, 0xF0}},
    {1.0, Reg(3, kSwapped), {0x3F, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
    {0x1.3456789abcdefp-1005, Reg(3), {0xCD, 0xEF, 0x89, 0xAB, 0x45, 0x67, 0x01, 0x23}},
    {0x1.3456789abcdefp-1005, Reg(3, kSwapped), {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}},
    {-1.5, Reg(3, kHex), {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xBF, 0xF8}},
    // Byte hi fills the high byte, Byte low the low byte.
    {200, Reg(4), {0xC8, 0x00}},
    {-1, Reg(4, kSwapped), {0xFF, 0x00}},
    {-128, Reg(5), {0x00, 0x80}},
    {127.4, Reg(5, kBinary), {0x00, 0x7F}},
    // Types without a decoding take one register of 0.
    {1234, Reg(6), {0x00, 0x00}},
    {-1, Reg(15, kSwapped), {0x00, 0x00}},
    // Bit elements: packed least significant first, bits beyond the width clear.
    {1, Bits(1), {0x01}},
    {3, Bits(1), {0x01}},
    {13, Bits(3), {0x05}},
    {0xA5, Bits(8), {0xA5}},
    {0x1A5, Bits(9), {0xA5, 0x01}},
    {0xABC, Bits(12), {0xBC, 0x0A}},
    {0xBEEF, Bits(16), {0xEF, 0xBE}},
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

bool IsFloatNaN(const Wire& w, bool swapped) {
  const std::uint32_t hi = swapped ? (w[0] << 8 | w[1]) : (w[2] << 8 | w[3]);
  const std::uint32_t lo = swapped ? (w[2] << 8 | w[3]) : (w[0] << 8 | w[1]);
  return std::isnan(std::bit_cast<float>(hi << 16 | lo));
}

// Encoding what decoding read gives back the very bytes, for every type and flag.
TEST(EncodeValue, InvertsDecodingOfRandomRegisters) {
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<int> byte(0, 255);
  const std::uint32_t flagSets[] = {0, kUnsigned, kHex, kBinary, kUnsigned | kHex | kBinary};
  for (int type = 0; type <= 5; ++type) {
    for (std::uint32_t flags : flagSets) {
      for (std::uint32_t swap : {0u, kSwapped}) {
        const std::uint32_t code = Reg(type, flags | swap);
        const int size = AddressCode(code).byteCount();
        for (int round = 0; round < 2000; ++round) {
          Wire wire(static_cast<std::size_t>(size));
          for (auto& b : wire) b = static_cast<std::uint8_t>(byte(rng));
          if (round == 0) std::fill(wire.begin(), wire.end(), 0xFF);
          // Byte elements own one byte of their register; the other encodes as 0.
          if (type == 4) wire[1] = 0;
          if (type == 5) wire[0] = 0;
          // A signalling float NaN comes back quietened through double.
          if (type == 2 && IsFloatNaN(wire, swap != 0)) continue;
          Wire scratch = wire;
          const double v = DecodeRegisters(scratch, code);
          ASSERT_EQ(Bytes(EncodeValue(v, code)), wire) << "type " << type << " code 0x" << std::hex << code;
        }
      }
    }
  }
}

}  // namespace
}  // namespace quorvel::test
