// The slave emulation's answers from the known map (coils 0..15, discrete
// inputs 100..107, holding registers 0..9, input registers 0..4).

#include "modbus/SlaveEmulation.h"

#include <gtest/gtest.h>

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
  Pdu request;
  int exception;
  bool noTables = false;  // asked of a device without any table
};

Pdu F(int func) { return Pdu{}.b(0x01).b(func); }
// A read or write-single request: function, address, quantity or value.
Pdu R(int func, int address, int second) { return F(func).w(address).w(second); }
Pdu Coils(int address, int quantity, int bytes, int sent) { return R(15, address, quantity).b(bytes).fill(sent, 0xFF); }
Pdu Regs(int address, int quantity, int bytes, int sent) { return R(16, address, quantity).b(bytes).fill(sent, 0); }
Pdu ReadWrite(int ra, int rq, int wa, int wq, int bytes, int sent) {
  return R(23, ra, rq).w(wa).w(wq).b(bytes).fill(sent, 0);
}

// Every exception rule of every function a row; a quantity at its limit
// passes the quantity rule and so meets the address rule (2), one past it
// does not (3).
const MatrixCase kMatrix[] = {
    {"1 past the end", R(1, 16, 1), 2},
    {"1 last two past the end", R(1, 15, 2), 2},
    {"1 quantity 0", R(1, 0, 0), 3},
    {"1 quantity 2000", R(1, 0, 2000), 2},
    {"1 quantity 2001", R(1, 0, 2001), 3},
    {"1 short", F(1).w(0).b(0), 3},
    {"2 address 0, below the map", R(2, 0, 1), 2},
    {"2 past the end", R(2, 107, 2), 2},
    {"2 quantity 0", R(2, 100, 0), 3},
    {"2 quantity 2001", R(2, 100, 2001), 3},
    {"3 quantity 0", R(3, 0, 0), 3},
    {"3 quantity 125", R(3, 0, 125), 2},
    {"3 quantity 126", R(3, 0, 126), 3},
    {"3 last two past the end", R(3, 9, 2), 2},
    {"3 short", F(3).w(0).b(0), 3},
    {"4 quantity 126", R(4, 0, 126), 3},
    {"4 last two past the end", R(4, 4, 2), 2},
    {"5 past the end", R(5, 16, 0xFF00), 2},
    {"5 value 0x0001", R(5, 0, 0x0001), 3},
    {"5 value 0x00FF", R(5, 0, 0x00FF), 3},
    {"5 short", F(5).w(0).b(0xFF), 3},
    {"6 past the end", R(6, 10, 1), 2},
    {"6 short", F(6).w(0).b(0), 3},
    {"15 quantity 0", Coils(0, 0, 0, 0), 3},
    {"15 quantity 1968", Coils(0, 1968, 246, 246), 2},
    {"15 quantity 1969", Coils(0, 1969, 247, 247), 3},
    {"15 last two past the end", Coils(15, 2, 1, 1), 2},
    {"15 byte count one less", Coils(0, 9, 1, 1), 3},
    {"15 data missing", Coils(0, 16, 2, 1), 3},
    {"15 no byte count", R(15, 0, 1), 3},
    {"16 quantity 0", Regs(0, 0, 0, 0), 3},
    {"16 quantity 123", Regs(0, 123, 246, 246), 2},
    {"16 quantity 124", Regs(0, 124, 248, 248), 3},
    {"16 last two past the end", Regs(9, 2, 4, 4), 2},
    {"16 byte count odd", Regs(0, 2, 3, 3), 3},
    {"16 data missing", Regs(0, 2, 4, 3), 3},
    {"16 no byte count", R(16, 0, 1), 3},
    {"22 past the end", R(22, 10, 0xFFFF).w(0), 2},
    {"22 short", F(22).w(0).w(0xFFFF).b(0), 3},
    {"23 read quantity 0", ReadWrite(0, 0, 0, 1, 2, 2), 3},
    {"23 read quantity 125", ReadWrite(0, 125, 0, 1, 2, 2), 2},
    {"23 read quantity 126", ReadWrite(0, 126, 0, 1, 2, 2), 3},
    {"23 read past the end", ReadWrite(9, 2, 0, 1, 2, 2), 2},
    {"23 write past the end", ReadWrite(0, 1, 10, 1, 2, 2), 2},
    {"23 write quantity 0", ReadWrite(0, 1, 0, 0, 0, 0), 3},
    {"23 write quantity 121", ReadWrite(0, 1, 0, 121, 242, 242), 2},
    {"23 write quantity 122", ReadWrite(0, 1, 0, 122, 244, 244), 3},
    {"23 byte count mismatch", ReadWrite(0, 1, 0, 2, 2, 4), 3},
    {"23 data missing", ReadWrite(0, 1, 0, 2, 4, 3), 3},
    {"23 short", R(23, 0, 1).w(0), 3},
    {"function 0", R(0, 0, 1), 1},
    {"function 7", R(7, 0, 1), 1},
    {"function 24", R(24, 0, 1), 1},
    {"function 128", R(128, 0, 1), 1},
    // A device without the table a function works on answers it as a function it does not know.
    {"1 without the table", R(1, 0, 1), 1, true},
    {"2 without the table", R(2, 0, 1), 1, true},
    {"3 without the table", R(3, 0, 1), 1, true},
    {"4 without the table", R(4, 0, 1), 1, true},
    {"5 without the table", R(5, 0, 0xFF00), 1, true},
    {"6 without the table", R(6, 0, 1), 1, true},
    {"15 without the table", Coils(0, 1, 1, 1), 1, true},
    {"16 without the table", Regs(0, 1, 2, 2), 1, true},
    {"22 without the table", R(22, 0, 0xFFFF).w(0), 1, true},
    {"23 without the table", ReadWrite(0, 1, 0, 1, 2, 2), 1, true},
};

