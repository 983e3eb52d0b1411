#include "modbus/SlaveEmulation.h"

#include <algorithm>
#include <array>

#include "modbus/FrameCodec.h"
#include "modbus/RequestFrame.h"

namespace quorvel::MODBUS {
namespace {

constexpr std::int32_t kLowestSlave = 1;
constexpr std::int32_t kHighestSlave = 247;
constexpr std::int32_t kShortestRtuRequest = 8;
constexpr std::int32_t kShortestAsciiRequest = 17;
// The CRC that the port appends must still fit behind any answer.
constexpr std::size_t kSealRoom = 2;
constexpr std::size_t kExceptionLength = 3;

class Responder {
 public:
  Responder(std::span<std::uint8_t> buffer, std::int32_t count, std::uint16_t exeptions, SlaveData& data,
            TrafficCounters& counters)
      : buf_(buffer),
        count_(std::min<std::int64_t>(count, static_cast<std::int64_t>(buffer.size()))),
        exeptions_(exeptions),
        data_(data),
        counters_(counters) {}

  std::int32_t Answer() {
    const std::int32_t func = buf_[1];
    switch (func) {
      case 1:
        return ReadBits(Table::Coils);
      case 2:
        return ReadBits(Table::DiscreteInputs);
      case 3:
        return ReadRegisters(Table::HoldingRegisters);
      case 4:
        return ReadRegisters(Table::InputRegisters);
      case 5:
        return WriteCoil();
      case 6:
        return WriteRegister();
      case 15:
        return WriteCoils();
      case 16:
        return WriteRegisters();
      case 22:
        return MaskWrite();
      case 23:
        return ReadWrite();
      default:
        // Below 1, above 23 and the codes between that this slave has no use for.
        return Exception(1);
    }
  }

 private:
  bool Holds(std::int64_t n) const { return count_ >= n; }
  std::int32_t Word(std::size_t i) const { return buf_[i] * 256 + buf_[i + 1]; }
  bool Served(Table table, std::uint16_t bit = 0) const {
    return data_.HasElements(table) && (bit == 0 || (exeptions_ & bit) != 0);
  }
  bool InRange(Table table, std::int64_t start, std::int64_t quantity) const {
    return start >= data_.Lowest(table) && start + quantity - 1 <= data_.Highest(table);
  }
  // Room for `length` answer bytes and the CRC behind them.
  bool Fits(std::int64_t length) const { return length + kSealRoom <= buf_.size(); }

  std::int32_t Exception(std::int32_t code) {
    buf_[1] |= 0x80;
    static constexpr std::uint16_t kEnabled[] = {0, kAnswerEx1, kAnswerEx2, kAnswerEx3, kAnswerEx4};
    const bool enabled = (exeptions_ & kEnabled[code]) != 0;
    // An illegal function that is not answered is not counted either; the
    // other codes count what the slave found, answered or not.
    if (code == 1) {
      if (!enabled) return 0;
      CountUp(counters_.Ex1);
    } else {
      std::int32_t* counter[] = {nullptr, nullptr, &counters_.Ex2, &counters_.Ex3, &counters_.Ex4};
      CountUp(*counter[code]);
      if (!enabled) return 0;
    }
    buf_[2] = static_cast<std::uint8_t>(code);
    return static_cast<std::int32_t>(kExceptionLength);
  }

  // Byte count and data after the echoed address and function.
  std::int32_t DataAnswer(std::int32_t bytes) {
    buf_[2] = static_cast<std::uint8_t>(bytes);
    return 3 + bytes;
  }

  std::int32_t ReadBits(Table table) {
    if (!Served(table)) return Exception(1);
    if (!Holds(6)) return Exception(3);
    const std::int32_t start = Word(2);
    const std::int32_t quantity = Word(4);
    if (quantity < 1 || quantity > 2000) return Exception(3);
    if (!InRange(table, start, quantity)) return Exception(2);
    const std::int32_t bytes = CoilBytes(quantity);
    if (!Fits(3 + bytes)) return Exception(4);
    const auto out = buf_.subspan(3, bytes);
    std::fill(out.begin(), out.end(), 0);
    if (!data_.ReadBits(table, start, quantity, out)) return Exception(4);
    return DataAnswer(bytes);
  }

  std::int32_t ReadRegisters(Table table) {
    if (!Served(table)) return Exception(1);
    if (!Holds(6)) return Exception(3);
    const std::int32_t start = Word(2);
    const std::int32_t quantity = Word(4);
    if (quantity < 1 || quantity > 125) return Exception(3);
    if (!InRange(table, start, quantity)) return Exception(2);
    return ReadInto(table, start, quantity);
  }

  std::int32_t ReadInto(Table table, std::int32_t start, std::int32_t quantity) {
    const std::int32_t bytes = 2 * quantity;
    if (!Fits(3 + bytes)) return Exception(4);
    if (!data_.ReadRegisters(table, start, buf_.subspan(3, bytes))) return Exception(4);
    return DataAnswer(bytes);
  }

  std::int32_t WriteCoil() {
    if (!Served(Table::Coils)) return Exception(1);
    if (!Holds(6)) return Exception(3);
    const std::int32_t address = Word(2);
    const std::int32_t value = Word(4);
    if (value != 0x0000 && value != 0xFF00) return Exception(3);
    if (!InRange(Table::Coils, address, 1)) return Exception(2);
    const std::array<std::uint8_t, 1> bit{static_cast<std::uint8_t>(value != 0 ? 1 : 0)};
    if (!data_.WriteCoils(address, 1, bit)) return Exception(4);
    return 6;
  }

