#include "modbus/FrameCodec.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "ModbusTestSupport.h"

namespace quorvel::MODBUS {
namespace {

using test::Bytes;
using test::Hex;

// Frames whose CRC and LRC were worked out by hand from the serial line's
// published examples, not by this code.
const struct Golden {
  const char* message;
  const char* crc;
  const char* ascii;
} kGolden[] = {
    {"01 03 00 00 00 0A", "C5 CD", ":01030000000AF2"},
    {"11 03 00 6B 00 03", "76 87", ":1103006B00037E"},
    {"01 06 00 01 00 03", "98 0B", ":010600010003F5"},
    {"01 83 02", "C0 F1", ":0183027A"},
    {"01 10 00 01 00 02 04 00 0A 01 02", "92 30", ":01100001000204000A0102DB"},
    {"F7 16 00 04 00 F2 00 25", "E8 80", ":F716000400F20025D8"},
};

std::string Text(const std::uint8_t* p, std::size_t n) { return std::string(p, p + n); }

TEST(FrameCodec, RtuSealAndCheckGoldenFrames) {
  for (const Golden& g : kGolden) {
    SCOPED_TRACE(g.message);
    const Bytes message = Hex(g.message);
    const Bytes crc = Hex(g.crc);
    std::array<std::uint8_t, 299> buf{};
    std::copy(message.begin(), message.end(), buf.begin());
    const auto n = static_cast<std::int32_t>(message.size());

    EXPECT_FALSE(AddCRC(buf, n)) << "zeros where the CRC goes are no CRC";
    EXPECT_EQ(buf[n], crc[0]);
    EXPECT_EQ(buf[n + 1], crc[1]);
    EXPECT_TRUE(CheckCRC(buf, n));
    EXPECT_TRUE(AddCRC(buf, n)) << "a receiver checks with AddCRC";
    EXPECT_EQ(buf[n], crc[0]);

    // Any single flipped bit anywhere in the frame is caught, and checking leaves the buffer alone.
    for (std::int32_t i = 0; i < n + 2; ++i) {
      buf[i] ^= 0x10;
      const auto before = buf;
      EXPECT_FALSE(CheckCRC(buf, n)) << "bit flip at " << i;
      EXPECT_EQ(buf, before);
      buf[i] ^= 0x10;
    }
  }
  std::array<std::uint8_t, 4> empty{};
  AddCRC(empty, 0);
  EXPECT_EQ(empty, (std::array<std::uint8_t, 4>{0xFF, 0xFF, 0, 0})) << "the CRC of nothing is all ones";
}

TEST(FrameCodec, ToAsciiGoldenFramesAndBack) {
  for (const Golden& g : kGolden) {
    SCOPED_TRACE(g.message);
    const Bytes message = Hex(g.message);
    std::array<std::uint8_t, 599> buf{};
    std::copy(message.begin(), message.end(), buf.begin());
    const auto n = static_cast<std::int32_t>(message.size());
    ASSERT_TRUE(ToASCII(buf, n));
    EXPECT_EQ(Text(buf.data(), 2 * n + 5), std::string(g.ascii) + "\r\n");
    // Received as sent: the message comes back, LRC last.
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
      {"missing colon", "1103006B00037E\r\n", false, nullptr},
      {"LF before CR", ":1103006B00037E\n\r", false, nullptr},
      {"no line end", ":1103006B00037E", false, nullptr},
      {"wrong LRC", ":1103006B00037F\r\n", false, "11 03 00 6B 00 03 7F"},
      // A lone digit before CR LF is dropped by the halving.
      {"odd digit", ":1103006B00037E5\r\n", true, "11 03 00 6B 00 03 7E"},
      // Non-hex characters count as 0 and surface as an LRC error.
      {"non-hex", ":1G03006B00037E\r\n", false, "10 03 00 6B 00 03 7E"},
      {"too short", ":\r\n", false, nullptr},
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
  EXPECT_EQ(HexToByte('F', 'c'), 0xFC);
  EXPECT_EQ(HexToByte('g', '1'), 0x01);
  EXPECT_EQ(HexToByte(':', 'Z'), 0x00);
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
