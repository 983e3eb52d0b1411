#pragma once

// Building requests and frames for the protocol tests.

#include <cstdint>
#include <string>
#include <vector>

#include "modbus/FrameCodec.h"
#include "modbus/MapSlaveData.h"
#include "project/ReqProp.h"

namespace quorvel::MODBUS::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Hex(const std::string& hex) {
  Bytes bytes;
  std::string digits;
  for (char c : hex)
    if (c != ' ') digits += c;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// b() one byte, w() a 16-bit field high byte first.
struct Pdu {
  Bytes bytes;
  Pdu& b(int v) {
    bytes.push_back(static_cast<std::uint8_t>(v));
    return *this;
  }
  Pdu& w(int v) { return b(v >> 8).b(v & 0xFF); }
  Pdu& fill(int count, int v) {
    for (int i = 0; i < count; ++i) b(v);
    return *this;
  }
};

struct Req {
  std::int32_t func = 3;
  std::int32_t readAddr = 0;
  std::int32_t readQnt = 0;
  std::int32_t writeAddr = 0;
  std::int32_t writeQnt = 0;
  Bytes data{};
  std::int32_t control = 0;
  std::string label{};
};

// The request as a project would hold it, data buffer exactly as given.
inline ReqProp MakeRequest(const Req& r) {
  RequestRecord record;
  // Loaded as a plain write so that a mask write keeps the masks given here.
  record.Func = r.func == 22 ? 16 : r.func;
  record.ReadAddr = r.readAddr;
  record.ReadQnt = r.readQnt;
  record.WriteAddr = r.writeAddr;
  record.WriteQnt = r.writeQnt;
  record.Control = r.control;
  record.Data = r.data;
  record.Label = r.label;
  ReqProp request;
  request.LoadRecord(record);
  request.SetFunc(r.func);
  return request;
}

inline Bytes WithCrc(Bytes message) {
  const std::uint16_t crc = Crc16(message);
  message.push_back(static_cast<std::uint8_t>(crc & 0xFF));
  message.push_back(static_cast<std::uint8_t>(crc >> 8));
  return message;
}

inline Bytes AsAscii(Bytes message) {
  const auto n = static_cast<std::int32_t>(message.size());
  message.resize(message.size() * 2 + 5);
  ToASCII(message, n);
  return message;
}

// Coils 0..15 = CD 6B packed, inputs 100..107 alternate 0, 1, holding 0..9 =
// 0x1000 + address, input registers 0..4 = 0x2000 + address.
inline MapSlaveData KnownMap() {
  MapSlaveData map;
  for (int i = 0; i < 16; ++i) map.Set(Table::Coils, i, ((i < 8 ? 0xCD : 0x6B) >> (i % 8)) & 1);
  for (int i = 100; i < 108; ++i) map.Set(Table::DiscreteInputs, i, i % 2);
  for (int i = 0; i < 10; ++i) map.Set(Table::HoldingRegisters, i, static_cast<std::uint16_t>(0x1000 + i));
  for (int i = 0; i < 5; ++i) map.Set(Table::InputRegisters, i, static_cast<std::uint16_t>(0x2000 + i));
  return map;
}

}  // namespace quorvel::MODBUS::test
