#include "app/WriteNotation.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace quorvel {
namespace {

constexpr const char* kEndOfFile = "Input past end of file";
constexpr const char* kTypeMismatch = "Type mismatch";
constexpr const char* kOverflow = "Overflow";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// A found text as it goes into an error message: short, quoted, one line.
std::string Shown(std::string_view text) {
  std::string out = "\"";
  for (std::size_t i = 0; i < text.size() && i < 40; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    out += c < 0x20 ? '?' : static_cast<char>(c);
  }
  if (text.size() > 40) out += "...";
  return out + "\"";
}

enum class Number { Ok, NotANumber, OutOfRange };

// Decimal with an optional sign, fraction and exponent, as "Input #" reads it
// (".5" included); no infinities, no NaN, no hexadecimal.
Number ParseDecimal(std::string_view text, double& value) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return Number::NotANumber;
  for (const char c : text) {
    const bool ok = (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E';
    if (!ok) return Number::NotANumber;
  }
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size()) return Number::NotANumber;
  if (ec == std::errc::result_out_of_range) return Number::OutOfRange;
  return ec == std::errc{} ? Number::Ok : Number::NotANumber;
}

}  // namespace

std::string SingleText(float value) {
  if (!std::isfinite(value)) value = 0;
  char buffer[32];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  std::string text(buffer, ec == std::errc{} ? end : buffer);
  for (char& c : text) {
    if (c == 'e') c = 'E';
  }
  return text;
}

std::optional<float> ParseSingleText(std::string_view text) {
  double value = 0;
  if (ParseDecimal(text, value) != Number::Ok || std::fabs(value) > std::numeric_limits<float>::max()) {
    return std::nullopt;
  }
  // Read as a single directly, so that the shortest text of a single gives it back exactly.
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  float single = 0;
  std::from_chars(text.data(), text.data() + text.size(), single);
  return single;
}

void WriteNotationWriter::String(std::string_view text) {
  text_ += '"';
  for (const char c : text) {
    if (c == '"') text_ += '"';
    text_ += c;
  }
  text_ += "\"\r\n";
}

void WriteNotationWriter::Boolean(bool value) { text_ += value ? "#TRUE#\r\n" : "#FALSE#\r\n"; }

void WriteNotationWriter::Integer(std::int64_t value) { text_ += std::to_string(value) + "\r\n"; }

void WriteNotationWriter::Single(float value) { text_ += SingleText(value) + "\r\n"; }

WriteNotationReader::Field WriteNotationReader::Next(std::string_view what) {
  Field field;
  field.line = line_;
  if (pos_ >= text_.size()) Fail(field, kEndOfFile, what);
  while (pos_ < text_.size() && IsBlank(text_[pos_])) ++pos_;
  if (pos_ < text_.size() && text_[pos_] == '"') {
    field.quoted = true;
    ++pos_;
    bool closed = false;
    while (pos_ < text_.size()) {
      const char c = text_[pos_++];
      if (c == '"') {
        if (pos_ < text_.size() && text_[pos_] == '"') {
          field.text += '"';
          ++pos_;
          continue;
        }
        closed = true;
        break;
      }
      if (c == '\n') ++line_;
      field.text += c;
    }
    if (!closed) Fail(field, kEndOfFile, what);
    // Anything between the closing quote and the separator is not part of the value.
    while (pos_ < text_.size() && text_[pos_] != ',' && text_[pos_] != '\n') ++pos_;
  } else {
    const std::size_t start = pos_;
    while (pos_ < text_.size() && text_[pos_] != ',' && text_[pos_] != '\n') ++pos_;
    std::string_view raw = text_.substr(start, pos_ - start);
    while (!raw.empty() && (IsBlank(raw.back()) || raw.back() == '\r')) raw.remove_suffix(1);
    field.text = raw;
  }
  if (pos_ < text_.size()) {
    if (text_[pos_] == '\n') ++line_;
    ++pos_;
  }
  return field;
}

void WriteNotationReader::Fail(const Field& field, std::string_view reason, std::string_view what) const {
  std::string text =
      "line " + std::to_string(field.line) + ": " + std::string(reason) + " reading " + std::string(what);
  if (reason != kEndOfFile) text += ", found " + Shown(field.text);
  throw WriteNotationError(field.line, text);
}

std::string WriteNotationReader::String(std::string_view what) { return Next(what).text; }

bool WriteNotationReader::Boolean(std::string_view what) {
  const Field field = Next(what);
  if (!field.quoted && field.text.empty()) return false;
  if (!field.quoted) {
    std::string upper = field.text;
    for (char& c : upper) {
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    if (upper == "#TRUE#") return true;
    if (upper == "#FALSE#") return false;
    double value = 0;
    if (ParseDecimal(field.text, value) == Number::Ok) return value != 0;
  }
  Fail(field, kTypeMismatch, what);
}

std::int64_t WriteNotationReader::Integer(std::string_view what, std::int64_t low, std::int64_t high) {
  const Field field = Next(what);
  if (field.quoted) Fail(field, kTypeMismatch, what);
  // A blank line reads as an empty value, which for a number is 0.
  if (field.text.empty()) {
    if (low > 0 || high < 0) Fail(field, kOverflow, what);
    return 0;
  }
  std::int64_t whole = 0;
  const char* first = field.text.data();
  if (!field.text.empty() && *first == '+') ++first;
  const char* last = field.text.data() + field.text.size();
  const auto [end, ec] = std::from_chars(first, last, whole);
  if (end == last && ec == std::errc{}) {
    if (whole < low || whole > high) Fail(field, kOverflow, what);
    return whole;
  }
  double value = 0;
  switch (ParseDecimal(field.text, value)) {
    case Number::NotANumber:
      Fail(field, kTypeMismatch, what);
    case Number::OutOfRange:
      Fail(field, kOverflow, what);
    case Number::Ok:
      break;
  }
  // The default rounding mode rounds halves to even, as the conversion does.
  value = std::nearbyint(value);
  if (value < static_cast<double>(low) || value > static_cast<double>(high)) Fail(field, kOverflow, what);
  return static_cast<std::int64_t>(value);
}

float WriteNotationReader::Single(std::string_view what) {
  const Field field = Next(what);
  if (field.quoted) Fail(field, kTypeMismatch, what);
  if (field.text.empty()) return 0;
  if (const auto value = ParseSingleText(field.text)) return *value;
  double value = 0;
  Fail(field, ParseDecimal(field.text, value) == Number::NotANumber ? kTypeMismatch : kOverflow, what);
}

}  // namespace quorvel
