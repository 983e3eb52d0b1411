#include "device/ElementSlaveData.h"

#include <cmath>
#include <utility>
#include <vector>

#include "convert/RegisterDecode.h"
#include "convert/RegisterEncode.h"
#include "convert/ValueEntry.h"
#include "device/frmQuorvel.h"

namespace quorvel {
namespace {

Table PanelTable(MODBUS::Table table) {
  switch (table) {
    case MODBUS::Table::Coils:
      return Table::Coil;
    case MODBUS::Table::DiscreteInputs:
      return Table::Discrete;
    case MODBUS::Table::HoldingRegisters:
      return Table::Holding;
    case MODBUS::Table::InputRegisters:
      return Table::InputReg;
  }
  return Table::Holding;
}

// Which bytes of its register image an element owns: a byte element only its
// half of the register, every other element all of its registers.
bool OwnsByte(const AddressCode& code, int byteIndex) {
  if (code.typeField() == 4) return byteIndex % 2 == 0;
  if (code.typeField() == 5) return byteIndex % 2 == 1;
  return true;
}

bool GetBit(std::span<const std::uint8_t> packed, std::int64_t bit) {
  return (packed[static_cast<std::size_t>(bit / 8)] >> (bit % 8)) & 1;
}

void SetBit(std::span<std::uint8_t> packed, std::int64_t bit, bool on) {
  auto& byte = packed[static_cast<std::size_t>(bit / 8)];
  const auto mask = static_cast<std::uint8_t>(1u << (bit % 8));
  byte = on ? static_cast<std::uint8_t>(byte | mask) : static_cast<std::uint8_t>(byte & ~mask);
}

}  // namespace

bool ElementSlaveData::HasElements(MODBUS::Table table) const { return !window_.ElementsOf(PanelTable(table)).empty(); }

std::int32_t ElementSlaveData::Lowest(MODBUS::Table table) const { return window_.Range(PanelTable(table)).lowest; }

std::int32_t ElementSlaveData::Highest(MODBUS::Table table) const { return window_.Range(PanelTable(table)).highest; }

bool ElementSlaveData::ReadRegisters(MODBUS::Table table, std::int32_t start, std::span<std::uint8_t> out) {
  const std::int32_t end = start + static_cast<std::int32_t>(out.size() / 2);
  for (const auto& [key, element] : window_.ElementsOf(PanelTable(table))) {
    const AddressCode code(element->Address());
    const std::int32_t a = code.address();
    if (a + code.width() <= start || a >= end) continue;
    window_.EmulatedValueStep(*element);
    if (!InEntryRange(element->Data(), code.raw)) return false;
    const EncodedValue image = EncodeValue(element->Data(), code.raw);
    for (int i = 0; i < image.size; ++i) {
      const std::int32_t reg = a + i / 2;
      if (reg < start || reg >= end || !OwnsByte(code, i)) continue;
      out[static_cast<std::size_t>((reg - start) * 2 + i % 2)] = image.bytes[static_cast<std::size_t>(i)];
    }
  }
  return true;
}

bool ElementSlaveData::ReadBits(MODBUS::Table table, std::int32_t start, std::int32_t count,
                                std::span<std::uint8_t> out) {
  for (const auto& [key, element] : window_.ElementsOf(PanelTable(table))) {
    const AddressCode code(element->Address());
    const std::int32_t a = code.address();
    if (a + code.width() <= start || a >= start + count) continue;
    window_.EmulatedValueStep(*element);
    const EncodedValue image = EncodeValue(element->Data(), code.raw);
    for (int i = 0; i < code.width(); ++i) {
      const std::int32_t bit = a + i;
      if (bit >= start && bit < start + count) SetBit(out, bit - start, GetBit(image.view(), i));
    }
  }
  return true;
}

bool ElementSlaveData::WriteRegisters(std::int32_t start, std::span<const std::uint8_t> data) {
  const std::int32_t end = start + static_cast<std::int32_t>(data.size() / 2);
  // Work out every element's new value first, so a refusal changes nothing.
  std::vector<std::pair<CtrlProp*, double>> updates;
  for (const auto& [key, element] : window_.HoldingElements) {
    const AddressCode code(element->Address());
    const std::int32_t a = code.address();
    if (a + code.width() <= start || a >= end) continue;
    EncodedValue image = EncodeValue(element->Data(), code.raw);
    for (int i = 0; i < image.size; ++i) {
      const std::int32_t reg = a + i / 2;
      if (reg >= start && reg < end) image.bytes[static_cast<std::size_t>(i)] = data[(reg - start) * 2 + i % 2];
    }
    const double value = DecodeRegisters(std::span(image.bytes).first(static_cast<std::size_t>(image.size)), code.raw);
    if (!InEntryRange(value, code.raw)) return false;
    updates.emplace_back(element.get(), value);
  }
  for (const auto& [element, value] : updates) element->SetData(value);
  return true;
}

bool ElementSlaveData::WriteCoils(std::int32_t start, std::int32_t count, std::span<const std::uint8_t> packed) {
  for (const auto& [key, element] : window_.CoilElements) {
    const AddressCode code(element->Address());
    const std::int32_t a = code.address();
    if (a + code.width() <= start || a >= start + count) continue;
    EncodedValue image = EncodeValue(element->Data(), code.raw);
    std::span<std::uint8_t> bits(image.bytes.data(), static_cast<std::size_t>(image.size));
    for (int i = 0; i < code.width(); ++i) {
      const std::int32_t bit = a + i;
      if (bit >= start && bit < start + count) SetBit(bits, i, GetBit(packed, bit - start));
    }
    element->SetData(DecodeBits(bits, 0, code.width()));
  }
  return true;
}

}  // namespace quorvel
