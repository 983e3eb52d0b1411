#include "project/ProjectFile.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace quorvel {

SectionCounts CountsOf(const std::vector<std::int16_t>& sections) {
  const auto entry = [&](std::size_t i) { return i < sections.size() ? sections[i] : 0; };
  SectionCounts counts;
  counts.hidden = std::max(0, static_cast<int>(entry(0)));
  counts.panel = std::max(0, entry(1) - entry(0));
  counts.requests = std::max(0, static_cast<int>(entry(2)));
  counts.pictures = std::max(0, static_cast<int>(entry(3)));
  return counts;
}

std::vector<std::int16_t> SectionsFor(const ProjectFile& file) {
  const std::size_t elements = file.HiddenElements.size() + file.Elements.size();
  constexpr std::size_t kMost = std::numeric_limits<std::int16_t>::max();
  if (elements > kMost || file.Requests.size() > kMost || file.Pictures.size() > kMost) {
    throw std::length_error("a project holds at most 32767 elements, requests and pictures");
  }
  return {static_cast<std::int16_t>(file.HiddenElements.size()), static_cast<std::int16_t>(elements),
          static_cast<std::int16_t>(file.Requests.size()), static_cast<std::int16_t>(file.Pictures.size())};
}

std::string HeaderText(std::string_view rawHeader) {
  std::string text;
  for (char c : rawHeader) {
    if (c == '\n') break;
    if (c != '\r') text += c;
  }
  return text;
}

bool HasProjectTag(std::string_view header) {
  const std::string_view tag = kProjectTag;
  const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
  const auto found = std::search(header.begin(), header.end(), tag.begin(), tag.end(),
                                 [&](char a, char b) { return lower(a) == lower(b); });
  return found != header.end();
}

}  // namespace quorvel
