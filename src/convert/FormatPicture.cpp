#include "convert/FormatPicture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "convert/DecimalDigits.h"
#include "convert/NumberFormat.h"

namespace quorvel {

namespace {

bool HasNonZero(const std::string& digits) { return digits.find_first_not_of('0') != std::string::npos; }

}  // namespace

FormatPicture::FormatPicture(std::string_view s) {
  bool seenDigit = false;
  bool seenPoint = false;
  bool seenExponent = false;
  int pendingCommas = 0;
  int firstForced = -1;
  // Commas that no integer digit follows scale the value instead of grouping it.
  const auto closeWhole = [&] {
    thousands_ += pendingCommas;
    pendingCommas = 0;
  };

  for (std::size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '\\') {
      if (i + 1 < s.size()) AddLiteral(s.substr(++i, 1));
    } else if (c == '"') {
      const auto end = std::min(s.find('"', i + 1), s.size());
      AddLiteral(s.substr(i + 1, end - i - 1));
      i = end;
    } else if (c == '0' || c == '#') {
      // Placeholders after the exponent have nothing left to show.
      if (seenExponent) continue;
      const bool forced = c == '0';
      if (seenPoint) {
        tokens_.push_back({Kind::Fraction, {}, forced, 0});
        ++fracCount_;
        if (forced) minFrac_ = fracCount_;
      } else {
        if (pendingCommas > 0) grouping_ = true;
        pendingCommas = 0;
        if (forced && firstForced < 0) firstForced = wholeCount_;
        tokens_.push_back({Kind::Whole, {}, forced, 0});
        ++wholeCount_;
      }
      seenDigit = true;
    } else if (c == '.' && !seenPoint && !seenExponent) {
      closeWhole();
      tokens_.push_back({Kind::Point, {}, false, 0});
      seenPoint = true;
    } else if (c == ',' && seenDigit && !seenExponent) {
      if (!seenPoint) ++pendingCommas;
    } else if ((c == 'E' || c == 'e') && seenDigit && !seenExponent && i + 1 < s.size() &&
               (s[i + 1] == '+' || s[i + 1] == '-')) {
      closeWhole();
      Token exponent{Kind::Exponent, std::string(1, c), s[i + 1] == '+', 0};
      for (i += 2; i < s.size() && s[i] == '0'; ++i) ++exponent.width;
      --i;
      tokens_.push_back(std::move(exponent));
      seenExponent = scientific_ = true;
    } else {
      if (c == '%') ++percent_;
      AddLiteral(s.substr(i, 1));
    }
  }
  closeWhole();
  minWhole_ = firstForced < 0 ? 0 : wholeCount_ - firstForced;
}

void FormatPicture::AddLiteral(std::string_view text) {
  if (!tokens_.empty() && tokens_.back().kind == Kind::Literal) {
    tokens_.back().text += text;
  } else {
    tokens_.push_back({Kind::Literal, std::string(text), false, 0});
  }
}

FormatPicture::Decoration FormatPicture::Decor() const {
  Decoration d{{}, percent_, thousands_, grouping_};
  for (const Token& t : tokens_)
    if (t.kind == Kind::Literal) d.literals.push_back(t.text);
  return d;
}

std::string FormatPicture::Render(double magnitude, bool withSign) const {
  double x = std::fabs(magnitude);
  for (int i = 0; i < percent_; ++i) x *= 100;
  for (int i = 0; i < thousands_; ++i) x /= 1000;
  if (!std::isfinite(x)) throw FormatError(kOverflowText);

  std::string whole;
  std::string frac;
  int exponent = 0;
  if (scientific_) {
    // The mantissa keeps exactly as many integer digits as the picture has places for.
    const int significant = wholeCount_ > 0 ? wholeCount_ + fracCount_ : fracCount_;
    const ScientificDigits d = ToScientificDigits(x, significant);
    const auto split = static_cast<std::size_t>(wholeCount_);
    whole = d.digits.substr(0, split);
    frac = d.digits.substr(std::min(split, d.digits.size()));
    frac.resize(static_cast<std::size_t>(fracCount_), '0');
    if (x != 0) exponent = d.exponent - (wholeCount_ - 1);
    whole.erase(0, whole.find_first_not_of('0'));
  } else {
    FixedDigits d = ToFixedDigits(x, fracCount_);
    whole = std::move(d.whole);
    frac = std::move(d.frac);
  }
  const bool sign = withSign && (HasNonZero(whole) || HasNonZero(frac));

  if (whole.size() < static_cast<std::size_t>(minWhole_)) {
    whole.insert(0, static_cast<std::size_t>(minWhole_) - whole.size(), '0');
  }
  // Trailing zeros in optional places are not shown.
  const auto lastNonZero = frac.find_last_not_of('0');
  const std::size_t used = lastNonZero == std::string::npos ? 0 : lastNonZero + 1;
  frac.resize(std::max(used, static_cast<std::size_t>(minFrac_)));
  return Emit(whole, frac, exponent, sign);
}

std::string FormatPicture::Emit(const std::string& whole, const std::string& frac, int exponent, bool sign) const {
  std::string out;
  const int n = static_cast<int>(whole.size());
  // q counts integer digits from the units up.
  const auto putWhole = [&](int q) {
    out += whole[static_cast<std::size_t>(n - 1 - q)];
    if (grouping_ && q > 0 && q % 3 == 0) out += ',';
  };
  const auto putSign = [&] {
    if (sign) out += '-';
    sign = false;
  };

  int wholeSeen = 0;
  std::size_t fracSeen = 0;
  for (const Token& t : tokens_) {
    switch (t.kind) {
      case Kind::Literal:
        out += t.text;
        break;
      case Kind::Whole: {
        putSign();
        const int place = wholeCount_ - 1 - wholeSeen++;
        // The leftmost placeholder takes every digit that has no place of its own.
        const int from = place == wholeCount_ - 1 ? n - 1 : std::min(place, n - 1);
        for (int q = from; q >= place; --q) putWhole(q);
        break;
      }
      case Kind::Point:
        putSign();
        if (wholeCount_ == 0) {
          for (int q = n - 1; q >= 0; --q) putWhole(q);
        }
        out += '.';
        break;
      case Kind::Fraction:
        if (fracSeen < frac.size()) out += frac[fracSeen];
        ++fracSeen;
        break;
      case Kind::Exponent: {
        out += t.text;
        if (exponent < 0) {
          out += '-';
        } else if (t.forced) {
          out += '+';
        }
        const std::string digits = std::to_string(std::abs(exponent));
        if (static_cast<int>(digits.size()) < t.width) out.append(t.width - digits.size(), '0');
        out += digits;
        break;
      }
    }
  }
  return out;
}

}  // namespace quorvel
