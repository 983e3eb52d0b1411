#pragma once

// Decimal digits of a double, rounded half away from zero on its exact binary
// value: 0.125 to two places is 0.13, while 1.005 (stored just below the tie)
// is 1.00. Independent of the locale.

#include <string>

namespace quorvel {

// |x| to `frac` decimal places. `whole` carries no leading zeros ("" when the
// integer part is 0); `frac` has exactly `frac` digits.
struct FixedDigits {
  std::string whole;
  std::string frac;
};

// |x| as d1.d2d3... x 10^exponent with exactly `significant` digits (at least 1);
// the first digit is not 0 unless x is 0, which gives all zeros and exponent 0.
struct ScientificDigits {
  std::string digits;
  int exponent = 0;
};

// x must be finite.
FixedDigits ToFixedDigits(double x, int frac);
ScientificDigits ToScientificDigits(double x, int significant);

}  // namespace quorvel
