#pragma once

// The plain-text value notation of session files, as the Basic "Write #" and
// "Input #" statements know it: strings in double quotes, booleans as #TRUE#
// and #FALSE#, numbers in decimal with "." whatever the locale. Values are
// separated by commas or line ends; the writer puts each on a line of its own
// ending in CR LF. A double quote inside a string is written doubled.
// Both sides work on UTF-8 text; the file's code page is the caller's.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvel {

// The shortest decimal that reads back as the same single, "." as the
// decimal point and "E" before an exponent: "4800", "2133.333", "1E+20".
std::string SingleText(float value);

// A decimal number as such text holds it (".5" and a leading "+" too); nothing
// for any other text or a value beyond a single's range.
std::optional<float> ParseSingleText(std::string_view text);

class WriteNotationWriter {
 public:
  void String(std::string_view text);
  void Boolean(bool value);
  void Integer(std::int64_t value);
  void Single(float value);

  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

// A value that is missing or cannot be read as its type. what() holds the
// line and the reason, in the words of the "Input #" errors ("Input past end
// of file", "Type mismatch", "Overflow") with what was expected and found.
class WriteNotationError : public std::runtime_error {
 public:
  WriteNotationError(int line, const std::string& text) : std::runtime_error(text), line_(line) {}
  int Line() const { return line_; }

 private:
  int line_;
};

class WriteNotationReader {
 public:
  explicit WriteNotationReader(std::string_view text) : text_(text) {}

  // Each reads the next value; `what` names it in the error. An empty value
  // (a blank line) reads as "", false or 0, as "Input #" reads it.
  std::string String(std::string_view what);
  bool Boolean(std::string_view what);
  // A whole number in [low, high]; a fraction is rounded half to even.
  std::int64_t Integer(std::string_view what, std::int64_t low, std::int64_t high);
  float Single(std::string_view what);

  // The line the next value starts on (1-based).
  int Line() const { return line_; }

 private:
  struct Field {
    std::string text;
    bool quoted = false;
    int line = 0;
  };
  Field Next(std::string_view what);
  [[noreturn]] void Fail(const Field& field, std::string_view reason, std::string_view what) const;

  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1;
};

}  // namespace quorvel
