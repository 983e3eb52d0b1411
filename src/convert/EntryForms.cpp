#include "convert/EntryForms.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "convert/EntryPicture.h"

namespace quorvel {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool AllOf(std::string_view s, bool (*pred)(char)) {
  if (s.empty()) return false;
  for (char c : s)
    if (!pred(c)) return false;
  return true;
}

bool IsHexChar(char c) { return HexDigit(c) >= 0; }
bool IsBinaryChar(char c) { return c == '0' || c == '1'; }
bool IsDecimalChar(char c) { return c >= '0' && c <= '9'; }

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (Lower(a[i]) != Lower(b[i])) return false;
  return true;
}

bool StartsNoCase(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() && EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

// The text without blanks.
std::string Compact(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char c : s)
    if (!IsBlank(c)) out += c;
  return out;
}

// "HHHH LLLL" with an optional 'h': the two-word form a label shows.
bool IsSplitHexForm(std::string_view s) {
  if (!s.empty() && Lower(s.back()) == 'h') s = Trim(s.substr(0, s.size() - 1));
  if (s.size() < 9) return false;
  const std::string_view high = s.substr(0, 4);
  const std::string_view low = s.substr(s.size() - 4);
  const std::string_view gap = s.substr(4, s.size() - 8);
  return AllOf(high, IsHexChar) && AllOf(low, IsHexChar) && AllOf(gap, IsBlank);
}

EntryReading Refused(std::string reason) { return {false, 0, std::move(reason), false, false}; }
EntryReading Read(double number) { return {true, number, {}, false, false}; }

bool HexIsSigned32(const AddressCode& code) {
  return !code.isBit() && (code.typeField() == 2 || code.typeField() == 3);
}

EntryReading ReadHex(std::string_view digits, bool negative, bool splitForm, const AddressCode& code,
                     std::string_view text) {
  if (!AllOf(digits, IsHexChar)) return Refused("Not a hex number: " + std::string(text));
  while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
  if (digits.size() > 8) return Refused("Too many hex digits: at most 8");
  std::uint64_t x = 0;
  for (char c : digits) x = x << 4 | static_cast<std::uint64_t>(HexDigit(c));
  if (splitForm && !negative) {
    const std::uint64_t high = x >> 16;
    const std::uint64_t low = x & 0xFFFF;
    if (high >= 0x8000 && low != 0) x = (high - 1) << 16 | low;
  }
  double v = static_cast<double>(x);
  if (!negative && HexIsSigned32(code) && x >= 0x80000000u) v -= 4294967296.0;
  return Read(negative ? -v : v);
}

// Pattern width of binary entries, and whether a set top bit means negative.
int PatternBits(const AddressCode& code) {
  if (code.isBit()) return code.width();
  switch (code.typeField()) {
    case 1:
      return 32;
    case 2:
    case 3:
      return 53;
    case 4:
    case 5:
      return 8;
    default:
      return 16;
  }
}

bool PatternSigned(const AddressCode& code) {
  const int type = code.typeField();
  return !code.isBit() && type != 2 && type != 3 && !code.unsignedFlag() && !code.hex();
}

EntryReading ReadBinary(std::string_view digits, const AddressCode& code, std::string_view text) {
  if (!AllOf(digits, IsBinaryChar)) return Refused("Not a binary number: " + std::string(text));
  while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
  const int bits = PatternBits(code);
  if (static_cast<int>(digits.size()) > bits) return Refused("Too many bits for " + std::to_string(bits) + " bits");
  std::uint64_t x = 0;
  for (char c : digits) x = x << 1 | static_cast<std::uint64_t>(c - '0');
  double v = static_cast<double>(x);
  if (PatternSigned(code) && (x >> (bits - 1)) != 0) v -= std::ldexp(1.0, bits);
  return Read(v);
}

// "H:MM:SS" or "H:MM", hours unbounded; seconds come back.
EntryReading ReadTime(std::string_view s, std::string_view text) {
  double total = 0;
  int fields = 0;
  while (true) {
    const std::size_t colon = s.find(':');
    const std::string_view field = s.substr(0, colon);
    const bool first = fields == 0;
    if (!AllOf(field, IsDecimalChar) || (!first && field.size() > 2)) break;
    double part = 0;
    for (char c : field) part = part * 10 + (c - '0');
    if (!first && part > 59) break;
    total = total * 60 + part;
    ++fields;
    if (colon == std::string_view::npos) {
      if (fields == 2) return Read(total * 60);
      if (fields == 3) return Read(total);
      break;
    }
    s.remove_prefix(colon + 1);
  }
  return Refused("Not a time: " + std::string(text));
}

// For a decimal that does not fit a double: whether it is too large rather
// than too small, from where its first significant digit stands.
bool BeyondLargest(std::string_view s) {
  long magnitude = 0;
  bool significant = false;
  bool point = false;
  std::size_t i = s.empty() || s.front() != '-' ? 0 : 1;
  for (; i < s.size() && Lower(s[i]) != 'e'; ++i) {
    if (s[i] == '.') {
      point = true;
    } else if (s[i] != '0' || significant) {
      significant = true;
      if (!point) ++magnitude;
    } else if (point) {
      --magnitude;
    }
  }
  long exponent = 0;
  const bool negativeExponent = i + 1 < s.size() && s[i + 1] == '-';
  for (++i; i < s.size(); ++i)
    if (IsDecimalChar(s[i]) && exponent < 100000) exponent = exponent * 10 + (s[i] - '0');
  return magnitude + (negativeExponent ? -exponent : exponent) > 0;
}

