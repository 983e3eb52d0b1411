// The slave emulation's answers. The matrix walks every served function
// along the edges of the known map (coils 0..15, discrete inputs 100..107,
// holding registers 0..9, input registers 0..4): first and last address, one
// past the end, quantities 0, the largest and one more, byte counts that
// disagree with the quantity, requests shorter than they say, and function
// codes nobody serves. Other addresses and broadcasts never get here:
// CheckRequest and the port's choice of window drop them.

#include "modbus/SlaveEmulation.h"

#include <gtest/gtest.h>

#include <set>

#include "ModbusTestSupport.h"

namespace quorvel::MODBUS {
namespace {

using test::AsAscii;
using test::Bytes;
using test::Hex;
using test::KnownMap;
using test::Pdu;
using test::WithCrc;

constexpr std::uint16_t kAll = 0xFF;

Bytes Answer(const Bytes& request, std::uint16_t mask, SlaveData& data, TrafficCounters& counters) {
  Bytes buffer(299, 0);
  std::copy(request.begin(), request.end(), buffer.begin());
  const std::int32_t n = BuildResponce(buffer, static_cast<std::int32_t>(request.size()), mask, data, counters);
  return Bytes(buffer.begin(), buffer.begin() + n);
}

struct MatrixCase {
  const char* name;
  Pdu request;    // after the address byte
  int exception;  // 0: a normal answer
};

Pdu F(int func) { return Pdu{}.b(func); }
// A read or write-single request: function, address, quantity or value.
Pdu R(int func, int address, int second) { return F(func).w(address).w(second); }
Pdu Coils(int address, int quantity, int bytes, int sent) { return R(15, address, quantity).b(bytes).fill(sent, 0xFF); }
Pdu Regs(int address, int quantity, int bytes, int sent) { return R(16, address, quantity).b(bytes).fill(sent, 0); }
Pdu Mask(int address) { return R(22, address, 0xFFFF).w(0x0000); }
Pdu ReadWrite(int ra, int rq, int wa, int wq, int bytes, int sent) {
  return R(23, ra, rq).w(wa).w(wq).b(bytes).fill(sent, 0);
}

const MatrixCase kMatrix[] = {
    {"1 first", R(1, 0, 1), 0},
    {"1 whole map", R(1, 0, 16), 0},
    {"1 last", R(1, 15, 1), 0},
    {"1 past the end", R(1, 16, 1), 2},
    {"1 running past the end", R(1, 0, 17), 2},
    {"1 top address", R(1, 0xFFFF, 1), 2},
    {"1 quantity 0", R(1, 0, 0), 3},
    {"1 quantity 2000", R(1, 0, 2000), 2},
    {"1 quantity 2001", R(1, 0, 2001), 3},
    {"1 short", F(1).w(0).b(0), 3},
    {"2 address 0, below the map", R(2, 0, 1), 2},
    {"2 first", R(2, 100, 8), 0},
    {"2 last", R(2, 107, 1), 0},
    {"2 past the end", R(2, 108, 1), 2},
    {"2 quantity 0", R(2, 100, 0), 3},
    {"2 quantity 2001", R(2, 100, 2001), 3},
    {"3 whole map", R(3, 0, 10), 0},
    {"3 last", R(3, 9, 1), 0},
    {"3 past the end", R(3, 10, 1), 2},
    {"3 quantity 0", R(3, 0, 0), 3},
    {"3 quantity 125", R(3, 0, 125), 2},
    {"3 quantity 126", R(3, 0, 126), 3},
    {"4 whole map", R(4, 0, 5), 0},
    {"4 past the end", R(4, 4, 2), 2},
    {"4 quantity 0", R(4, 0, 0), 3},
    {"4 quantity 126", R(4, 0, 126), 3},
    {"5 first on", R(5, 0, 0xFF00), 0},
    {"5 last off", R(5, 15, 0x0000), 0},
    {"5 past the end", R(5, 16, 0xFF00), 2},
    {"5 value 0x0001", R(5, 0, 0x0001), 3},
    {"5 value 0x00FF", R(5, 0, 0x00FF), 3},
    {"5 short", F(5).w(0).b(0xFF), 3},
    {"6 first", R(6, 0, 0x1234), 0},
    {"6 last", R(6, 9, 0xFFFF), 0},
    {"6 past the end", R(6, 10, 1), 2},
    {"15 whole map", Coils(0, 16, 2, 2), 0},
    {"15 last", Coils(15, 1, 1, 1), 0},
    {"15 past the end", Coils(16, 1, 1, 1), 2},
    {"15 quantity 0", Coils(0, 0, 0, 0), 3},
    {"15 quantity 1968", Coils(0, 1968, 246, 246), 2},
    {"15 quantity 1969", Coils(0, 1969, 247, 247), 3},
    {"15 byte count one more", Coils(0, 16, 3, 3), 3},
    {"15 byte count one less", Coils(0, 9, 1, 1), 3},
    {"15 data missing", Coils(0, 16, 2, 1), 3},
    {"15 no byte count", R(15, 0, 1), 3},
    {"16 whole map", Regs(0, 10, 20, 20), 0},
    {"16 last", Regs(9, 1, 2, 2), 0},
    {"16 past the end", Regs(9, 2, 4, 4), 2},
    {"16 quantity 0", Regs(0, 0, 0, 0), 3},
    {"16 quantity 123", Regs(0, 123, 246, 246), 2},
    {"16 quantity 124", Regs(0, 124, 248, 248), 3},
    {"16 byte count odd", Regs(0, 2, 3, 3), 3},
    {"16 data missing", Regs(0, 2, 4, 3), 3},
    {"22 first", Mask(0), 0},
    {"22 last", Mask(9), 0},
    {"22 past the end", Mask(10), 2},
    {"22 short", F(22).w(0).w(0xFFFF).b(0), 3},
    {"23 whole map", ReadWrite(0, 10, 0, 10, 20, 20), 0},
    {"23 last", ReadWrite(9, 1, 9, 1, 2, 2), 0},
    {"23 read past the end", ReadWrite(9, 2, 0, 1, 2, 2), 2},
    {"23 write past the end", ReadWrite(0, 1, 10, 1, 2, 2), 2},
    {"23 read quantity 0", ReadWrite(0, 0, 0, 1, 2, 2), 3},
    {"23 read quantity 125", ReadWrite(0, 125, 0, 1, 2, 2), 2},
    {"23 read quantity 126", ReadWrite(0, 126, 0, 1, 2, 2), 3},
    {"23 write quantity 0", ReadWrite(0, 1, 0, 0, 0, 0), 3},
    {"23 write quantity 121", ReadWrite(0, 1, 0, 121, 242, 242), 2},
    {"23 write quantity 122", ReadWrite(0, 1, 0, 122, 244, 244), 3},
    {"23 byte count mismatch", ReadWrite(0, 1, 0, 2, 2, 4), 3},
    {"23 data missing", ReadWrite(0, 1, 0, 2, 4, 2), 3},
    {"function 0", R(0, 0, 1), 1},
    {"function 7", R(7, 0, 1), 1},
    {"function 24", R(24, 0, 1), 1},
    {"function 128", R(128, 0, 1), 1},
};

Bytes WithAddress(const Pdu& pdu) {
  Bytes request;
  request.reserve(pdu.bytes.size() + 1);
  request.push_back(0x01);
  for (std::uint8_t b : pdu.bytes) request.push_back(b);
  return request;
}

// What a correct normal answer to `request` looks like from its first bytes.
void ExpectNormalAnswer(const Bytes& request, const Bytes& answer) {
  const int func = request[1];
  ASSERT_GE(answer.size(), 3u);
  EXPECT_EQ(answer[0], 0x01);
  EXPECT_EQ(answer[1], func);
  const int quantity = request[4] * 256 + request[5];
  switch (func) {
    case 1:
    case 2:
      EXPECT_EQ(answer[2], (quantity + 7) / 8);
      EXPECT_EQ(answer.size(), 3u + answer[2]);
      break;
    case 3:
    case 4:
    case 23:
      EXPECT_EQ(answer[2], 2 * quantity);
      EXPECT_EQ(answer.size(), 3u + answer[2]);
      break;
    case 22:
      EXPECT_EQ(answer, request);
      break;
    default:  // 5, 6, 15, 16: address and quantity or value
      EXPECT_EQ(answer, Bytes(request.begin(), request.begin() + 6));
  }
}

TEST(SlaveEmulation, AnswersEachRequestOfTheMatrix) {
  for (const MatrixCase& c : kMatrix) {
    SCOPED_TRACE(c.name);
    const Bytes request = WithAddress(c.request);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    const Bytes answer = Answer(request, kAll, map, counters);
    if (c.exception == 0) {
      ExpectNormalAnswer(request, answer);
      EXPECT_EQ(counters, (TrafficCounters{.SlaveRequestCount = 1}));
    } else {
      EXPECT_EQ(answer,
                (Bytes{0x01, static_cast<std::uint8_t>(request[1] | 0x80), static_cast<std::uint8_t>(c.exception)}));
      const std::int32_t counted[] = {0, counters.Ex1, counters.Ex2, counters.Ex3, counters.Ex4};
      EXPECT_EQ(counted[c.exception], 1);
      EXPECT_EQ(counters.Ex1 + counters.Ex2 + counters.Ex3 + counters.Ex4, 1);
    }
    // With no exception answer enabled (every write function still served)
    // nothing goes back, yet everything but exception 1 is counted.
    if (c.exception == 0) continue;
    TrafficCounters silent;
    EXPECT_TRUE(Answer(request, 0xF0, map, silent).empty());
    const std::int32_t counted[] = {0, silent.Ex1, silent.Ex2, silent.Ex3, silent.Ex4};
    EXPECT_EQ(counted[c.exception], c.exception == 1 ? 0 : 1);
    EXPECT_EQ(silent.SlaveRequestCount, 1);
  }
}

TEST(SlaveEmulation, EveryFunctionNotServedIsIllegal) {
  const std::set<int> served = {1, 2, 3, 4, 5, 6, 15, 16, 22, 23};
  for (int func = 0; func < 256; ++func) {
    if (served.contains(func)) continue;
    SCOPED_TRACE(func);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    EXPECT_EQ(Answer(WithAddress(R(func, 0, 1)), kAll, map, counters),
              (Bytes{0x01, static_cast<std::uint8_t>(func | 0x80), 0x01}));
  }
}

// Each bit of the mask switches one exception answer or one write function.
TEST(SlaveEmulation, MaskBitsAndTheirCounting) {
  const struct {
    const char* name;
    const char* request;
    std::uint16_t mask;
    const char* answer;
    TrafficCounters after;
  } kCases[] = {
      {"Ex1 off: not counted", "01 07 00 00 00 00", kAll & ~kAnswerEx1, "", {.SlaveRequestCount = 1}},
      {"Ex2 off: counted", "01 01 00 10 00 01", kAll & ~kAnswerEx2, "", {.SlaveRequestCount = 1, .Ex2 = 1}},
      {"Ex3 off: counted", "01 05 00 00 12 34", kAll & ~kAnswerEx3, "", {.SlaveRequestCount = 1, .Ex3 = 1}},
      {"16 not served", "01 10 00 00 00 01 02 00 01", kAll & ~kServe16, "01 90 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"22 not served", "01 16 00 00 FF FF 00 00", kAll & ~kServe22, "01 96 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"no function code at all", "01", kAll, "", {.SlaveRequestCount = 1}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    EXPECT_EQ(Answer(Hex(c.request), c.mask, map, counters), Hex(c.answer));
    EXPECT_EQ(counters, c.after);
  }
}

TEST(SlaveEmulation, WithoutHoldingRegistersEveryHoldingFunctionIsIllegal) {
  MapSlaveData map;
  map.Set(Table::Coils, 0, 1);
  map.Set(Table::InputRegisters, 0, 7);
  for (const char* request : {"01 03 00 00 00 01", "01 06 00 00 00 01", "01 10 00 00 00 01 02 00 01",
                              "01 16 00 00 FF FF 00 00", "01 17 00 00 00 01 00 00 00 01 02 00 01"}) {
    SCOPED_TRACE(request);
    TrafficCounters counters;
    const Bytes answer = Answer(Hex(request), kAll, map, counters);
    ASSERT_EQ(answer.size(), 3u);
    EXPECT_EQ(answer[2], 1);
    EXPECT_EQ(counters.Ex1, 1);
  }
}

TEST(SlaveEmulation, NormalAnswersReadFromAndWriteIntoTheTables) {
  const struct {
    const char* name;
    const char* request;
    const char* answer;
    Table table;
    std::int32_t address;
    std::uint16_t after;  // value at `address` afterwards
  } kCases[] = {
      {"16 coils", "01 01 00 00 00 10", "01 01 02 CD 6B", Table::Coils, 0, 1},
      {"10 coils from 2", "01 01 00 02 00 0A", "01 01 02 F3 02", Table::Coils, 2, 1},
      {"8 inputs", "01 02 00 64 00 08", "01 02 01 AA", Table::DiscreteInputs, 100, 0},
      {"3 holding from 2", "01 03 00 02 00 03", "01 03 06 10 02 10 03 10 04", Table::HoldingRegisters, 2, 0x1002},
      {"2 input from 3", "01 04 00 03 00 02", "01 04 04 20 03 20 04", Table::InputRegisters, 3, 0x2003},
      {"coil 4 on", "01 05 00 04 FF 00", "01 05 00 04 FF 00", Table::Coils, 4, 1},
      {"coil 0 off", "01 05 00 00 00 00", "01 05 00 00 00 00", Table::Coils, 0, 0},
      {"register 9", "01 06 00 09 BE EF", "01 06 00 09 BE EF", Table::HoldingRegisters, 9, 0xBEEF},
      {"4 coils from 8", "01 0F 00 08 00 04 01 05", "01 0F 00 08 00 04", Table::Coils, 9, 0},
      {"2 registers", "01 10 00 00 00 02 04 00 0A 01 02", "01 10 00 00 00 02", Table::HoldingRegisters, 1, 0x0102},
      // (1004h AND 00F2h) OR (0025h AND NOT 00F2h)
      {"mask write", "01 16 00 04 00 F2 00 25", "01 16 00 04 00 F2 00 25", Table::HoldingRegisters, 4, 0x0005},
      {"read/write reads what it wrote", "01 17 00 00 00 03 00 01 00 02 04 AA AA BB BB", "01 17 06 10 00 AA AA BB BB",
       Table::HoldingRegisters, 2, 0xBBBB},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    EXPECT_EQ(Answer(Hex(c.request), kAll, map, counters), Hex(c.answer));
    EXPECT_EQ(map.Get(c.table, c.address), c.after);
    EXPECT_EQ(counters, (TrafficCounters{.SlaveRequestCount = 1}));
  }
}

TEST(SlaveEmulation, ValuesTheTableCannotHoldOrGiveAreException4) {
  const struct {
    const char* name;
    const char* request;
    const char* answer;
  } kCases[] = {
      {"register above its limit", "01 06 00 05 00 65", "01 86 04"},
      {"one of several above its limit", "01 10 00 04 00 02 04 00 01 00 65", "01 90 04"},
      {"mask result above its limit", "01 16 00 05 00 00 00 65", "01 96 04"},
      {"read/write whose write fails", "01 17 00 00 00 01 00 05 00 01 02 00 65", "01 97 04"},
      {"coil that must stay off", "01 05 00 03 FF 00", "01 85 04"},
      {"unreadable input", "01 04 00 00 00 05", "01 84 04"},
      {"unreadable under a mask write", "01 16 00 07 FF FF 00 00", "01 96 04"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    MapSlaveData map = KnownMap();
    map.SetLimit(Table::HoldingRegisters, 5, 100);
    map.SetLimit(Table::Coils, 3, 0);
    map.SetUnreadable(Table::InputRegisters, 2);
    map.SetUnreadable(Table::HoldingRegisters, 7);
    TrafficCounters counters;
    EXPECT_EQ(Answer(Hex(c.request), kAll, map, counters), Hex(c.answer));
    EXPECT_EQ(counters, (TrafficCounters{.SlaveRequestCount = 1, .Ex4 = 1}));
    EXPECT_EQ(map.Get(Table::HoldingRegisters, 4), 0x1004) << "a refused write changes nothing";
    EXPECT_EQ(map.Get(Table::HoldingRegisters, 5), 0x1005);
  }
}

TEST(SlaveEmulation, NeverWritesPastASmallBuffer) {
  MapSlaveData map = KnownMap();
  TrafficCounters counters;
  Bytes guarded(40, 0xEE);
  const Bytes request = Hex("01 03 00 00 00 0A");  // 20 data bytes: 23 + CRC
  std::copy(request.begin(), request.end(), guarded.begin());
  EXPECT_EQ(BuildResponce(std::span(guarded).first(24), 6, kAll, map, counters), 3);
  EXPECT_EQ(guarded[2], 4) << "too small for the answer: exception 4";
  for (std::size_t i = 24; i < guarded.size(); ++i) ASSERT_EQ(guarded[i], 0xEE);
  EXPECT_EQ(BuildResponce(std::span(guarded).first(4), 6, kAll, map, counters), 0);
  EXPECT_EQ(counters.SlaveRequestCount, 2);
}

TEST(SlaveEmulation, CheckRequestDropsWhatNoSlaveAnswers) {
  const Bytes read = Hex("01 03 00 00 00 01");
  const struct {
    const char* name;
    Bytes frame;
    bool ascii;
    std::optional<std::uint8_t> address;
  } kCases[] = {
      {"RTU", WithCrc(read), false, 1},
      {"RTU broadcast", WithCrc(Hex("00 06 00 01 00 03")), false, std::nullopt},
      {"RTU 247", WithCrc(Hex("F7 03 00 00 00 01")), false, 247},
      {"RTU 248", WithCrc(Hex("F8 03 00 00 00 01")), false, std::nullopt},
      {"RTU 255", WithCrc(Hex("FF 03 00 00 00 01")), false, std::nullopt},
      {"RTU 7 bytes with a good CRC", WithCrc(Hex("01 03 00 00 00")), false, std::nullopt},
      {"RTU bad CRC", Hex("01 03 00 00 00 01 84 0B"), false, std::nullopt},
      {"ASCII", AsAscii(read), true, 1},
      {"ASCII 15 characters", AsAscii(Hex("01 03 00 00 00")), true, std::nullopt},
      {"ASCII broadcast", AsAscii(Hex("00 06 00 01 00 03")), true, std::nullopt},
      {"ASCII bad LRC", Hex("3A 30 31 30 33 30 30 30 30 30 30 30 31 46 43 0D 0A"), true, std::nullopt},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    Bytes buffer = c.frame;
    auto count = static_cast<std::int32_t>(buffer.size());
    buffer.resize(599);
    EXPECT_EQ(CheckRequest(buffer, count, c.ascii), c.address);
    if (c.address) {
      EXPECT_EQ(count, 6) << "the message length, without CRC or ASCII framing";
      EXPECT_EQ(buffer[5], 1);
    }
  }
  Bytes buffer = WithCrc(read);
  std::int32_t count = 300;
  EXPECT_EQ(CheckRequest(buffer, count, false), std::nullopt) << "a count beyond the buffer";
}

}  // namespace
}  // namespace quorvel::MODBUS
