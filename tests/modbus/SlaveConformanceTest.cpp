// Every served function at the edges of the known map (coils 0..15, discrete
// inputs 100..107, holding registers 0..9, input registers 0..4): first and
// last address, one past the end, quantities 0, the largest and one more,
// byte counts that disagree with the quantity, requests shorter than they
// say, and function codes nobody serves. Other addresses and broadcasts never
// get here: CheckRequest and the port's choice of window drop them.

#include <gtest/gtest.h>

#include <set>

#include "ModbusTestSupport.h"
#include "modbus/SlaveEmulation.h"

namespace quorvel::MODBUS {
namespace {

using test::Bytes;
using test::KnownMap;
using test::Pdu;

struct Case {
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

const Case kMatrix[] = {
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

TEST(SlaveConformance, AnswersEachRequestOfTheMatrix) {
  for (const Case& c : kMatrix) {
    SCOPED_TRACE(c.name);
    const Bytes request = WithAddress(c.request);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    Bytes buffer(299, 0);
    std::copy(request.begin(), request.end(), buffer.begin());
    const std::int32_t n = BuildResponce(buffer, static_cast<std::int32_t>(request.size()), 0xFF, map, counters);
    const Bytes answer(buffer.begin(), buffer.begin() + n);
    if (c.exception == 0) {
      ExpectNormalAnswer(request, answer);
      EXPECT_EQ(counters, (TrafficCounters{.SlaveRequestCount = 1}));
    } else {
      EXPECT_EQ(answer,
                (Bytes{0x01, static_cast<std::uint8_t>(request[1] | 0x80), static_cast<std::uint8_t>(c.exception)}));
      const std::int32_t* counted[] = {nullptr, &counters.Ex1, &counters.Ex2, &counters.Ex3, &counters.Ex4};
      EXPECT_EQ(*counted[c.exception], 1);
      EXPECT_EQ(counters.Ex1 + counters.Ex2 + counters.Ex3 + counters.Ex4, 1);
    }
  }
}

TEST(SlaveConformance, ExceptionsSwitchedOffAreNotAnsweredButCountedExceptEx1) {
  for (const Case& c : kMatrix) {
    if (c.exception == 0) continue;
    SCOPED_TRACE(c.name);
    const Bytes request = WithAddress(c.request);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    Bytes buffer(299, 0);
    std::copy(request.begin(), request.end(), buffer.begin());
    // Every write function served, no exception answered.
    EXPECT_EQ(BuildResponce(buffer, static_cast<std::int32_t>(request.size()), 0xF0, map, counters), 0);
    const std::int32_t counted[] = {0, counters.Ex1, counters.Ex2, counters.Ex3, counters.Ex4};
    EXPECT_EQ(counted[c.exception], c.exception == 1 ? 0 : 1);
    EXPECT_EQ(counters.SlaveRequestCount, 1);
  }
}

TEST(SlaveConformance, EveryFunctionNotServedIsIllegal) {
  const std::set<int> served = {1, 2, 3, 4, 5, 6, 15, 16, 22, 23};
  for (int func = 0; func < 256; ++func) {
    if (served.contains(func)) continue;
    SCOPED_TRACE(func);
    MapSlaveData map = KnownMap();
    TrafficCounters counters;
    Bytes buffer(299, 0);
    const Bytes request = WithAddress(R(func, 0, 1));
    std::copy(request.begin(), request.end(), buffer.begin());
    ASSERT_EQ(BuildResponce(buffer, 6, 0xFF, map, counters), 3);
    EXPECT_EQ(buffer[1], func | 0x80);
    EXPECT_EQ(buffer[2], 1);
  }
}

}  // namespace
}  // namespace quorvel::MODBUS
