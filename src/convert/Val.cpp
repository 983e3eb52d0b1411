#include "convert/Val.h"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace quorvel {
namespace {

bool Skipped(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

double RadixValue(std::string_view digits, int radix) {
  std::uint64_t value = 0;
  std::size_t count = 0;
  for (char c : digits) {
    if (Skipped(c)) continue;
    const int d = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                  : std::isxdigit(static_cast<unsigned char>(c))
                      ? std::toupper(static_cast<unsigned char>(c)) - 'A' + 10
                      : radix;
    if (d >= radix) break;
    value = value * static_cast<std::uint64_t>(radix) + static_cast<std::uint64_t>(d);
    if (++count > 32) break;  // far beyond any value Val can return
  }
  // Hex and octal text is a bit pattern: the top bit of its width is the sign.
  if (value <= 0xFFFF && value >= 0x8000 && count <= (radix == 16 ? 4u : 6u))
    return static_cast<double>(value) - 65536.0;
  if (value <= 0xFFFFFFFF && value >= 0x80000000) return static_cast<double>(value) - 4294967296.0;
  return static_cast<double>(value);
}

}  // namespace

double Val(std::string_view text) {
  std::string compact;
  std::size_t i = 0;
  while (i < text.size() && Skipped(text[i])) ++i;
  if (i + 1 < text.size() && text[i] == '&') {
    const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i + 1])));
    if (kind == 'H') return RadixValue(text.substr(i + 2), 16);
    if (kind == 'O') return RadixValue(text.substr(i + 2), 8);
  }
  // Gather the longest prefix that is a number, blanks dropped.
  bool point = false;
  bool exponent = false;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (Skipped(c)) continue;
    const bool atStart = compact.empty() || compact.back() == 'E';
    if (std::isdigit(static_cast<unsigned char>(c))) {
      compact += c;
    } else if ((c == '+' || c == '-') && atStart) {
      compact += c;
    } else if (c == '.' && !point && !exponent) {
      point = true;
      compact += c;
    } else if ((c == 'E' || c == 'e' || c == 'D' || c == 'd') && !exponent && !compact.empty()) {
      exponent = true;
      compact += 'E';
    } else {
      break;
    }
  }
  // from_chars, unlike strtod, ignores the locale a desktop toolkit sets.
  std::string_view digits = compact;
  if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
  double value = 0;
  const std::errc error = std::from_chars(digits.data(), digits.data() + digits.size(), value).ec;
  if (error == std::errc::result_out_of_range) {
    // Keep the sign and magnitude class; callers clamp.
    value = digits.starts_with('-') ? -1e308 : 1e308;
    if (digits.find("E-") != std::string_view::npos) value = 0;
  } else if (error != std::errc{}) {
    value = 0;
  }
  return value;
}

}  // namespace quorvel