TEST(SlaveEmulation, RefusesEachRequestOfTheMatrix) {
  for (const MatrixCase& c : kMatrix) {
    SCOPED_TRACE(c.name);
    const Bytes& request = c.request.bytes;
    MapSlaveData map = c.noTables ? MapSlaveData{} : KnownMap();
    TrafficCounters counters;
    EXPECT_EQ(Answer(request, kAll, map, counters),
              (Bytes{0x01, static_cast<std::uint8_t>(request[1] | 0x80), static_cast<std::uint8_t>(c.exception)}));
    const std::int32_t counted[] = {0, counters.Ex1, counters.Ex2, counters.Ex3, counters.Ex4};
    EXPECT_EQ(counted[c.exception], 1);
    EXPECT_EQ(counters.Ex1 + counters.Ex2 + counters.Ex3 + counters.Ex4, 1);
    EXPECT_EQ(counters.SlaveRequestCount, 1);
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
      {"8 inputs", "01 02 00 64 00 08", "01 02 01 AA", Table::DiscreteInputs, 100, 0},
      {"3 holding from 2", "01 03 00 02 00 03", "01 03 06 10 02 10 03 10 04", Table::HoldingRegisters, 2, 0x1002},
      {"coil 4 on", "01 05 00 04 FF 00", "01 05 00 04 FF 00", Table::Coils, 4, 1},
      {"register 9", "01 06 00 09 BE EF", "01 06 00 09 BE EF", Table::HoldingRegisters, 9, 0xBEEF},
      {"2 registers", "01 10 00 00 00 02 04 00 0A 01 02", "01 10 00 00 00 02", Table::HoldingRegisters, 1, 0x0102},
      // (1004h AND 00F2h) OR (0025h AND NOT 00F2h)
      {"mask write", "01 16 00 04 00 F2 00 25", "01 16 00 04 00 F2 00 25", Table::HoldingRegisters, 4, 0x0005},
      {"read/write reads what it wrote", "01 17 00 00 00 03 00 01 00 02 04 AA AA BB BB", "01 17 06 10 00 AA AA BB BB",
       Table::HoldingRegisters, 2, 0xBBBB},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    MapSlaveData map = KnownMap();
    map.SetLimit(Table::HoldingRegisters, 9, 0xBEEF);  // a value right at its limit is held
    TrafficCounters counters;
    EXPECT_EQ(Answer(Hex(c.request), kAll, map, counters), Hex(c.answer));
    EXPECT_EQ(map.Get(c.table, c.address), c.after);
    EXPECT_EQ(counters, (TrafficCounters{.SlaveRequestCount = 1}));
  }
}

// Each bit of the mask switches one exception answer or one write function;
// values the table cannot hold or give are exception 4 and change nothing.
TEST(SlaveEmulation, MaskBitsLimitsAndTheirCounting) {
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
      {"Ex4 off: counted", "01 06 00 05 00 65", kAll & ~kAnswerEx4, "", {.SlaveRequestCount = 1, .Ex4 = 1}},
      {"15 not served", "01 0F 00 00 00 01 01 01", kAll & ~kServe15, "01 8F 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"22 not served", "01 16 00 04 00 F2 00 25", kAll & ~kServe22, "01 96 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"23 not served",
       "01 17 00 00 00 01 00 01 00 01 02 00 07",
       kAll & ~kServe23,
       "01 97 01",
       {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"16 not served", "01 10 00 00 00 01 02 00 01", kAll & ~kServe16, "01 90 01", {.SlaveRequestCount = 1, .Ex1 = 1}},
      {"no function code at all", "01", kAll, "", {.SlaveRequestCount = 1}},
      {"register above its limit", "01 06 00 05 00 65", kAll, "01 86 04", {.SlaveRequestCount = 1, .Ex4 = 1}},
      {"mask result above its limit", "01 16 00 05 00 00 00 65", kAll, "01 96 04", {.SlaveRequestCount = 1, .Ex4 = 1}},
      {"coil that must stay off", "01 05 00 03 FF 00", kAll, "01 85 04", {.SlaveRequestCount = 1, .Ex4 = 1}},
      {"unreadable input", "01 04 00 00 00 05", kAll, "01 84 04", {.SlaveRequestCount = 1, .Ex4 = 1}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    MapSlaveData map = KnownMap();
    map.SetLimit(Table::HoldingRegisters, 5, 100);
    map.SetLimit(Table::Coils, 3, 0);
    map.SetUnreadable(Table::InputRegisters, 2);
    TrafficCounters counters;
    EXPECT_EQ(Answer(Hex(c.request), c.mask, map, counters), Hex(c.answer));
    EXPECT_EQ(counters, c.after);
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
      {"RTU broadcast", WithCrc(Hex("00 06 00 01 00 03")), false, std::nullopt},
      {"RTU 247", WithCrc(Hex("F7 03 00 00 00 01")), false, 247},
      {"RTU 248", WithCrc(Hex("F8 03 00 00 00 01")), false, std::nullopt},
      {"RTU bad CRC", Hex("01 03 00 00 00 01 84 0B"), false, std::nullopt},
      {"ASCII", AsAscii(read), true, 1},
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
