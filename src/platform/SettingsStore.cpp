#include "platform/SettingsStore.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/AtomicFile.h"
#include "platform/BoundedRead.h"

namespace quorvel::platform {
namespace {

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

bool SameName(std::string_view a, std::string_view b) { return Lower(a) == Lower(b); }

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

std::string Escape(std::string_view value) {
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

std::string Unescape(std::string_view text) {
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

// The lines of an INI text, each without its line feed; a carriage return
// before it stays with the line so that it is written back as it was.
struct IniText {
  std::vector<std::string> lines;

  static IniText Parse(std::string_view bytes) {
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

  static std::string_view Content(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
  }

  // The section name of a "[name]" line.
  static std::optional<std::string_view> SectionOf(std::string_view line) {
    const auto text = Trim(Content(line));
    if (text.size() < 2 || text.front() != '[' || text.back() != ']') return std::nullopt;
    return Trim(text.substr(1, text.size() - 2));
  }

  // The key and the raw value of a "key=value" line.
  static std::optional<std::pair<std::string_view, std::string_view>> EntryOf(std::string_view line) {
    const auto text = Content(line);
    const auto trimmed = Trim(text);
    if (trimmed.empty() || trimmed.front() == ';' || trimmed.front() == '#' || trimmed.front() == '[') {
      return std::nullopt;
    }
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    return std::pair{Trim(text.substr(0, equals)), text.substr(equals + 1)};
  }

  // Lines [first, last) of the section, after its header; nothing when absent.
  std::optional<std::pair<std::size_t, std::size_t>> Section(std::string_view name) const {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const auto found = SectionOf(lines[i]);
      if (!found || !SameName(*found, name)) continue;
      std::size_t end = i + 1;
      while (end < lines.size() && !SectionOf(lines[end])) ++end;
      return std::pair{i + 1, end};
    }
    return std::nullopt;
  }

  std::optional<std::size_t> Find(std::string_view section, std::string_view key) const {
    const auto range = Section(section);
    if (!range) return std::nullopt;
    for (std::size_t i = range->first; i < range->second; ++i) {
      const auto entry = EntryOf(lines[i]);
      if (entry && SameName(entry->first, key)) return i;
    }
    return std::nullopt;
  }

  // The line end of the file as it was written by hand: CR LF when its first line has it.
  std::string LineEnd() const { return !lines.empty() && lines.front().ends_with('\r') ? "\r" : ""; }

  void Set(const std::string& section, const std::string& key, const std::string& value) {
    const std::string line = key + "=" + Escape(value) + LineEnd();
    if (const auto at = Find(section, key)) {
      lines[*at] = line;
      return;
    }
    if (const auto range = Section(section)) {
      // After the section's last non-blank line, so blank separators stay below it.
      std::size_t at = range->second;
      while (at > range->first && Trim(Content(lines[at - 1])).empty()) --at;
      lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), line);
      return;
    }
    if (!lines.empty() && !Trim(Content(lines.back())).empty()) lines.push_back(LineEnd());
    lines.push_back("[" + section + "]" + LineEnd());
    lines.push_back(line);
  }

  std::string Text() const {
    std::string out;
    for (const auto& line : lines) out += line + "\n";
    return out;
  }
};

bool ValidName(std::string_view name) {
  if (name.empty() || Trim(name) != name) return false;
  if (name.front() == '[' || name.front() == ';' || name.front() == '#') return false;
  return name.find_first_of("=[]\r\n") == std::string_view::npos;
}

}  // namespace

std::string MemorySettingsStore::GetSetting(const std::string& app, const std::string& section, const std::string& key,
                                            const std::string& defaultValue) {
  const auto found = values_.find({Lower(app), Lower(section), Lower(key)});
  return found == values_.end() ? defaultValue : found->second;
}

bool MemorySettingsStore::SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                                      const std::string& value) {
  values_[{Lower(app), Lower(section), Lower(key)}] = value;
  return true;
}

std::filesystem::path FileSettingsStore::FileOf(const std::string& app) const {
  const std::string name = Lower(app);
  return root_ / name / (name + ".conf");
}

std::string FileSettingsStore::GetSetting(const std::string& app, const std::string& section, const std::string& key,
                                          const std::string& defaultValue) {
  if (!ValidName(app) || app.find('/') != std::string::npos || app == "." || app == "..") return defaultValue;
  std::string bytes, error;
  if (!ReadWholeFile(FileOf(app).string(), kSettingsFileLimit, bytes, error)) return defaultValue;
  const IniText ini = IniText::Parse(bytes);
  const auto at = ini.Find(section, key);
  if (!at) return defaultValue;
  return Unescape(IniText::EntryOf(ini.lines[*at])->second);
}

bool FileSettingsStore::SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                                    const std::string& value) {
  lastError_.clear();
  if (!ValidName(app) || app.find('/') != std::string::npos || app == "." || app == ".." || !ValidName(section) ||
      !ValidName(key)) {
    lastError_ = "not a usable settings name: " + app + " / " + section + " / " + key;
    return false;
  }
  const auto file = FileOf(app);
  std::error_code ec;
  std::string bytes;
  if (std::filesystem::exists(file, ec)) {
    // An unreadable file is left alone rather than replaced by this one value.
    if (!ReadWholeFile(file.string(), kSettingsFileLimit, bytes, lastError_)) return false;
  } else if (ec) {
    lastError_ = "Cannot read " + file.string() + ": " + ec.message();
    return false;
  }
  std::filesystem::create_directories(file.parent_path(), ec);
  if (ec) {
    lastError_ = "Cannot create " + file.parent_path().string() + ": " + ec.message();
    return false;
  }
  IniText ini = IniText::Parse(bytes);
  ini.Set(section, key, value);
  return WriteFileAtomically(file.string(), ini.Text(), lastError_);
}

std::optional<std::filesystem::path> UserConfigHome() {
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && xdg[0] == '/') return std::filesystem::path(xdg);
  if (const char* home = std::getenv("HOME"); home && home[0] != '\0') {
    return std::filesystem::path(home) / ".config";
  }
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir &&
      found->pw_dir[0] != '\0') {
    return std::filesystem::path(found->pw_dir) / ".config";
  }
  return std::nullopt;
}

std::unique_ptr<SettingsStore> OpenUserSettings() {
  if (const auto home = UserConfigHome()) return std::make_unique<FileSettingsStore>(*home);
  return std::make_unique<MemorySettingsStore>();
}

}  // namespace quorvel::platform
