#pragma once

// The element address code: one 32-bit word that binds a panel element to a
// data table, an address and a display format.
//
//   bits  0..15  register or coil address
//   bit  16      "Swapped": multi-register values come most significant word first
//   bits 20..23  register type (0 Integer, 1 Long, 2 Float, 3 Double, 4 Byte hi,
//                5 Byte low) or, for a bit element, the bit count less one
//   bit  24      "Hex"
//   bit  25      "Binary"
//   bits 28..29  table: 0 holding registers, 1 input registers, 2 coils, 3 discrete inputs
//   bit  31      "Unsigned"

#include <cstdint>
#include <string>

namespace quorvel {

enum class Table { Holding = 0, InputReg = 1, Coil = 2, Discrete = 3 };

enum class RegType { Integer = 0, Long = 1, Float = 2, Double = 3, ByteHi = 4, ByteLow = 5 };

struct AddressCode {
  static constexpr std::uint32_t kAddressMask = 0x0000FFFF;
  static constexpr std::uint32_t kSwapped = 0x00010000;
  static constexpr std::uint32_t kTypeMask = 0x00F00000;
  static constexpr int kTypeShift = 20;
  static constexpr std::uint32_t kHex = 0x01000000;
  static constexpr std::uint32_t kBinary = 0x02000000;
  static constexpr std::uint32_t kInputTable = 0x10000000;
  static constexpr std::uint32_t kBitElement = 0x20000000;
  static constexpr std::uint32_t kTableMask = 0x30000000;
  static constexpr std::uint32_t kUnsigned = 0x80000000;

  std::uint32_t raw = 0;

  constexpr AddressCode() = default;
  constexpr explicit AddressCode(std::uint32_t code) : raw(code) {}

  constexpr std::uint16_t address() const { return static_cast<std::uint16_t>(raw & kAddressMask); }
  constexpr bool swapped() const { return raw & kSwapped; }
  constexpr int typeField() const { return static_cast<int>((raw & kTypeMask) >> kTypeShift); }
  constexpr bool hex() const { return raw & kHex; }
  constexpr bool binary() const { return raw & kBinary; }
  constexpr bool unsignedFlag() const { return raw & kUnsigned; }
  constexpr bool isBit() const { return raw & kBitElement; }
  constexpr Table table() const { return static_cast<Table>((raw & kTableMask) >> 28); }

  // Registers are read as signed unless "Unsigned", "Hex" or "Binary" is set.
  constexpr bool isSigned() const { return !(raw & (kUnsigned | kHex | kBinary)); }

  // Width in registers (register element) or bits (bit element).
  constexpr int width() const {
    if (isBit()) return typeField() + 1;
    switch (typeField()) {
      case 1:
      case 2:
        return 2;
      case 3:
        return 4;
      default:
        return 1;
    }
  }

  // Bytes the value occupies once encoded: 2 per register, or the bits packed
  // eight to a byte, least significant first.
  constexpr int byteCount() const { return isBit() ? (width() + 7) / 8 : 2 * width(); }
};

// "Integer", "Long", "Float", "Double", "Byte hi", "Byte low"; "" for other values.
std::string TypeName(int type);

// The format an element receives when its record carries none.
std::string DefaultFormat(std::uint32_t code);

}  // namespace quorvel
