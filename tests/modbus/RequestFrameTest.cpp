#include "modbus/RequestFrame.h"

#include <gtest/gtest.h>

#include <array>

#include "ModbusTestSupport.h"

namespace quorvel::MODBUS {
namespace {

using test::Bytes;
using test::Hex;
using test::MakeRequest;
using test::Req;

// Worked out by hand from the request layouts; expected answer lengths in RTU bytes.
const struct Golden {
  const char* name;
  Req req;
  const char* message;
  std::int32_t expected;
} kGolden[] = {
    {"read 17 inputs: one bit more", {.func = 2, .readAddr = 0xC4, .readQnt = 17}, "11 02 00 C4 00 11", 8},
    {"read 3 holding", {.func = 3, .readAddr = 0x6B, .readQnt = 3}, "11 03 00 6B 00 03", 11},
    {"coil 12 00: FF 00", {.func = 5, .writeAddr = 0xAC, .writeQnt = 1, .data = {0x12, 0x00}}, "11 05 00 AC FF 00", 8},
    {"coil 00 00: 00 00", {.func = 5, .writeAddr = 0xAC, .writeQnt = 1, .data = {0x00, 0x00}}, "11 05 00 AC 00 00", 8},
    {"write register", {.func = 6, .writeAddr = 1, .writeQnt = 1, .data = {0x00, 0x03}}, "11 06 00 01 00 03", 8},
    {"8 coils: 1 byte",
     {.func = 15, .writeAddr = 0, .writeQnt = 8, .data = {0xA5, 0x77}},
     "11 0F 00 00 00 08 01 A5",
     8},
    {"2 registers",
     {.func = 16, .writeAddr = 1, .writeQnt = 2, .data = {0x00, 0x0A, 0x01, 0x02}},
     "11 10 00 01 00 02 04 00 0A 01 02",
     8},
    {"mask write",
     {.func = 22, .writeAddr = 4, .writeQnt = 1, .data = {0x00, 0xF2, 0x00, 0x25}},
     "11 16 00 04 00 F2 00 25",
     10},
    {"read and write",
     {.func = 23, .readAddr = 3, .readQnt = 6, .writeAddr = 0x0E, .writeQnt = 3, .data = {0, 0xFF, 0, 0xFF, 0, 0xFF}},
     "11 17 00 03 00 06 00 0E 00 03 06 00 FF 00 FF 00 FF",
     17},
    {"other code: address and function", {.func = 8, .readAddr = 1, .readQnt = 1}, "11 08", 0},
    {"write ignores read",
     {.func = 6, .readAddr = -5, .readQnt = 70000, .writeAddr = 2, .writeQnt = 1, .data = {1, 2}},
     "11 06 00 02 01 02",
     8},
};

TEST(RequestFrame, LaysGoldenFrames) {
  for (const Golden& g : kGolden) {
    SCOPED_TRACE(g.name);
    std::array<std::uint8_t, 299> buf{};
    const RequestFrame frame = LayRequest(buf, 0x11, MakeRequest(g.req));
    const Bytes message = Hex(g.message);
    ASSERT_EQ(frame.n, static_cast<std::int32_t>(message.size()));
    EXPECT_EQ(frame.expected, g.expected);
    EXPECT_EQ(Bytes(buf.begin(), buf.begin() + frame.n), message);
  }
}

TEST(RequestFrame, RefusesWhatItCannotSayOrFit) {
  const struct {
    const char* name;
    Req req;
  } kRefused[] = {
      {"function beyond a byte", {.func = 300}},
      {"address beyond 16 bits", {.func = 3, .readAddr = 65536, .readQnt = 1}},
      {"mask write with two bytes", {.func = 22, .writeAddr = 1, .writeQnt = 1, .data = {0xFF, 0xFF}}},
      {"byte count beyond a byte", {.func = 16, .writeAddr = 0, .writeQnt = 128, .data = Bytes(256, 1)}},
      {"15 announcing more than it holds", {.func = 15, .writeAddr = 0, .writeQnt = 17, .data = {1, 2}}},
  };
  for (const auto& c : kRefused) {
    SCOPED_TRACE(c.name);
    std::array<std::uint8_t, 299> buf{};
    EXPECT_FALSE(LayRequest(buf, 1, MakeRequest(c.req)));
  }
}

TEST(RequestFrame, KeepsRoomForTheCrcAndNeverWritesPastTheBuffer) {
  // 127 registers: 7 + 254 message bytes.
  const ReqProp big = MakeRequest({.func = 16, .writeAddr = 0, .writeQnt = 127, .data = Bytes(254, 0x5A)});
  std::array<std::uint8_t, 299> whole{};
  EXPECT_EQ(LayRequest(whole, 1, big).n, 261);

  std::array<std::uint8_t, 280> guarded{};
  for (std::size_t size : {263u, 262u, 100u, 1u, 0u}) {
    SCOPED_TRACE(size);
    guarded.fill(0xEE);
    const RequestFrame frame = LayRequest(std::span(guarded).first(size), 1, big);
    EXPECT_EQ(frame.n, size == 263 ? 261 : 0);
    for (std::size_t i = size; i < guarded.size(); ++i) ASSERT_EQ(guarded[i], 0xEE) << "byte " << i;
  }
}

}  // namespace
}  // namespace quorvel::MODBUS
