#include "project/BinaryReader.h"

#include <bit>
#include <cstring>

namespace quorvel {

const std::uint8_t* BinaryReader::Take(std::int64_t count) {
  if (count < 0) {
    pos_ = data_.size();
    failed_ = true;
    throw ReadError("Bad record length");
  }
  if (static_cast<std::uint64_t>(count) > Remaining()) {
    pos_ = data_.size();
    failed_ = true;
    throw ReadError("Input past end of file");
  }
  const std::uint8_t* at = data_.data() + pos_;
  pos_ += static_cast<std::size_t>(count);
  return at;
}

std::uint8_t BinaryReader::ReadU8() { return *Take(1); }

std::int16_t BinaryReader::ReadI16() {
  const std::uint8_t* p = Take(2);
  return static_cast<std::int16_t>(p[0] | (p[1] << 8));
}

std::uint32_t BinaryReader::ReadU32() {
  const std::uint8_t* p = Take(4);
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

std::int32_t BinaryReader::ReadI32() { return static_cast<std::int32_t>(ReadU32()); }

double BinaryReader::ReadF64() {
  const std::uint8_t* p = Take(8);
  std::uint64_t bits = 0;
  for (int i = 7; i >= 0; --i) bits = (bits << 8) | p[i];
  return std::bit_cast<double>(bits);
}

std::vector<std::uint8_t> BinaryReader::ReadBytes(std::int64_t count) {
  const std::uint8_t* p = Take(count);
  return std::vector<std::uint8_t>(p, p + count);
}

std::string BinaryReader::ReadChars(std::int64_t count) {
  const std::uint8_t* p = Take(count);
  return std::string(reinterpret_cast<const char*>(p), static_cast<std::size_t>(count));
}

std::string BinaryReader::ReadText16() { return ReadChars(ReadI16()); }

std::string BinaryReader::ReadText32() { return ReadChars(ReadI32()); }

std::vector<std::uint8_t> BinaryReader::ReadRest() { return ReadBytes(static_cast<std::int64_t>(Remaining())); }

}  // namespace quorvel
