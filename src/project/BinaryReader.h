#pragma once

// Little-endian reading over bytes already in memory. Every read is checked
// against what is left, so a damaged count can never make the reader allocate
// more than the data holds. A read that cannot be satisfied throws ReadError
// and leaves the reader at the end, as a file read past its end would: once
// the data is known to be short, nothing after that point is trusted.

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvel {

class ReadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class BinaryReader {
 public:
  explicit BinaryReader(std::span<const std::uint8_t> data) : data_(data) {}

  std::size_t Position() const { return pos_; }
  std::size_t Remaining() const { return data_.size() - pos_; }
  bool AtEnd() const { return pos_ == data_.size(); }
  // The bytes not yet read, to look at without reading them.
  std::span<const std::uint8_t> Ahead() const { return data_.subspan(pos_); }
  // True once a read has failed.
  bool Failed() const { return failed_; }

  std::uint8_t ReadU8();
  std::int16_t ReadI16();
  std::int32_t ReadI32();
  std::uint32_t ReadU32();
  double ReadF64();

  // `count` bytes; a negative count or one beyond the end fails.
  std::vector<std::uint8_t> ReadBytes(std::int64_t count);
  // `count` bytes as a byte string (texts stay in their code page).
  std::string ReadChars(std::int64_t count);
  // A text with a 2-byte or a 4-byte signed length in front.
  std::string ReadText16();
  std::string ReadText32();
  // Everything not read yet.
  std::vector<std::uint8_t> ReadRest();

 private:
  const std::uint8_t* Take(std::int64_t count);

  std::span<const std::uint8_t> data_;
  std::size_t pos_ = 0;
  bool failed_ = false;
};

}  // namespace quorvel
