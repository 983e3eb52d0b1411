#pragma once

// Turns an element's raw bytes, as they came off the wire, into a number.

#include <cstdint>
#include <span>

namespace quorvel {

// Decodes a register element from its bytes in wire order (each register high
// byte first, registers in ascending address order). Needs 2 x width bytes;
// fewer decode as 0 and leave the buffer alone. The bytes are reversed in the
// caller's buffer on the way, so decoding the same buffer twice needs fresh
// bytes each time.
double DecodeRegisters(std::span<std::uint8_t> bytes, std::uint32_t code);

// Decodes `count` bits starting at bit `firstBit` of `packed` (bit n lies in
// byte n/8, least significant first); the bit at firstBit becomes the value's
// least significant bit. Bits beyond the buffer read as 0.
double DecodeBits(std::span<const std::uint8_t> packed, int firstBit, int count);

}  // namespace quorvel
