#include "project/BinaryWriter.h"

#include <bit>
#include <limits>
#include <stdexcept>
#include <string>

namespace quorvel {

void BinaryWriter::WriteI16(std::int16_t v) {
  const auto u = static_cast<std::uint16_t>(v);
  bytes_.push_back(static_cast<std::uint8_t>(u & 0xFF));
  bytes_.push_back(static_cast<std::uint8_t>(u >> 8));
}

void BinaryWriter::WriteU32(std::uint32_t v) {
  for (int i = 0; i < 4; ++i) bytes_.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

void BinaryWriter::WriteF64(double v) {
  const auto bits = std::bit_cast<std::uint64_t>(v);
  for (int i = 0; i < 8; ++i) bytes_.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
}

void BinaryWriter::WriteChars(std::string_view chars) {
  for (char c : chars) bytes_.push_back(static_cast<std::uint8_t>(c));
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
