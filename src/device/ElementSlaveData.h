#pragma once

// The emulated device's data tables, served from a Slave window's panel
// elements: reads give the elements' current (emulated) values as value entry
// would encode them; writes go into the elements, refused as a whole when an
// element cannot hold what it would become.

#include "modbus/SlaveData.h"

namespace quorvel {

class frmQuorvel;

class ElementSlaveData final : public MODBUS::SlaveData {
 public:
  explicit ElementSlaveData(frmQuorvel& window) : window_(window) {}

  bool HasElements(MODBUS::Table table) const override;
  std::int32_t Lowest(MODBUS::Table table) const override;
  std::int32_t Highest(MODBUS::Table table) const override;
  bool ReadRegisters(MODBUS::Table table, std::int32_t start, std::span<std::uint8_t> out) override;
  bool ReadBits(MODBUS::Table table, std::int32_t start, std::int32_t count, std::span<std::uint8_t> out) override;
  bool WriteRegisters(std::int32_t start, std::span<const std::uint8_t> data) override;
  bool WriteCoils(std::int32_t start, std::int32_t count, std::span<const std::uint8_t> packed) override;

 private:
  frmQuorvel& window_;
};

}  // namespace quorvel
