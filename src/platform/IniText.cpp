#include "platform/IniText.h"

namespace quorvel::platform {
namespace {

bool SameName(std::string_view a, std::string_view b) { return IniLower(a) == IniLower(b); }

}  // namespace

std::string IniLower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

std::string_view IniTrim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

std::string EscapeIniValue(std::string_view value) {
  std::string out;
  for (const char c : value) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      out += c;
    }
  }
  return out;
}

std::string UnescapeIniValue(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) {
      const char next = text[i + 1];
      if (next == '\\' || next == 'n' || next == 'r') {
        out += next == 'n' ? '\n' : next == 'r' ? '\r' : '\\';
        ++i;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

IniText IniText::Parse(std::string_view bytes) {
  IniText ini;
  std::size_t start = 0;
  while (start < bytes.size()) {
    const auto end = bytes.find('\n', start);
    if (end == std::string_view::npos) {
      ini.lines.emplace_back(bytes.substr(start));
      break;
    }
    ini.lines.emplace_back(bytes.substr(start, end - start));
    start = end + 1;
  }
  return ini;
}

std::string_view IniText::Content(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::optional<std::string_view> IniText::SectionOf(std::string_view line) {
  const auto text = IniTrim(Content(line));
  if (text.size() < 2 || text.front() != '[' || text.back() != ']') return std::nullopt;
  return IniTrim(text.substr(1, text.size() - 2));
}

std::optional<std::pair<std::string_view, std::string_view>> IniText::EntryOf(std::string_view line) {
  const auto text = Content(line);
  const auto trimmed = IniTrim(text);
  if (trimmed.empty() || trimmed.front() == ';' || trimmed.front() == '#' || trimmed.front() == '[') {
    return std::nullopt;
  }
  const auto equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return std::pair{IniTrim(text.substr(0, equals)), text.substr(equals + 1)};
}

std::optional<std::pair<std::size_t, std::size_t>> IniText::Section(std::string_view name) const {
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto found = SectionOf(lines[i]);
    if (!found || !SameName(*found, name)) continue;
    std::size_t end = i + 1;
    while (end < lines.size() && !SectionOf(lines[end])) ++end;
    return std::pair{i + 1, end};
  }
  return std::nullopt;
}

std::optional<std::size_t> IniText::Find(std::string_view section, std::string_view key) const {
  const auto range = Section(section);
  if (!range) return std::nullopt;
  for (std::size_t i = range->first; i < range->second; ++i) {
    const auto entry = EntryOf(lines[i]);
    if (entry && SameName(entry->first, key)) return i;
  }
  return std::nullopt;
}

std::optional<std::string> IniText::Get(std::string_view section, std::string_view key) const {
  const auto at = Find(section, key);
  if (!at) return std::nullopt;
  return UnescapeIniValue(EntryOf(lines[*at])->second);
}

std::string IniText::LineEnd() const { return !lines.empty() && lines.front().ends_with('\r') ? "\r" : ""; }

void IniText::Set(const std::string& section, const std::string& key, const std::string& value) {
  const std::string line = key + "=" + EscapeIniValue(value) + LineEnd();
  if (const auto at = Find(section, key)) {
    lines[*at] = line;
    return;
  }
  if (const auto range = Section(section)) {
    // After the section's last non-blank line, so blank separators stay below it.
    std::size_t at = range->second;
    while (at > range->first && IniTrim(Content(lines[at - 1])).empty()) --at;
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), line);
    return;
  }
  if (!lines.empty() && !IniTrim(Content(lines.back())).empty()) lines.push_back(LineEnd());
  lines.push_back("[" + section + "]" + LineEnd());
  lines.push_back(line);
}

std::string IniText::Text() const {
  std::string out;
  for (const auto& line : lines) out += line + "\n";
  return out;
}

}  // namespace quorvel::platform
