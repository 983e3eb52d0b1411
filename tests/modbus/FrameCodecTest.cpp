#include "modbus/FrameCodec.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "ModbusTestSupport.h"

namespace quorvel::MODBUS {
namespace {

using test::Bytes;
using test::Hex;

std::string Text(const std::uint8_t* p, std::size_t n) { return std::string(p, p + n); }

// CRC and LRC worked out by hand from the serial line's published examples.
TEST(FrameCodec, GoldenFramesInBothEncodings) {
  const struct {
    const char* message;
    const char* crc;
    const char* ascii;
  } kGolden[] = {
      {"01 03 00 00 00 0A", "C5 CD", ":01030000000AF2"},
      {"11 03 00 6B 00 03", "76 87", ":1103006B00037E"},
      {"01 83 02", "C0 F1", ":0183027A"},
      {"F7 16 00 04 00 F2 00 25", "E8 80", ":F716000400F20025D8"},
  };
  for (const auto& g : kGolden) {
    SCOPED_TRACE(g.message);
    const Bytes message = Hex(g.message);
    const Bytes crc = Hex(g.crc);
    const auto n = static_cast<std::int32_t>(message.size());
    std::array<std::uint8_t, 599> buf{};
    std::copy(message.begin(), message.end(), buf.begin());
    EXPECT_FALSE(AddCRC(buf, n)) << "zeros where the CRC goes are no CRC";
    EXPECT_EQ(buf[n], crc[0]);
    EXPECT_EQ(buf[n + 1], crc[1]);
    EXPECT_TRUE(CheckCRC(buf, n));
    EXPECT_TRUE(AddCRC(buf, n)) << "a receiver checks with AddCRC";
    EXPECT_EQ(buf[n], crc[0]);
    // Any single flipped bit anywhere in the frame is caught.
    for (std::int32_t i = 0; i < n + 2; ++i) {
      buf[i] ^= 0x10;
      EXPECT_FALSE(CheckCRC(buf, n)) << "bit flip at " << i;
      buf[i] ^= 0x10;
    }
    ASSERT_TRUE(ToASCII(buf, n));
    EXPECT_EQ(Text(buf.data(), 2 * n + 5), std::string(g.ascii) + "\r\n");
    ASSERT_TRUE(FromASCII(buf, 2 * n + 5));
    EXPECT_EQ(Bytes(buf.begin(), buf.begin() + n), message);
  }
  // 01 FF sums to 256: the sender writes LRC 00, the receiver expects 256.
  std::array<std::uint8_t, 599> buf{0x01, 0xFF};
  ASSERT_TRUE(ToASCII(buf, 2));
  EXPECT_EQ(Text(buf.data(), 7), ":01FF00");
  EXPECT_FALSE(FromASCII(buf, 9));
  EXPECT_EQ(Text(buf.data(), 2), "\x01\xFF") << "decoded before the LRC is judged";
}

TEST(FrameCodec, FromAsciiJudgesAndDecodes) {
  const struct {
    const char* name;
    std::string frame;
    bool passes;
    const char* decoded;  // bytes at the front afterwards; nullptr: buffer untouched
  } cases[] = {
      {"lowercase", ":1103006b00037e\r\n", true, "11 03 00 6B 00 03 7E"},
      {"no line end", ":1103006B00037E", false, nullptr},
      {"wrong LRC", ":1103006B00037F\r\n", false, "11 03 00 6B 00 03 7F"},
      // A lone digit before CR LF is dropped by the halving.
      {"odd digit", ":1103006B00037E5\r\n", true, "11 03 00 6B 00 03 7E"},
      // Non-hex characters count as 0 and surface as an LRC error.
      {"non-hex", ":1G03006B00037E\r\n", false, "10 03 00 6B 00 03 7E"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::array<std::uint8_t, 599> buf{};
    std::copy(c.frame.begin(), c.frame.end(), buf.begin());
    const auto before = buf;
    EXPECT_EQ(FromASCII(buf, static_cast<std::int32_t>(c.frame.size())), c.passes);
    if (c.decoded == nullptr) {
      EXPECT_EQ(buf, before);
    } else {
      const Bytes expected = Hex(c.decoded);
      EXPECT_EQ(Bytes(buf.begin(), buf.begin() + expected.size()), expected);
    }
  }
}

TEST(FrameCodec, CountsBeyondTheBufferAreRefused) {
  std::array<std::uint8_t, 8> buf{1, 2, 3, 4, 5, 6, 7, 8};
  const auto before = buf;
  EXPECT_FALSE(AddCRC(buf, 7));
  EXPECT_FALSE(AddCRC(buf, -1));
  EXPECT_FALSE(CheckCRC(buf, 7));
  EXPECT_FALSE(ToASCII(buf, 2));
  EXPECT_FALSE(FromASCII(buf, 9));
  EXPECT_EQ(buf, before);
  EXPECT_TRUE(ToASCII(buf, 1)) << "2n + 5 = 7 characters fit";
}

}  // namespace
}  // namespace quorvel::MODBUS