  std::int32_t WriteRegister() {
    if (!Served(Table::HoldingRegisters)) return Exception(1);
    if (!Holds(6)) return Exception(3);
    const std::int32_t address = Word(2);
    if (!InRange(Table::HoldingRegisters, address, 1)) return Exception(2);
    if (!data_.WriteRegisters(address, buf_.subspan(4, 2))) return Exception(4);
    return 6;
  }

  std::int32_t WriteCoils() {
    if (!Served(Table::Coils, kServe15)) return Exception(1);
    if (!Holds(7)) return Exception(3);
    const std::int32_t start = Word(2);
    const std::int32_t quantity = Word(4);
    const std::int32_t bytes = buf_[6];
    if (quantity < 1 || quantity > 1968 || bytes != CoilBytes(quantity) || !Holds(7 + bytes)) return Exception(3);
    if (!InRange(Table::Coils, start, quantity)) return Exception(2);
    if (!data_.WriteCoils(start, quantity, buf_.subspan(7, bytes))) return Exception(4);
    return 6;
  }

  std::int32_t WriteRegisters() {
    if (!Served(Table::HoldingRegisters, kServe16)) return Exception(1);
    if (!Holds(7)) return Exception(3);
    const std::int32_t start = Word(2);
    const std::int32_t quantity = Word(4);
    const std::int32_t bytes = buf_[6];
    if (quantity < 1 || quantity > 123 || bytes != 2 * quantity || !Holds(7 + bytes)) return Exception(3);
    if (!InRange(Table::HoldingRegisters, start, quantity)) return Exception(2);
    if (!data_.WriteRegisters(start, buf_.subspan(7, bytes))) return Exception(4);
    return 6;
  }

  std::int32_t MaskWrite() {
    if (!Served(Table::HoldingRegisters, kServe22)) return Exception(1);
    if (!Holds(8)) return Exception(3);
    const std::int32_t address = Word(2);
    if (!InRange(Table::HoldingRegisters, address, 1)) return Exception(2);
    std::array<std::uint8_t, 2> reg{};
    if (!data_.ReadRegisters(Table::HoldingRegisters, address, reg)) return Exception(4);
    const std::uint32_t current = reg[0] * 256u + reg[1];
    const std::uint32_t andMask = Word(4);
    const std::uint32_t orMask = Word(6);
    const std::uint32_t result = (current & andMask) | (orMask & ~andMask);
    reg = {static_cast<std::uint8_t>((result >> 8) & 0xFF), static_cast<std::uint8_t>(result & 0xFF)};
    if (!data_.WriteRegisters(address, reg)) return Exception(4);
    return 8;
  }

  std::int32_t ReadWrite() {
    if (!Served(Table::HoldingRegisters, kServe23)) return Exception(1);
    if (!Holds(11)) return Exception(3);
    const std::int32_t readStart = Word(2);
    const std::int32_t readQuantity = Word(4);
    const std::int32_t writeStart = Word(6);
    const std::int32_t writeQuantity = Word(8);
    const std::int32_t bytes = buf_[10];
    if (readQuantity < 1 || readQuantity > 125 || writeQuantity < 1 || writeQuantity > 121 ||
        bytes != 2 * writeQuantity || !Holds(11 + bytes)) {
      return Exception(3);
    }
    if (!InRange(Table::HoldingRegisters, readStart, readQuantity) ||
        !InRange(Table::HoldingRegisters, writeStart, writeQuantity)) {
      return Exception(2);
    }
    // Refused before the write, so that a refused request changes nothing.
    if (!Fits(3 + 2 * readQuantity)) return Exception(4);
    if (!data_.WriteRegisters(writeStart, buf_.subspan(11, bytes))) return Exception(4);
    return ReadInto(Table::HoldingRegisters, readStart, readQuantity);
  }

  std::span<std::uint8_t> buf_;
  std::int64_t count_;
  std::uint16_t exeptions_;
  SlaveData& data_;
  TrafficCounters& counters_;
};

}  // namespace

std::optional<std::uint8_t> CheckRequest(std::span<std::uint8_t> buffer, std::int32_t& count, bool ascii) {
  std::int32_t n = 0;
  if (ascii) {
    if (count < kShortestAsciiRequest || !FromASCII(buffer, count)) return std::nullopt;
    n = (count - 5) / 2;
  } else {
    if (count < kShortestRtuRequest || !CheckCRC(buffer, count - 2)) return std::nullopt;
    n = count - 2;
  }
  const std::uint8_t address = buffer[0];
  if (address < kLowestSlave || address > kHighestSlave) return std::nullopt;
  count = n;
  return address;
}

std::int32_t BuildResponce(std::span<std::uint8_t> buffer, std::int32_t count, std::uint16_t exeptions, SlaveData& data,
                           TrafficCounters& counters) {
  CountUp(counters.SlaveRequestCount);
  // Without a function code there is nothing to answer to, and without room
  // for an exception answer and its CRC nothing can be said.
  if (count < 2 || buffer.size() < kExceptionLength + kSealRoom) return 0;
  return Responder(buffer, count, exeptions, data, counters).Answer();
}

}  // namespace quorvel::MODBUS
