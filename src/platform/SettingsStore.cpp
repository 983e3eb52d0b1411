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
#include "platform/IniText.h"

namespace quorvel::platform {
namespace {

std::string Lower(std::string_view text) { return IniLower(text); }

std::string_view Trim(std::string_view text) { return IniTrim(text); }

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
  return IniText::Parse(bytes).Get(section, key).value_or(defaultValue);
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
