#include "convert/EntryPicture.h"

#include <cmath>

#include "convert/FormatPicture.h"
#include "convert/NumberFormat.h"

namespace quorvel {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Blanks in a picture separate digit groups; they are not text to look for.
std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

bool AllBlank(std::string_view s) { return Trim(s).empty(); }

}  // namespace

PictureReading ReadThroughPicture(std::string_view text, std::string_view format) {
  PictureReading best{std::string(text), 1, false, false, {}};
  const std::string_view picture = PictureOf(format);
  if (picture.empty() || format == "hh:mm:ss") return best;
  const auto sections = PictureSections(picture);
  std::size_t bestMatched = 0;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    // An empty section is shown through the first one, sign and all.
    const bool own = !sections[i].empty();
    const FormatPicture::Decoration d = FormatPicture(own ? sections[i] : sections[0]).Decor();
    PictureReading reading{std::string(text), 1, i == 1 && own, d.grouping, {}};
    std::size_t matched = 0;
    std::size_t from = 0;
    for (const std::string& part : d.literals) {
      const std::string_view literal = Trim(part);
      if (literal.empty()) continue;
      reading.unit += (reading.unit.empty() ? "" : " ") + std::string(literal);
      const std::size_t at = reading.number.find(literal, from);
      if (at == std::string::npos) continue;
      // A blank in its place keeps the numbers on either side apart.
      reading.number.replace(at, literal.size(), " ");
      from = at + 1;
      matched += literal.size();
    }
    // The zero section may show no digits at all ("zero", "-").
    if (i == 2 && own && matched > 0 && AllBlank(reading.number)) reading.number = "0";
    reading.factor = std::pow(1000.0, d.thousands) / std::pow(100.0, d.percent);
    if (i == 0 || matched > bestMatched) {
      best = std::move(reading);
      bestMatched = matched;
    }
  }
  return best;
}

}  // namespace quorvel
