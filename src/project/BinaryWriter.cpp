#include "project/BinaryWriter.h"

#include <array>
#include <bit>
#include <limits>
#include <stdexcept>
#include <string>

namespace quorvel {

namespace {

// The low `N` bytes of `v`, least significant first, appended in one go.
template <std::size_t N>
void AppendLittleEndian(std::vector<std::uint8_t>& bytes, std::uint64_t v) {
  std::array<std::uint8_t, N> le;
  for (std::size_t i = 0; i < N; ++i) le[i] = static_cast<std::uint8_t>(v >> (8 * i));
  bytes.insert(bytes.end(), le.begin(), le.end());
}

}  // namespace

void BinaryWriter::WriteI16(std::int16_t v) { AppendLittleEndian<2>(bytes_, static_cast<std::uint16_t>(v)); }

void BinaryWriter::WriteU32(std::uint32_t v) { AppendLittleEndian<4>(bytes_, v); }

void BinaryWriter::WriteF64(double v) { AppendLittleEndian<8>(bytes_, std::bit_cast<std::uint64_t>(v)); }

void BinaryWriter::WriteChars(std::string_view chars) {
  const auto* first = reinterpret_cast<const std::uint8_t*>(chars.data());
  bytes_.insert(bytes_.end(), first, first + chars.size());
}

void BinaryWriter::WriteText16(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max())) {
    throw std::length_error("text of " + std::to_string(text.size()) + " characters is longer than 32767");
  }
  WriteI16(static_cast<std::int16_t>(text.size()));
  WriteChars(text);
}

void BinaryWriter::WriteText32(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("text of " + std::to_string(text.size()) + " characters is too long");
  }
  WriteI32(static_cast<std::int32_t>(text.size()));
  WriteChars(text);
}

}  // namespace quorvel
