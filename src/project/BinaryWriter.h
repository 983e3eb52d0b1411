#pragma once

// Little-endian writing into a growing byte buffer, the counterpart of
// BinaryReader.

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvel {

class BinaryWriter {
 public:
  void WriteU8(std::uint8_t v) { bytes_.push_back(v); }
  void WriteI16(std::int16_t v);
  void WriteI32(std::int32_t v) { WriteU32(static_cast<std::uint32_t>(v)); }
  void WriteU32(std::uint32_t v);
  void WriteF64(double v);
  void WriteBytes(std::span<const std::uint8_t> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  void WriteChars(std::string_view chars);
  // Length-prefixed texts; throw std::length_error when the length does not fit.
  void WriteText16(std::string_view text);
  void WriteText32(std::string_view text);

  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }
  std::vector<std::uint8_t> Take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace quorvel