// A comma that groups thousands: after a digit, and followed by exactly three
// digits and then the end, another comma, the point or the exponent.
bool IsGroupComma(std::string_view s, std::size_t at) {
  if (at == 0 || !IsDecimalChar(s[at - 1]) || at + 4 > s.size()) return false;
  for (std::size_t i = at + 1; i <= at + 3; ++i)
    if (!IsDecimalChar(s[i])) return false;
  const std::size_t next = at + 4;
  return next == s.size() || s[next] == ',' || s[next] == '.' || Lower(s[next]) == 'e';
}

// Commas in a decimal, read so that a value never comes out 10 or 1000 times
// what was meant: thousands groups are dropped, a lone comma that cannot be a
// group is the decimal point, and "1,234" (either) follows the picture: a
// group when the picture groups digits with ',', the decimal point when not.
// Anything else is refused: empty when refused.
std::optional<std::string> ResolveCommas(std::string s, bool pictureGroups) {
  std::vector<std::size_t> commas;
  std::size_t mantissaEnd = s.size();
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (Lower(s[i]) == 'e') {
      mantissaEnd = i;
      break;
    }
  }
  bool point = false;
  for (std::size_t i = 0; i < mantissaEnd; ++i) {
    if (s[i] == ',') commas.push_back(i);
    if (s[i] == '.') point = true;
  }
  for (std::size_t i = mantissaEnd; i < s.size(); ++i)
    if (s[i] == ',') return std::nullopt;
  if (commas.empty()) return s;
  bool allGroups = true;
  for (std::size_t at : commas) {
    const bool beforePoint = s.find('.') == std::string::npos || at < s.find('.');
    allGroups = allGroups && IsGroupComma(s, at) && beforePoint;
  }
  const bool decimalComma = !point && commas.size() == 1 && (!allGroups || !pictureGroups);
  if (decimalComma) {
    s[commas[0]] = '.';
    return s;
  }
  if (!allGroups) return std::nullopt;
  std::string out;
  for (char c : s)
    if (c != ',') out += c;
  return out;
}

EntryReading ReadDecimal(std::string_view text, bool pictureGroups, std::string_view shown) {
  const std::optional<std::string> resolved = ResolveCommas(Compact(text), pictureGroups);
  if (!resolved)
    return Refused("Not a number: " + std::string(shown) + " (a comma is the decimal point or groups three digits)");
  std::string_view s = *resolved;
  if (!s.empty() && s.front() == '+') {
    s.remove_prefix(1);
    if (!s.empty() && (s.front() == '+' || s.front() == '-')) s = {};
  }
  double v = 0;
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v, std::chars_format::general);
  if (s.empty() || end != s.data() + s.size() || (ec != std::errc() && ec != std::errc::result_out_of_range))
    return Refused("Not a number: " + std::string(shown));
  EntryReading reading = Read(v);
  if (ec == std::errc::result_out_of_range) {
    // Refused by the caller, which knows the element's range to name.
    const bool negative = s.front() == '-';
    reading.overflow = BeyondLargest(s);
    reading.underflow = !reading.overflow;
    reading.number = reading.overflow ? std::numeric_limits<double>::infinity() : 0.0;
    if (negative) reading.number = -reading.number;
  }
  return reading;
}

// The forms of a text already free of any picture parts; `shown` is the text
// as typed, for the reasons.
EntryReading ReadForms(std::string_view text, const AddressCode& code, std::string_view format, bool pictureGroups,
                       std::string_view shown) {
  text = Trim(text);
  if (text.empty()) return Refused("Nothing entered");
  const std::string compact = Compact(text);
  const std::string_view c = compact;

  if (code.isBit() && code.width() == 1) {
    if (EqualsNoCase(c, "ON") || EqualsNoCase(c, "TRUE")) return Read(1);
    if (EqualsNoCase(c, "OFF") || EqualsNoCase(c, "FALSE")) return Read(0);
  }
  if (format == "hh:mm:ss" && c.find(':') != std::string_view::npos) return ReadTime(c, shown);

  const bool negative = c.front() == '-';
  const std::string_view body = negative ? c.substr(1) : c;
  if (!body.empty() && Lower(body.back()) == 'h')
    return ReadHex(body.substr(0, body.size() - 1), negative, IsSplitHexForm(text), code, shown);
  if (StartsNoCase(body, "0x")) return ReadHex(body.substr(2), negative, false, code, shown);
  if (StartsNoCase(c, "0b")) return ReadBinary(c.substr(2), code, shown);
  if ((code.binary() || code.isBit()) && AllOf(c, IsBinaryChar)) return ReadBinary(c, code, shown);
  if (code.hex() && !code.binary() && AllOf(body, IsHexChar))
    return ReadHex(body, negative, IsSplitHexForm(text), code, shown);
  return ReadDecimal(text, pictureGroups, shown);
}

}  // namespace

EntryReading ReadEntryText(std::string_view text, const AddressCode& code, std::string_view format) {
  text = Trim(text);
  // Only plain numbers are shown through the picture; hex, binary and bits
  // have texts of their own.
  if (code.isBit() || code.hex() || code.binary()) return ReadForms(text, code, format, false, text);
  const PictureReading shown = ReadThroughPicture(text, format);
  EntryReading reading = ReadForms(shown.number, code, format, shown.grouping, text);
  if (!reading.ok) {
    if (!shown.unit.empty() && reading.reason.rfind("Not a", 0) == 0)
      reading.reason += " (the element shows \"" + shown.unit + "\")";
    return reading;
  }
  reading.number *= shown.factor;
  if (shown.negate) reading.number = -reading.number;
  return reading;
}

}  // namespace quorvel
