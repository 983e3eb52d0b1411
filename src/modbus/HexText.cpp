#include "modbus/HexText.h"

namespace quorvel::MODBUS {
namespace {

int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsSeparator(char c) { return c == ' ' || c == '\t' || c == ',' || c == ':' || c == '-'; }

}  // namespace

std::optional<std::vector<std::uint8_t>> ParseHexBytes(std::span<const std::string> parts, std::string& error) {
  std::vector<std::uint8_t> bytes;
  for (const std::string& arg : parts) {
    std::size_t i = 0;
    while (i < arg.size()) {
      if (IsSeparator(arg[i])) {
        ++i;
        continue;
      }
      // One token: an optional 0x and an even run of hex digits.
      if (arg.compare(i, 2, "0x") == 0 || arg.compare(i, 2, "0X") == 0) i += 2;
      const std::size_t start = i;
      while (i < arg.size() && !IsSeparator(arg[i])) {
        if (HexDigitValue(arg[i]) < 0) {
          error = "not a hex digit '" + std::string(1, arg[i]) + "' in '" + arg + "'";
          return std::nullopt;
        }
        ++i;
      }
      if ((i - start) % 2 != 0 || i == start) {
        error = "odd number of hex digits in '" + arg + "'";
        return std::nullopt;
      }
      for (std::size_t j = start; j < i; j += 2)
        bytes.push_back(static_cast<std::uint8_t>(HexDigitValue(arg[j]) * 16 + HexDigitValue(arg[j + 1])));
    }
  }
  return bytes;
}

}  // namespace quorvel::MODBUS
