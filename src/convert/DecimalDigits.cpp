#include "convert/DecimalDigits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace quorvel {

namespace {

// Decimal places that hold the exact expansion of x: x is an integer times
// 2^(e - 53), and each binary place below the point needs one decimal place.
int ExactPlaces(double x) {
  int e = 0;
  std::frexp(x, &e);
  return std::clamp(53 - e, 0, 1130);
}

std::string Chars(double x, std::chars_format format, int precision) {
  // 309 integer digits at most in fixed form, a few characters of exponent in scientific.
  std::string out(static_cast<std::size_t>(precision) + 330, '\0');
  const auto result = std::to_chars(out.data(), out.data() + out.size(), x, format, precision);
  out.resize(static_cast<std::size_t>(result.ptr - out.data()));
  return out;
}

// Adds one in the last place; true when the carry ran out of the first digit.
bool Increment(std::string& digits) {
  for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
    if (*it != '9') {
      ++*it;
      return false;
    }
    *it = '0';
  }
  return true;
}

FixedDigits SplitFixed(std::string_view text) {
  const auto point = text.find('.');
  FixedDigits out;
  out.whole = std::string(text.substr(0, point));
  if (point != std::string_view::npos) out.frac = std::string(text.substr(point + 1));
  out.whole.erase(0, out.whole.find_first_not_of('0'));
  return out;
}

// The digit just after the kept ones decides whether rounding goes up. Only an
// exact tie rounds differently from the standard conversion (which breaks ties
// to even), and a tie shows as a final 5 one place further on.
bool MayBeTie(std::string_view oneMorePlace) {
  const auto e = oneMorePlace.find_first_of("eE");
  const auto last = e == std::string_view::npos ? oneMorePlace.size() : e;
  return last > 0 && oneMorePlace[last - 1] == '5';
}

}  // namespace

FixedDigits ToFixedDigits(double x, int frac) {
  x = std::fabs(x);
  frac = std::max(frac, 0);
  if (!MayBeTie(Chars(x, std::chars_format::fixed, frac + 1))) {
    return SplitFixed(Chars(x, std::chars_format::fixed, frac));
  }
  FixedDigits exact = SplitFixed(Chars(x, std::chars_format::fixed, std::max(ExactPlaces(x), frac + 1)));
  const bool up = exact.frac[static_cast<std::size_t>(frac)] >= '5';
  exact.frac.resize(static_cast<std::size_t>(frac));
  if (!up) return exact;
  std::string all = exact.whole + exact.frac;
  if (Increment(all)) all.insert(all.begin(), '1');
  const auto wholeSize = all.size() - static_cast<std::size_t>(frac);
  return SplitFixed(std::string(all.substr(0, wholeSize)) + "." + all.substr(wholeSize));
}

ScientificDigits ToScientificDigits(double x, int significant) {
  x = std::fabs(x);
  significant = std::max(significant, 1);
  const auto count = static_cast<std::size_t>(significant);
  ScientificDigits out;
  if (x == 0) {
    out.digits.assign(count, '0');
    return out;
  }
  if (!MayBeTie(Chars(x, std::chars_format::scientific, significant))) {
    const std::string text = Chars(x, std::chars_format::scientific, significant - 1);
    const auto e = text.find('e');
    for (std::size_t i = 0; i < e; ++i) {
      if (text[i] != '.') out.digits += text[i];
    }
    const char* first = text.data() + e + 1;
    if (*first == '+') ++first;
    std::from_chars(first, text.data() + text.size(), out.exponent);
    return out;
  }
  // Rare path: round the exact expansion by hand.
  const std::string text = Chars(x, std::chars_format::fixed, ExactPlaces(x));
  const auto point = std::min(text.find('.'), text.size());
  std::string all = text;
  if (point < all.size()) all.erase(point, 1);
  const auto lead = all.find_first_not_of('0');
  out.exponent = static_cast<int>(point) - 1 - static_cast<int>(lead);
  out.digits = all.substr(lead, count);
  out.digits.resize(count, '0');
  const bool up = lead + count < all.size() && all[lead + count] >= '5';
  if (up && Increment(out.digits)) {
    out.digits.assign(count, '0');
    out.digits[0] = '1';
    ++out.exponent;
  }
  return out;
}

}  // namespace quorvel
