#pragma once

// Numeric format pictures as the project files use them.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

// A failure while formatting; what() is the text shown in place of the value.
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr const char* kOverflowText = "Overflow";

// Formats y with a picture: "0" forced digit, "#" optional digit, "." decimal
// point, "," digit grouping, a blank or any other character a literal,
// "E+00"/"E-00" (or "e") an exponent, "%" percent, '\'-escapes and quoted
// literals, ';' sections (positive;negative;zero). An empty picture gives the
// general number form. Throws FormatError.
std::string FormatNumber(double y, std::string_view picture);

// The picture a format stands for: a named format's picture ("Percent" is
// "0.00%"), the format itself otherwise; empty for the general number form and
// the yes/no kinds.
std::string_view PictureOf(std::string_view format);

// The sections of a picture split at ';' outside quotes and escapes: the
// positive, negative and zero ones, at most three.
std::vector<std::string_view> PictureSections(std::string_view picture);

// y seconds as a time of day: the fraction y / 86400 of a day in "hh:mm:ss".
std::string FormatTimeOfDay(double seconds);

}  // namespace quorvel
