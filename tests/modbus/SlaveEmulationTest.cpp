#include "modbus/SlaveEmulation.h"

#include <gtest/gtest.h>

#include "ModbusTestSupport.h"

namespace quorvel::MODBUS {
namespace {

using test::AsAscii;
using test::Bytes;
using test::Hex;
using test::KnownMap;
using test::WithCrc;

constexpr std::uint16_t kAll = 0xFF;

Bytes Answer(const Bytes& request, std::uint16_t mask, SlaveData& data, TrafficCounters& counters) {
  Bytes buffer(299, 0);
  std::copy(request.begin(), request.end(), buffer.begin());
  const std::int32_t n = BuildResponce(buffer, static_cast<std::int32_t>(request.size()), mask, data, counters);
  return Bytes(buffer.begin(), buffer.begin() + n);
}

struct Case {
  const char* name;
  const char* request;
  std::uint16_t mask;
  const char* answer;
  TrafficCounters after;
};

TEST(SlaveEmulation, ExceptionsAndTheirCounting) {
  const Case kCases[] = {
      {"coils, quantity 0", "01 01 00 00 00 00", kAll, "01 81 03", {.SlaveRequestCount = 1, .Ex3 = 1}},
      {"coils, quantity 2001", "01 01 00 00 07 D1", kAll, "01 81 03", {.SlaveRequestCount = 1, .Ex3 = 1}},
      {"function 7", "01 07 00 00 00 00", kAll, "01 87 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"function 7, exception 1 off: not counted",
       "01 07 00 00 00 00",
       kAll & ~kAnswerEx1,
       "",
       {.SlaveRequestCount = 1}},
      {"exception 2 off: still counted",
       "01 01 00 10 00 01",
       kAll & ~kAnswerEx2,
       "",
       {.SlaveRequestCount = 1, .Ex2 = 1}},
      {"exception 3 off: still counted",
       "01 05 00 00 12 34",
       kAll & ~kAnswerEx3,
       "",
       {.SlaveRequestCount = 1, .Ex3 = 1}},
      {"single coil 0x1234", "01 05 00 00 12 34", kAll, "01 85 03", {.SlaveRequestCount = 1, .Ex3 = 1}},
      {"16 not served, addresses exist",
       "01 10 00 00 00 01 02 00 01",
       kAll & ~kServe16,
       "01 90 01",
       {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"22 not served", "01 16 00 00 FF FF 00 00", kAll & ~kServe22, "01 96 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"function 0", "01 00 00 00 00 00", kAll, "01 80 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"function 200 keeps its high bit", "01 C8 00 00 00 00", kAll, "01 C8 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"no function code at all", "01", kAll, "", {.SlaveRequestCount = 1}},
  };
  for (const Case& c : kCases) {
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

TEST(SlaveEmulation, MaskWriteFollowsTheStandardRule) {
  // current 0x12, AND 0xF2, OR 0x25: (0x12 & 0xF2) | (0x25 & 0x0D) = 0x17.
  MapSlaveData map = KnownMap();
  map.Set(Table::HoldingRegisters, 4, 0x0012);
  TrafficCounters counters;
  Answer(Hex("01 16 00 04 00 F2 00 25"), kAll, map, counters);
  EXPECT_EQ(map.Get(Table::HoldingRegisters, 4), 0x0017);
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
