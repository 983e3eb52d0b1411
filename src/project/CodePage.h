#pragma once

// Project files hold their texts as bytes in a Windows ANSI code page. A
// CodePage turns such bytes into UTF-8 and back. Every byte has exactly one
// character (bytes the code page leaves undefined stand for the control
// character of the same number), so a text read and written again keeps its
// bytes exactly.

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

// A text that cannot be written in the chosen code page, or is no valid UTF-8.
class CodePageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class CodePage {
 public:
  // The code page with this Windows number, or nullptr when it is not supported.
  static const CodePage* Find(int number);
  // Windows-1252, the code page of Western European Windows systems.
  static const CodePage& Default();
  static std::vector<int> Supported();

  int Number() const { return number_; }

  char32_t Decode(unsigned char byte) const;
  std::optional<unsigned char> Encode(char32_t ch) const;

  std::string ToUtf8(std::string_view bytes) const;
  // Throws CodePageError naming the first character the code page lacks.
  std::string FromUtf8(std::string_view utf8) const;

  CodePage(int number, const char16_t* high) : number_(number), high_(high) {}

 private:
  int number_;
  const char16_t* high_;  // 128 code points for the bytes 0x80..0xFF
};

}  // namespace quorvel
