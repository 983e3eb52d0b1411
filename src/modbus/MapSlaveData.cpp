#include "modbus/MapSlaveData.h"

namespace quorvel::MODBUS {
namespace {

// The range an empty table reports, as a panel without elements does.
constexpr std::int32_t kEmptyLowest = 65535;
constexpr std::int32_t kEmptyHighest = 0;

bool BitAt(std::span<const std::uint8_t> packed, std::int32_t i) {
  return ((packed[static_cast<std::size_t>(i / 8)] >> (i % 8)) & 1) != 0;
}

}  // namespace

void MapSlaveData::Set(Table table, std::int32_t address, std::uint16_t value) { Of(table).values[address] = value; }

std::optional<std::uint16_t> MapSlaveData::Get(Table table, std::int32_t address) const {
  const auto& values = Of(table).values;
  const auto it = values.find(address);
  if (it == values.end()) return std::nullopt;
  return it->second;
}

void MapSlaveData::SetLimit(Table table, std::int32_t address, std::uint16_t highest) {
  Of(table).limits[address] = highest;
}

void MapSlaveData::SetUnreadable(Table table, std::int32_t address) { Of(table).unreadable.insert(address); }

bool MapSlaveData::HasElements(Table table) const { return !Of(table).values.empty(); }

std::int32_t MapSlaveData::Lowest(Table table) const {
  const auto& values = Of(table).values;
  return values.empty() ? kEmptyLowest : values.begin()->first;
}

std::int32_t MapSlaveData::Highest(Table table) const {
  const auto& values = Of(table).values;
  return values.empty() ? kEmptyHighest : values.rbegin()->first;
}

bool MapSlaveData::Read(Table table, std::int32_t address, std::uint16_t& value) const {
  const Cells& cells = Of(table);
  if (cells.unreadable.contains(address)) return false;
  const auto it = cells.values.find(address);
  value = it == cells.values.end() ? 0 : it->second;
  return true;
}

bool MapSlaveData::Holdable(Table table, std::int32_t address, std::uint16_t value) const {
  const auto& limits = Of(table).limits;
  const auto it = limits.find(address);
  return it == limits.end() || value <= it->second;
}

bool MapSlaveData::ReadRegisters(Table table, std::int32_t start, std::span<std::uint8_t> out) {
  for (std::size_t i = 0; i + 1 < out.size(); i += 2) {
    std::uint16_t value = 0;
    if (!Read(table, start + static_cast<std::int32_t>(i / 2), value)) return false;
    out[i] = static_cast<std::uint8_t>(value >> 8);
    out[i + 1] = static_cast<std::uint8_t>(value & 0xFF);
  }
  return true;
}

bool MapSlaveData::ReadBits(Table table, std::int32_t start, std::int32_t count, std::span<std::uint8_t> out) {
  for (std::int32_t i = 0; i < count && static_cast<std::size_t>(i / 8) < out.size(); ++i) {
    std::uint16_t value = 0;
    if (!Read(table, start + i, value)) return false;
    if (value != 0) out[static_cast<std::size_t>(i / 8)] |= static_cast<std::uint8_t>(1u << (i % 8));
  }
  return true;
}

bool MapSlaveData::WriteRegisters(std::int32_t start, std::span<const std::uint8_t> data) {
  const Table table = Table::HoldingRegisters;
  const auto count = static_cast<std::int32_t>(data.size() / 2);
  auto value = [&](std::int32_t i) { return static_cast<std::uint16_t>(data[2 * i] * 256 + data[2 * i + 1]); };
  for (std::int32_t i = 0; i < count; ++i) {
    if (!Holdable(table, start + i, value(i))) return false;
  }
  auto& values = Of(table).values;
  for (std::int32_t i = 0; i < count; ++i) {
    const auto it = values.find(start + i);
    if (it != values.end()) it->second = value(i);
  }
  return true;
}

bool MapSlaveData::WriteCoils(std::int32_t start, std::int32_t count, std::span<const std::uint8_t> packed) {
  const Table table = Table::Coils;
  if (count < 0 || static_cast<std::size_t>(count) > packed.size() * 8) return false;
  for (std::int32_t i = 0; i < count; ++i) {
    if (!Holdable(table, start + i, BitAt(packed, i) ? 1 : 0)) return false;
  }
  auto& values = Of(table).values;
  for (std::int32_t i = 0; i < count; ++i) {
    const auto it = values.find(start + i);
    if (it != values.end()) it->second = BitAt(packed, i) ? 1 : 0;
  }
  return true;
}

}  // namespace quorvel::MODBUS
