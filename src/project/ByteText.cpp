#include "project/ByteText.h"

namespace quorvel {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int Base64Value(char c) {
  for (int i = 0; i < 64; ++i) {
    if (kBase64[i] == c) return i;
  }
  return -1;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

std::string ToHexPairs(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0) text += ' ';
    text += kHexDigits[bytes[i] >> 4];
    text += kHexDigits[bytes[i] & 0x0F];
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> FromHexPairs(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::size_t i = 0;
  while (i < text.size()) {
    if (IsBlank(text[i])) {
      ++i;
      continue;
    }
    if (i + 1 >= text.size()) return std::nullopt;
    const int hi = HexValue(text[i]);
    const int lo = HexValue(text[i + 1]);
    if (hi < 0 || lo < 0) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(hi << 4 | lo));
    i += 2;
  }
  return bytes;
}

std::string ToBase64(std::span<const std::uint8_t> bytes) {
  std::string text;
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned v = bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) text += kBase64[(v >> shift) & 63];
  }
  if (i + 1 == bytes.size()) {
    const unsigned v = bytes[i] << 16;
    text += kBase64[(v >> 18) & 63];
    text += kBase64[(v >> 12) & 63];
    text += "==";
  } else if (i + 2 == bytes.size()) {
    const unsigned v = bytes[i] << 16 | bytes[i + 1] << 8;
    text += kBase64[(v >> 18) & 63];
    text += kBase64[(v >> 12) & 63];
    text += kBase64[(v >> 6) & 63];
    text += '=';
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> FromBase64(std::string_view text) {
  std::string digits;
  for (char c : text) {
    if (!IsBlank(c)) digits += c;
  }
  if (digits.size() % 4 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < digits.size(); i += 4) {
    const bool last = i + 4 == digits.size();
    int pad = 0;
    unsigned v = 0;
    for (int j = 0; j < 4; ++j) {
      const char c = digits[i + j];
      if (c == '=' && last && j >= 2) {
        ++pad;
        v <<= 6;
        continue;
      }
      const int d = Base64Value(c);
      if (d < 0 || pad > 0) return std::nullopt;
      v = v << 6 | static_cast<unsigned>(d);
    }
    bytes.push_back(static_cast<std::uint8_t>(v >> 16));
    if (pad < 2) bytes.push_back(static_cast<std::uint8_t>(v >> 8));
    if (pad < 1) bytes.push_back(static_cast<std::uint8_t>(v));
  }
  return bytes;
}

}  // namespace quorvel
