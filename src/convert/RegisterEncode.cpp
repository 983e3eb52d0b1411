#include "convert/RegisterEncode.h"

#include <bit>
#include <cmath>
#include <limits>

#include "convert/AddressCode.h"

namespace quorvel {

namespace {

// The low 32 bits of v rounded half away from zero, as two's complement.
// Non-finite values have no bits to keep and give 0.
std::uint32_t LowBits(double v) {
  if (!std::isfinite(v)) return 0;
  constexpr double kModulus = 4294967296.0;
  double r = std::fmod(std::round(v), kModulus);  // exact for every double
  if (r < 0) r += kModulus;
  return static_cast<std::uint32_t>(r);
}

// Nearest float with IEEE overflow to infinity; a plain cast would be
// undefined for magnitudes beyond the float range.
float NearestFloat(double v) {
  // Halfway between the largest float and 2^128: from here on round to even gives infinity.
  constexpr double kOverflow = 0x1.ffffffp127;
  if (v >= kOverflow) return std::numeric_limits<float>::infinity();
  if (v <= -kOverflow) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(v);
}

// Lays the 16-bit words (least significant first) out in wire order: each
// word high byte first, least significant word first unless swapped.
void PutWords(EncodedValue& out, std::uint64_t bits, int words, bool swapped) {
  for (int i = 0; i < words; ++i) {
    const auto word = static_cast<std::uint16_t>(bits >> (16 * i));
    const int slot = swapped ? words - 1 - i : i;
    out.bytes[2 * slot] = static_cast<std::uint8_t>(word >> 8);
    out.bytes[2 * slot + 1] = static_cast<std::uint8_t>(word & 0xFF);
  }
}

}  // namespace

EncodedValue EncodeValue(double value, std::uint32_t raw) {
  const AddressCode code(raw);
  EncodedValue out;
  out.size = code.byteCount();

  if (code.isBit()) {
    const std::uint32_t mask = code.width() >= 32 ? ~0u : (1u << code.width()) - 1;
    const std::uint32_t bits = LowBits(value) & mask;
    for (int i = 0; i < out.size; ++i) out.bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    return out;
  }

  switch (code.typeField()) {
    case 0:
      PutWords(out, LowBits(value), 1, false);
      break;
    case 1:
      PutWords(out, LowBits(value), 2, code.swapped());
      break;
    case 2:
      PutWords(out, std::bit_cast<std::uint32_t>(NearestFloat(value)), 2, code.swapped());
      break;
    case 3:
      PutWords(out, std::bit_cast<std::uint64_t>(value), 4, code.swapped());
      break;
    case 4:
      out.bytes[0] = static_cast<std::uint8_t>(LowBits(value));
      break;
    case 5:
      out.bytes[1] = static_cast<std::uint8_t>(LowBits(value));
      break;
    default:
      break;  // no encoding: one register of 0
  }
  return out;
}

}  // namespace quorvel
