#include "convert/NumberFormat.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "convert/DecimalDigits.h"
#include "convert/FormatPicture.h"

namespace quorvel {

namespace {

bool SameText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

// The general number form: 15 significant digits without trailing zeros,
// scientific below 1E-04 and from 1E+15 on, as the classic string conversion
// of a double writes it ("1E+15", "1.5E-05", "123456789012345", "0.0001").
std::string GeneralNumber(double y) {
  if (y == 0) return "0";
  ScientificDigits d = ToScientificDigits(y, 15);
  d.digits.erase(d.digits.find_last_not_of('0') + 1);
  std::string out = y < 0 ? "-" : "";
  const int e = d.exponent;
  const int count = static_cast<int>(d.digits.size());
  if (e < -4 || e >= 15) {
    out += d.digits[0];
    if (count > 1) out += "." + d.digits.substr(1);
    out += e < 0 ? "E-" : "E+";
    const std::string exponent = std::to_string(std::abs(e));
    if (exponent.size() < 2) out += '0';
    return out + exponent;
  }
  if (e < 0) return out + "0." + std::string(static_cast<std::size_t>(-e - 1), '0') + d.digits;
  const auto whole = static_cast<std::size_t>(e + 1);
  if (d.digits.size() <= whole) return out + d.digits + std::string(whole - d.digits.size(), '0');
  return out + d.digits.substr(0, whole) + "." + d.digits.substr(whole);
}

// Named formats stand for the whole picture; the answer is either a text or a
// picture to use instead.
struct Named {
  std::string_view name;
  std::string_view picture;  // empty for the yes/no kinds and the general form
  std::string_view yes;
  std::string_view no;
};

constexpr std::array kNamed = {
    Named{"General Number", "", "", ""},      Named{"Fixed", "0.00", "", ""},
    Named{"Standard", "#,##0.00", "", ""},    Named{"Percent", "0.00%", "", ""},
    Named{"Scientific", "0.00E+00", "", ""},  Named{"Yes/No", "", "Yes", "No"},
    Named{"True/False", "", "True", "False"}, Named{"On/Off", "", "On", "Off"},
};

// Up to three sections split at ';' outside quotes and escapes; further ones are ignored.
std::array<std::string_view, 3> SplitSections(std::string_view picture, int& count) {
  std::array<std::string_view, 3> sections{};
  count = 0;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= picture.size() && count < 3; ++i) {
    if (i == picture.size() || picture[i] == ';') {
      sections[static_cast<std::size_t>(count++)] = picture.substr(start, i - start);
      start = i + 1;
    } else if (picture[i] == '\\') {
      ++i;
    } else if (picture[i] == '"') {
      const auto end = picture.find('"', i + 1);
      i = end == std::string_view::npos ? picture.size() - 1 : end;
    }
  }
  return sections;
}

std::string FormatPictured(double y, std::string_view picture) {
  int count = 0;
  const auto sections = SplitSections(picture, count);
  // An empty section falls back to the first one, which then shows the sign itself.
  std::string_view chosen = sections[0];
  bool ownSign = true;
  if (y < 0 && count >= 2 && !sections[1].empty()) {
    chosen = sections[1];
    ownSign = false;
  } else if (y == 0 && count >= 3 && !sections[2].empty()) {
    chosen = sections[2];
  }
  if (chosen.empty()) return GeneralNumber(y);
  return FormatPicture(chosen).Render(y, ownSign && y < 0);
}

}  // namespace

std::string FormatNumber(double y, std::string_view picture) {
  if (std::isnan(y)) return "NaN";
  if (std::isinf(y)) return y > 0 ? "Inf" : "-Inf";
  for (const Named& named : kNamed) {
    if (!SameText(picture, named.name)) continue;
    if (!named.yes.empty()) return std::string(y != 0 ? named.yes : named.no);
    if (named.picture.empty()) return GeneralNumber(y);
    return FormatPictured(y, named.picture);
  }
  if (picture.empty()) return GeneralNumber(y);
  return FormatPictured(y, picture);
}

std::string_view PictureOf(std::string_view format) {
  for (const Named& named : kNamed)
    if (SameText(format, named.name)) return named.picture;
  return format;
}

std::vector<std::string_view> PictureSections(std::string_view picture) {
  int count = 0;
  const auto sections = SplitSections(picture, count);
  return {sections.begin(), sections.begin() + count};
}

std::string FormatTimeOfDay(double seconds) {
  // Dates run from day -657434 to day 2958465 (the years 100 to 9999); the
  // time of any day in that range is shown, nothing outside it.
  if (!std::isfinite(seconds)) throw FormatError(kOverflowText);
  const double day = std::trunc(seconds / 86400.0);
  if (day < -657434.0 || day > 2958465.0) throw FormatError(kOverflowText);
  // A negative date counts its time forward from midnight too, so only the
  // size of the fraction matters. fmod is exact, unlike going through days.
  const double within = std::fabs(std::fmod(seconds, 86400.0));
  const long total = std::lround(within) % 86400;
  const std::array<long, 3> parts = {total / 3600, total / 60 % 60, total % 60};
  std::string out;
  for (long part : parts) {
    if (!out.empty()) out += ':';
    out += static_cast<char>('0' + part / 10);
    out += static_cast<char>('0' + part % 10);
  }
  return out;
}

}  // namespace quorvel
