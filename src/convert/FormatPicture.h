#pragma once

// One section of a numeric format picture, parsed once and then rendered for
// a value's magnitude.

#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

class FormatPicture {
 public:
  explicit FormatPicture(std::string_view section);

  // Renders |magnitude|. With `withSign` a '-' goes just before the first
  // digit placeholder or decimal point, unless every shown digit is 0.
  // Throws FormatError when the percent scaling leaves the double range.
  std::string Render(double magnitude, bool withSign) const;

  // What the picture puts around the digits and how it scales them, so that
  // a shown text can be read back.
  struct Decoration {
    std::vector<std::string> literals;  // in the picture's order
    int percent = 0;                    // each multiplies the shown number by 100
    int thousands = 0;                  // each divides it by 1000
    bool grouping = false;              // digits grouped in threes with ','
  };
  Decoration Decor() const;

 private:
  enum class Kind { Literal, Whole, Fraction, Point, Exponent };

  struct Token {
    Kind kind;
    std::string text;     // Literal: its characters; Exponent: "E" or "e"
    bool forced = false;  // Whole, Fraction: a '0'; Exponent: '+' shown for positive exponents
    int width = 0;        // Exponent: minimum number of digits
  };

  void AddLiteral(std::string_view text);
  std::string Emit(const std::string& whole, const std::string& frac, int exponent, bool sign) const;

  std::vector<Token> tokens_;
  int wholeCount_ = 0;  // integer digit placeholders
  int fracCount_ = 0;   // fraction digit placeholders
  int minWhole_ = 0;    // integer digits always shown: from the leftmost '0' to the units
  int minFrac_ = 0;     // fraction digits always shown: up to the rightmost '0'
  int percent_ = 0;     // each '%' multiplies by 100
  int thousands_ = 0;   // each ',' closing the integer digits divides by 1000
  bool grouping_ = false;
  bool scientific_ = false;
};

}  // namespace quorvel
