// libFuzzer target: any bytes as what a port receives. As the master's answer
// (of any length and result code, RTU and ASCII, to a few fixed requests) the
// checks must stay inside the buffer and the message length, and only hand
// over what they accepted; as a request to an emulated slave the check and
// the answer must stay inside the buffer and leave room for the port's seal.
//
// Input: byte 0 selects the path, framing and request; byte 1 the result
// code; bytes 2 and 3 a signed change to the received length; the rest is the
// frame.

#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "modbus/FrameCodec.h"
#include "modbus/MapSlaveData.h"
#include "modbus/MasterTransaction.h"
#include "modbus/RequestFrame.h"
#include "modbus/SlaveEmulation.h"

namespace {

using namespace quorvel;
using namespace quorvel::MODBUS;

constexpr std::uint8_t kID = 1;

void Check(bool condition) {
  if (!condition) std::abort();
}

ReqProp Request(int which) {
  struct Fixed {
    std::int32_t func, readAddr, readQnt, writeAddr, writeQnt;
    std::vector<std::uint8_t> data;
  };
  static const Fixed kFixed[] = {
      {3, 0, 2, 0, 0, {}},        {1, 0, 10, 0, 0, {}},
      {5, 0, 0, 0xAC, 1, {0, 1}}, {16, 0, 0, 1, 2, {0, 1, 0, 2}},
      {6, 0, 0, 1, 1, {0, 3}},    {15, 0, 0, 0x13, 10, {0xCD, 0x01}},
      {23, 3, 2, 3, 1, {0, 1}},   {8, 0, 0, 0, 0, {}},
  };
  const Fixed& f = kFixed[which % 8];
  RequestRecord record;
  record.Func = f.func;
  record.ReadAddr = f.readAddr;
  record.ReadQnt = f.readQnt;
  record.WriteAddr = f.writeAddr;
  record.WriteQnt = f.writeQnt;
  record.Data = f.data;
  record.Control = which >= 8 ? 1 : 0;
  record.Label = which % 3 == 0 ? "Pump" : "";
  ReqProp request;
  request.LoadRecord(record);
  return request;
}

std::int32_t Sum(const TrafficCounters& c) {
  return c.TOErr + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr + c.Ex1 + c.Ex2 + c.Ex3 + c.Ex4;
}

void AsMasterAnswer(int which, bool ascii, std::int32_t code, std::int32_t length,
                    std::span<const std::uint8_t> frame) {
  std::vector<std::uint8_t> buffer(ascii ? 599 : 299, 0);
  std::copy(frame.begin(), frame.begin() + std::min(frame.size(), buffer.size()), buffer.begin());
  const ReqProp request = Request(which);
  TrafficCounters counters;
  const std::int32_t received = length;
  const ResponceOutcome out = CheckResponce(code, length, buffer, request, kID, ascii, counters);

  Check(Sum(counters) <= 1);
  if (out.keepWaiting) Check(Sum(counters) == 0 && !out.deliver);
  if (out.deliver) {
    Check(out.errorKind == ErrorKind::None);
    Check(length >= 1 && length <= received && static_cast<std::size_t>(length) <= buffer.size());
    Check(buffer[0] == kID);
  }
  Check(out.show == (request.Control() != 0));
  if (out.show) Check(!out.message.empty());
}

void AsSlaveRequest(bool ascii, std::uint16_t mask, std::int32_t delta, std::span<const std::uint8_t> frame) {
  MapSlaveData map;
  for (int i = 0; i < 16; ++i) map.Set(Table::Coils, i, i % 3 == 0);
  for (int i = 100; i < 108; ++i) map.Set(Table::DiscreteInputs, i, 1);
  for (int i = 0; i < 10; ++i) map.Set(Table::HoldingRegisters, i, static_cast<std::uint16_t>(0x1000 + i));
  for (int i = 0; i < 5; ++i) map.Set(Table::InputRegisters, i, static_cast<std::uint16_t>(i));
  map.SetLimit(Table::HoldingRegisters, 5, 100);
  map.SetUnreadable(Table::InputRegisters, 3);

  std::vector<std::uint8_t> buffer(ascii ? 599 : 299, 0);
  std::copy(frame.begin(), frame.begin() + std::min(frame.size(), buffer.size()), buffer.begin());
  std::int32_t count = static_cast<std::int32_t>(frame.size()) + delta;
  const std::int32_t received = count;

  // Through the port's check when it passes; straight in otherwise, so that
  // every count, short or beyond the buffer, reaches the answer too.
  if (CheckRequest(buffer, count, ascii)) {
    Check(count >= 6 && count < received && buffer[0] >= 1 && buffer[0] <= 247);
  }
  TrafficCounters counters;
  const std::int32_t n = BuildResponce(buffer, count, mask, map, counters);
  Check(counters.SlaveRequestCount == 1);
  Check(Sum(counters) <= 1);
  Check(n == 0 || (n >= 3 && static_cast<std::size_t>(n) + 2 <= buffer.size()));
  if (n > 0) Check(ascii ? ToASCII(buffer, n) : (AddCRC(buffer, n), CheckCRC(buffer, n)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const std::uint8_t select = data[0];
  const bool ascii = (select & 0x02) != 0;
  const auto delta = static_cast<std::int16_t>(data[2] | (data[3] << 8));
  const std::span<const std::uint8_t> frame(data + 4, size - 4);
  // Small changes to the length most of the time, any change now and then.
  const std::int32_t change = (select & 0x80) != 0 ? delta : delta % 4;

  if ((select & 0x01) == 0) {
    static constexpr std::int32_t kCodes[] = {1, 4, 8, 16, 1, 4, 0, 2};
    const std::int32_t code = (data[1] & 0xF8) == 0xF8 ? data[1] : kCodes[data[1] & 0x07];
    AsMasterAnswer((select >> 2) & 0x0F, ascii, code, static_cast<std::int32_t>(frame.size()) + change, frame);
  } else {
    AsSlaveRequest(ascii, data[1], change, frame);
  }
  return 0;
}
