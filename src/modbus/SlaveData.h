#pragma once

// What an emulated slave answers from: its four data tables. The device
// window serves them from its panel's elements; MapSlaveData from plain maps.

#include <cstdint>
#include <span>

namespace quorvel::MODBUS {

enum class Table { Coils, DiscreteInputs, HoldingRegisters, InputRegisters };

class SlaveData {
 public:
  virtual ~SlaveData() = default;

  virtual bool HasElements(Table table) const = 0;
  // The lowest and highest address the table covers; an empty table has its
  // highest below its lowest.
  virtual std::int32_t Lowest(Table table) const = 0;
  virtual std::int32_t Highest(Table table) const = 0;

  // Reads out.size() / 2 registers from `start`, each high byte first.
  // Reading may advance emulated values. False when a value cannot be given.
  virtual bool ReadRegisters(Table table, std::int32_t start, std::span<std::uint8_t> out) = 0;
  // Reads `count` bits from `start` into out (CoilBytes(count) bytes, zeroed
  // by the caller), the first bit in the lowest bit of the first byte.
  virtual bool ReadBits(Table table, std::int32_t start, std::int32_t count, std::span<std::uint8_t> out) = 0;

  // Writes data.size() / 2 holding registers from `start`, high byte first.
  // False, with the table left as it was, when a value cannot be held.
  virtual bool WriteRegisters(std::int32_t start, std::span<const std::uint8_t> data) = 0;
  // Writes `count` coils from `start`, packed as ReadBits packs them. False,
  // with the table left as it was, when a value cannot be held.
  virtual bool WriteCoils(std::int32_t start, std::int32_t count, std::span<const std::uint8_t> packed) = 0;
};

}  // namespace quorvel::MODBUS
