#pragma once

// The inverse of decoding: a number laid out as an element's register bytes.

#include <array>
#include <cstdint>
#include <span>

namespace quorvel {

// Up to 8 bytes: 2 per register in wire order for a register element, or the
// bits packed eight to a byte (least significant first) for a bit element.
struct EncodedValue {
  std::array<std::uint8_t, 8> bytes{};
  int size = 0;

  std::span<const std::uint8_t> view() const { return {bytes.data(), static_cast<std::size_t>(size)}; }
};

// Lays `value` out as the element of `code` holds it, with the same word order
// ("Swapped") and byte order that decoding reads. Integer types take the value
// rounded to the nearest integer and keep the bits that fit (two's complement),
// so callers range-check first. "Byte hi" fills byte 0 and "Byte low" byte 1 of
// the register, the other byte 0.
EncodedValue EncodeValue(double value, std::uint32_t code);

}  // namespace quorvel
