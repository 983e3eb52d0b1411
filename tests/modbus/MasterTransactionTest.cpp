#include "modbus/MasterTransaction.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "ModbusTestSupport.h"

namespace quorvel::MODBUS {
namespace {

using test::AsAscii;
using test::Bytes;
using test::Hex;
using test::MakeRequest;
using test::Req;
using test::WithCrc;

constexpr std::uint8_t kID = 1;
// Two holding registers from 0: the answer is 01 03 04 + 4 data bytes.
const Req kRead2{.func = 3, .readAddr = 0, .readQnt = 2};
constexpr const char* kGoodRead = "01 03 04 00 0A 00 0B";

enum class Wire { Crc, BadCrc, Ascii, AsciiBadLrc, AsciiNoColon, Raw };

Bytes OnWire(const char* message, Wire wire) {
  const Bytes m = Hex(message);
  if (wire == Wire::Raw) return m;
  if (wire == Wire::Crc || wire == Wire::BadCrc) {
    Bytes f = WithCrc(m);
    if (wire == Wire::BadCrc) f.back() ^= 0x01;
    return f;
  }
  Bytes f = AsAscii(m);
  if (wire == Wire::AsciiBadLrc) f[f.size() - 3] = f[f.size() - 3] == '0' ? '1' : '0';
  if (wire == Wire::AsciiNoColon) f[0] = ';';
  return f;
}

struct Case {
  const char* name;
  std::int32_t code = kFrameComplete;
  const char* message = kGoodRead;
  Wire wire = Wire::Crc;
  Req req = kRead2;
  std::optional<std::int32_t> length{};  // the frame's size unless given
  TrafficCounters before{};
  // Outcome
  bool wait = false;
  bool deliver = false;
  ErrorKind kind = ErrorKind::None;
  std::string_view text{};
  std::int32_t lengthAfter = 0;
  TrafficCounters after{};
};

const Req kCoils10{.func = 1, .readAddr = 0, .readQnt = 10};
const Req kCoil{.func = 5, .writeAddr = 0xAC, .writeQnt = 1, .data = {0x00, 0x01}};
const Req kRegister{.func = 6, .writeAddr = 1, .writeQnt = 1, .data = {0x00, 0x03}};
const Req kMask{.func = 22, .writeAddr = 4, .writeQnt = 1, .data = {0x00, 0xF2, 0x00, 0x25}};
const Req kWrite2{.func = 16, .writeAddr = 1, .writeQnt = 2, .data = {0, 1, 0, 2}};
constexpr auto kKind1 = ErrorKind::WrongFunction;
constexpr auto kKind2 = ErrorKind::WrongByteCount;
constexpr auto kKind4 = ErrorKind::WrongLength;
constexpr auto kKind8 = ErrorKind::EchoMismatch;

// clang-format off
const Case kRtu[] = {
    {.name = "good read", .deliver = true, .lengthAfter = 7},
    {.name = "time-out", .code = kTimeout, .message = "", .wire = Wire::Raw, .text = "Timeout!", .after = {.TOErr = 1}},
    {.name = "parity", .code = kParityError, .text = "Perity error!", .lengthAfter = 9, .after = {.PtyErr = 1}},
    {.name = "bad CRC", .wire = Wire::BadCrc, .text = "CRC error!", .lengthAfter = 9, .after = {.CRCErr = 1}},
    {.name = "short frame", .code = 4, .message = "01 03 02 00 0A", .text = "Frame error!", .lengthAfter = 7,
     .after = {.FrErr = 1}},
    {.name = "exception 1", .code = 4, .message = "01 83 01", .text = "ILLEGAL FUNCTION (Ex. 1)!", .lengthAfter = 5,
     .after = {.Ex1 = 1}},
    {.name = "exception 2", .code = 4, .message = "01 83 02", .text = "ILLEGAL DATA ADDRESS (Ex. 2)!",
     .lengthAfter = 5, .after = {.Ex2 = 1}},
    {.name = "exception 3", .code = 4, .message = "01 83 03", .text = "ILLEGAL DATA VALUE (Ex. 3)!",
     .lengthAfter = 5, .after = {.Ex3 = 1}},
    {.name = "exception 4 moves Ex3 to Ex4 + 1", .code = 4, .message = "01 83 04", .before = {.Ex3 = 2, .Ex4 = 5},
     .text = "SLAVE DEVICE FAILURE (Ex. 4)!", .lengthAfter = 5, .after = {.Ex3 = 6, .Ex4 = 5}},
    {.name = "exception 5: nothing", .code = 4, .message = "01 83 05", .lengthAfter = 5},
    {.name = "exception with bad CRC", .code = 4, .message = "01 83 02", .wire = Wire::BadCrc,
     .text = "Frame error!", .lengthAfter = 5, .after = {.FrErr = 1}},
    {.name = "exception in a frame of the expected length", .message = "01 81 02 00 00", .req = kCoils10,
     .text = "ILLEGAL DATA ADDRESS (Ex. 2)!", .lengthAfter = 5, .after = {.Ex2 = 1}},
    {.name = "another slave", .message = "02 03 04 00 0A 00 0B", .wait = true, .lengthAfter = 7},
    {.name = "wrong function", .message = "01 04 04 00 0A 00 0B", .kind = kKind1, .lengthAfter = 7,
     .after = {.DtErr = 1}},
    {.name = "wrong byte count", .message = "01 03 03 00 0A 00 0B", .kind = kKind2, .lengthAfter = 7,
     .after = {.DtErr = 1}},
    {.name = "one byte too many", .message = "01 03 04 00 0A 00 0B 00", .kind = kKind4, .lengthAfter = 8,
     .after = {.DtErr = 1}},
    {.name = "coil echo of the held data", .message = "01 05 00 AC 00 01", .req = kCoil, .kind = kKind8,
     .lengthAfter = 6, .after = {.DtErr = 1}},
    {.name = "register echo, other low data byte", .message = "01 06 00 01 00 04", .req = kRegister, .kind = kKind8,
     .lengthAfter = 6, .after = {.DtErr = 1}},
    {.name = "register echo cut short", .code = 4, .message = "01 06 00", .req = kRegister, .kind = kKind8,
     .lengthAfter = 5, .after = {.DtErr = 1}},
    {.name = "mask echo, other OR mask", .message = "01 16 00 04 00 F2 00 26", .req = kMask, .kind = kKind8,
     .lengthAfter = 8, .after = {.DtErr = 1}},
    {.name = "write echo: not displayed", .message = "01 10 00 01 00 02", .req = kWrite2, .lengthAfter = 6},
    {.name = "length beyond the buffer", .length = 300, .text = "Frame error!", .lengthAfter = 300,
     .after = {.FrErr = 1}},
    {.name = "nothing received", .length = 0, .text = "CRC error!", .after = {.CRCErr = 1}},
};
// clang-format on

// clang-format off
const Case kAscii[] = {
    {.name = "good read", .wire = Wire::Ascii, .deliver = true, .lengthAfter = 7},
    {.name = "bad LRC", .wire = Wire::AsciiBadLrc, .text = "LRC error!", .lengthAfter = 19, .after = {.CRCErr = 1}},
    {.name = "exception is not recognised", .code = 4, .message = "01 83 02", .wire = Wire::Ascii, .kind = kKind1,
     .lengthAfter = 11, .after = {.DtErr = 1}},
};
// clang-format on

void Check(const Case& c, bool ascii) {
  SCOPED_TRACE(c.name);
  Bytes buffer(ascii ? 599 : 299, 0);
  const Bytes frame = OnWire(c.message, c.wire);
  std::copy(frame.begin(), frame.end(), buffer.begin());
  std::int32_t length = c.length.value_or(static_cast<std::int32_t>(frame.size()));
  TrafficCounters counters = c.before;

  const ResponceOutcome out = CheckResponce(c.code, length, buffer, MakeRequest(c.req), kID, ascii, counters);
  EXPECT_EQ(out.keepWaiting, c.wait);
  EXPECT_EQ(out.deliver, c.deliver);
  EXPECT_EQ(out.errorKind, c.kind);
  EXPECT_EQ(out.text, c.text);
  EXPECT_EQ(length, c.lengthAfter);
  EXPECT_EQ(counters, c.after);
  EXPECT_FALSE(out.show) << "polled requests show nothing";
}

TEST(MasterTransaction, RtuChecks) {
  for (const Case& c : kRtu) Check(c, false);
}

TEST(MasterTransaction, AsciiChecks) {
  for (const Case& c : kAscii) Check(c, true);
}

// Shown in words, and counted as a polled request is, once.
TEST(MasterTransaction, UserStartedRequestsReportTheirOutcome) {
  const struct {
    const char* label;
    std::int32_t code;
    const char* message;
    Wire wire;
    const char* shown;
    TrafficCounters after;
  } kCases[] = {
      {"Pump", kTimeout, "", Wire::Raw, "Pump: Timeout!", {.TOErr = 1}},
      {"", kTimeout, "", Wire::Raw, "Timeout!", {.TOErr = 1}},
      {"Pump", kFrameComplete, kGoodRead, Wire::Crc, "Pump: Responce is OK.", {}},
      {"Pump", kFrameComplete, "01 04 04 00 0A 00 0B", Wire::Crc, "Pump: Invalid responce!", {.DtErr = 1}},
      {"Pump", kFrameOtherLength, "01 83 02", Wire::Crc, "Pump: ILLEGAL DATA ADDRESS (Ex. 2)!", {.Ex2 = 1}},
      // A frame error without words of its own leaves the request looking answered.
      {"Pump", kFrameComplete, kGoodRead, Wire::AsciiNoColon, "Pump: Responce is OK.", {.FrErr = 1}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.shown);
    Req req = kRead2;
    req.control = 3;
    req.label = c.label;
    const bool ascii = c.wire == Wire::AsciiNoColon;
    Bytes buffer = OnWire(c.message, c.wire);
    auto length = static_cast<std::int32_t>(buffer.size());
    buffer.resize(599);
    TrafficCounters counters;
    const ResponceOutcome out = CheckResponce(c.code, length, buffer, MakeRequest(req), kID, ascii, counters);
    EXPECT_TRUE(out.show);
    EXPECT_EQ(out.message, c.shown);
    EXPECT_EQ(counters, c.after);
  }
}

}  // namespace
}  // namespace quorvel::MODBUS
