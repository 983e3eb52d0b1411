#pragma once

// A slave's tables as plain maps from address to value, for tools and tests
// that need a device to talk to without a panel. Like a panel, it holds only
// the addresses it was given: reads of gaps within a table's range give 0,
// writes to them go nowhere.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>

#include "modbus/SlaveData.h"

namespace quorvel::MODBUS {

class MapSlaveData : public SlaveData {
 public:
  // Creates or sets the register (or bit, value 0 or 1) at `address`.
  void Set(Table table, std::int32_t address, std::uint16_t value);
  std::optional<std::uint16_t> Get(Table table, std::int32_t address) const;
  // Values above `highest` cannot be held at that address: writing one fails.
  void SetLimit(Table table, std::int32_t address, std::uint16_t highest);
  // Reading that address fails, as an element whose value cannot be encoded.
  void SetUnreadable(Table table, std::int32_t address);

  bool HasElements(Table table) const override;
  std::int32_t Lowest(Table table) const override;
  std::int32_t Highest(Table table) const override;
  bool ReadRegisters(Table table, std::int32_t start, std::span<std::uint8_t> out) override;
  bool ReadBits(Table table, std::int32_t start, std::int32_t count, std::span<std::uint8_t> out) override;
  bool WriteRegisters(std::int32_t start, std::span<const std::uint8_t> data) override;
  bool WriteCoils(std::int32_t start, std::int32_t count, std::span<const std::uint8_t> packed) override;

 private:
  struct Cells {
    std::map<std::int32_t, std::uint16_t> values;
    std::map<std::int32_t, std::uint16_t> limits;
    std::set<std::int32_t> unreadable;
  };
  Cells& Of(Table table) { return tables_[static_cast<std::size_t>(table)]; }
  const Cells& Of(Table table) const { return tables_[static_cast<std::size_t>(table)]; }
  bool Read(Table table, std::int32_t address, std::uint16_t& value) const;
  bool Holdable(Table table, std::int32_t address, std::uint16_t value) const;

  std::array<Cells, 4> tables_;
};

}  // namespace quorvel::MODBUS
