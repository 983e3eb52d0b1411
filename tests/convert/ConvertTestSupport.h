#pragma once

// Address codes and wire images for the conversion tests.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "convert/AddressCode.h"
#include "convert/NumberFormat.h"
#include "convert/RegisterEncode.h"

namespace quorvel::test {

using Wire = std::vector<std::uint8_t>;

constexpr std::uint32_t kSwapped = AddressCode::kSwapped;
constexpr std::uint32_t kUnsigned = AddressCode::kUnsigned;
constexpr std::uint32_t kHex = AddressCode::kHex;
constexpr std::uint32_t kBinary = AddressCode::kBinary;

// A holding register element of `type` (0 Integer .. 5 Byte low); the address plays no part.
constexpr std::uint32_t Reg(int type, std::uint32_t flags = 0) {
  return static_cast<std::uint32_t>(type) << AddressCode::kTypeShift | flags | 0x0040;
}

// A coil element `count` bits wide.
constexpr std::uint32_t Bits(int count, std::uint32_t flags = 0) {
  return AddressCode::kBitElement | static_cast<std::uint32_t>(count - 1) << AddressCode::kTypeShift | flags | 0x0007;
}

// "3F 80" -> {0x3F, 0x80}; blanks are ignored.
inline Wire Hex(const std::string& hex) {
  Wire bytes;
  std::string digits;
  for (char c : hex)
    if (c != ' ') digits += c;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline Wire Bytes(const EncodedValue& e) { return {e.view().begin(), e.view().end()}; }

// Runs `f`, which must fail with the text shown in place of a value.
template <class F>
void ExpectOverflow(F f) {
  try {
    f();
    ADD_FAILURE() << "expected FormatError";
  } catch (const FormatError& e) {
    EXPECT_STREQ(e.what(), kOverflowText);
  }
}

}  // namespace quorvel::test
