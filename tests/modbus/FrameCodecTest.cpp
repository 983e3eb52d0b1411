#include "modbus/FrameCodec.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace quorvel::MODBUS {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes FromHex(const std::string& hex) {
  Bytes bytes;
  std::string digits;
  for (char c : hex)
    if (c != ' ') digits += c;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) bytes.push_back(std::stoi(digits.substr(i, 2), nullptr, 16));
  return bytes;
}

// Frames whose CRC and LRC were worked out by hand from the serial line's
// published examples, not by this code.
struct Golden {
  const char* message;
  const char* crc;
  const char* ascii;
};

const Golden kGolden[] = {
    {"01 03 00 00 00 0A", "C5 CD", ":0103000000 0AF2"},
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
    const Bytes message = FromHex(g.message);
    const Bytes crc = FromHex(g.crc);
    std::array<std::uint8_t, 299> buf{};
    std::copy(message.begin(), message.end(), buf.begin());
    const auto n = static_cast<std::int32_t>(message.size());

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
  }
}

TEST(FrameCodec, AddCrcOverwritesAWrongCrcAndCheckLeavesBufferAlone) {
  std::array<std::uint8_t, 299> buf{0x01, 0x03, 0x00, 0x00, 0x00, 0x0A, 0xC5, 0xCE};
  const std::array<std::uint8_t, 299> before = buf;
  EXPECT_FALSE(CheckCRC(buf, 6));
  EXPECT_EQ(buf, before);
  EXPECT_FALSE(AddCRC(buf, 6));
  EXPECT_EQ(buf[7], 0xCD);
}

TEST(FrameCodec, CrcOfNothingIsAllOnes) {
  std::array<std::uint8_t, 4> buf{};
  AddCRC(buf, 0);
  EXPECT_EQ(buf[0], 0xFF);
  EXPECT_EQ(buf[1], 0xFF);
}

TEST(FrameCodec, ToAsciiGoldenFrames) {
  for (const Golden& g : kGolden) {
    SCOPED_TRACE(g.message);
    const Bytes message = FromHex(g.message);
    std::string expected;
    for (char c : std::string(g.ascii))
      if (c != ' ') expected += c;
    std::array<std::uint8_t, 599> buf{};
    std::copy(message.begin(), message.end(), buf.begin());
    const auto n = static_cast<std::int32_t>(message.size());
    ASSERT_TRUE(ToASCII(buf, n));
    EXPECT_EQ(Text(buf.data(), 2 * n + 3), expected);
    EXPECT_EQ(buf[2 * n + 3], 13);
    EXPECT_EQ(buf[2 * n + 4], 10);

    // Received as sent: the message comes back, LRC last.
    const std::int32_t length = 2 * n + 5;
    ASSERT_TRUE(FromASCII(buf, length));
    EXPECT_EQ(Bytes(buf.begin(), buf.begin() + n), message);
  }
}

TEST(FrameCodec, FromAsciiRejectsAZeroSumFrameThatToAsciiProduces) {
  // 01 FF sums to 256: the sender writes LRC 00, the receiver expects 256.
  std::array<std::uint8_t, 599> buf{0x01, 0xFF};
  ASSERT_TRUE(ToASCII(buf, 2));
  EXPECT_EQ(Text(buf.data(), 7), ":01FF00");
  EXPECT_FALSE(FromASCII(buf, 9));
  EXPECT_EQ(buf[0], 0x01) << "decoded before the LRC is judged";
  EXPECT_EQ(buf[1], 0xFF);
}

struct AsciiCase {
  const char* name;
  std::string frame;
  bool passes;
  const char* decoded;  // bytes at the front afterwards; nullptr: buffer untouched
};

class FromAsciiCases : public ::testing::TestWithParam<AsciiCase> {};

TEST_P(FromAsciiCases, JudgesAndDecodes) {
  const AsciiCase& c = GetParam();
  std::array<std::uint8_t, 599> buf{};
  std::copy(c.frame.begin(), c.frame.end(), buf.begin());
  const std::array<std::uint8_t, 599> before = buf;
  EXPECT_EQ(FromASCII(buf, static_cast<std::int32_t>(c.frame.size())), c.passes);
  if (c.decoded == nullptr) {
    EXPECT_EQ(buf, before);
  } else {
    const Bytes expected = FromHex(c.decoded);
    EXPECT_EQ(Bytes(buf.begin(), buf.begin() + expected.size()), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(FrameCodec, FromAsciiCases,
                         ::testing::Values(AsciiCase{"lowercase", ":1103006b00037e\r\n", true, "11 03 00 6B 00 03 7E"},
                                           AsciiCase{"missing_colon", "1103006B00037E\r\n", false, nullptr},
                                           AsciiCase{"lf_before_cr", ":1103006B00037E\n\r", false, nullptr},
                                           AsciiCase{"no_line_end", ":1103006B00037E", false, nullptr},
                                           AsciiCase{"wrong_lrc", ":1103006B00037F\r\n", false, "11 03 00 6B 00 03 7F"},
                                           // A lone digit before CR LF is dropped by the halving.
                                           AsciiCase{"odd_digit", ":1103006B00037E5\r\n", true, "11 03 00 6B 00 03 7E"},
                                           // Non-hex characters count as 0 and surface as an LRC error.
                                           AsciiCase{"non_hex", ":1G03006B00037E\r\n", false, "10 03 00 6B 00 03 7E"},
                                           AsciiCase{"too_short", ":\r\n", false, nullptr}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(FrameCodec, CountsBeyondTheBufferAreRefused) {
  std::array<std::uint8_t, 8> buf{1, 2, 3, 4, 5, 6, 7, 8};
  const std::array<std::uint8_t, 8> before = buf;
  EXPECT_FALSE(AddCRC(buf, 7));
  EXPECT_FALSE(AddCRC(buf, -1));
  EXPECT_FALSE(CheckCRC(buf, 7));
  EXPECT_FALSE(ToASCII(buf, 2));
  EXPECT_FALSE(FromASCII(buf, 9));
  EXPECT_EQ(buf, before);
  EXPECT_TRUE(ToASCII(buf, 1)) << "2n + 5 = 7 characters fit";
}

TEST(FrameCodec, HexToByteCountsStrangersAsZero) {
  EXPECT_EQ(HexToByte('F', 'c'), 0xFC);
  EXPECT_EQ(HexToByte('g', '1'), 0x01);
  EXPECT_EQ(HexToByte(':', 'Z'), 0x00);
}

}  // namespace
}  // namespace quorvel::MODBUS
