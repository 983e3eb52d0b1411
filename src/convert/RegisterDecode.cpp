#include "convert/RegisterDecode.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "convert/AddressCode.h"

namespace quorvel {

double DecodeRegisters(std::span<std::uint8_t> w, std::uint32_t raw) {
  const AddressCode code(raw);
  const auto size = static_cast<std::size_t>(code.byteCount());
  if (code.isBit() || w.size() < size) return 0.0;

  // The reversed bytes are the little-endian image of the registers with the
  // last register most significant.
  std::span<std::uint8_t> a = w.first(size);
  std::reverse(a.begin(), a.end());

  const bool isSigned = code.isSigned();
  switch (code.typeField()) {
    case 0: {
      double v = a[1] * 256.0 + a[0];
      if (isSigned && v > 32767) v -= 65536;
      return v;
    }
    case 1: {
      double v = code.swapped() ? a[3] * 16777216.0 + a[2] * 65536.0 + a[1] * 256.0 + a[0]
                                : a[1] * 16777216.0 + a[0] * 65536.0 + a[3] * 256.0 + a[2];
      if (isSigned && v > 2147483647.0) v -= 4294967296.0;
      return v;
    }
    case 2: {
      if (!code.swapped()) {
        std::swap(a[0], a[2]);
        std::swap(a[1], a[3]);
      }
      const std::uint32_t bits = a[0] | a[1] << 8 | a[2] << 16 | static_cast<std::uint32_t>(a[3]) << 24;
      return std::bit_cast<float>(bits);
    }
    case 3: {
      if (!code.swapped()) {
        std::swap(a[0], a[6]);
        std::swap(a[1], a[7]);
        std::swap(a[2], a[4]);
        std::swap(a[3], a[5]);
      }
      std::uint64_t bits = 0;
      for (int i = 7; i >= 0; --i) bits = bits << 8 | a[i];
      return std::bit_cast<double>(bits);
    }
    case 4:
    case 5: {
      double v = code.typeField() == 4 ? a[1] : a[0];
      if (isSigned && v > 127) v -= 256;
      return v;
    }
    default:
      // Types beyond Byte low occupy one register but have no decoding.
      return 0.0;
  }
}

double DecodeBits(std::span<const std::uint8_t> packed, int firstBit, int count) {
  double value = 0;
  for (int i = count - 1; i >= 0; --i) {
    const long bit = static_cast<long>(firstBit) + i;
    const std::size_t byte = static_cast<std::size_t>(bit / 8);
    const int on = bit >= 0 && byte < packed.size() ? (packed[byte] >> (bit % 8)) & 1 : 0;
    value = 2 * value + on;
  }
  return value;
}

}  // namespace quorvel
