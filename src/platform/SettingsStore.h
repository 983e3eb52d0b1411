#pragma once

// The per-user settings store: string values by application, section and key,
// read with a default and written one at a time. The file store keeps one
// text file per application under the user's configuration directory; the
// memory store is for tests and for a user without a home.

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

namespace quorvel::platform {

class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  // The stored value, or `defaultValue` when there is none.
  virtual std::string GetSetting(const std::string& app, const std::string& section, const std::string& key,
                                 const std::string& defaultValue) = 0;
  // False when the value could not be stored.
  virtual bool SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                           const std::string& value) = 0;
};

class MemorySettingsStore : public SettingsStore {
 public:
  std::string GetSetting(const std::string& app, const std::string& section, const std::string& key,
                         const std::string& defaultValue) override;
  bool SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                   const std::string& value) override;

 private:
  std::map<std::tuple<std::string, std::string, std::string>, std::string> values_;
};

// Application "Quorvel" lives in <root>/quorvel/quorvel.conf, an INI text:
// "[Section]" lines and "key=value" lines below them. Section and key names
// match in any letter case, as the registry's do. In values a backslash
// escapes a line break ("\n", "\r") and itself ("\\"); any other backslash
// stands for itself, so hand-typed Windows paths read as typed. Lines the
// store does not understand are kept and ignored. Every call reads the file
// afresh, so a second copy of the program sees what the first one wrote;
// every write replaces the file atomically.
class FileSettingsStore : public SettingsStore {
 public:
  explicit FileSettingsStore(std::filesystem::path root) : root_(std::move(root)) {}

  std::string GetSetting(const std::string& app, const std::string& section, const std::string& key,
                         const std::string& defaultValue) override;
  bool SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                   const std::string& value) override;

  std::filesystem::path FileOf(const std::string& app) const;
  // Why the last write failed; empty after a good one.
  const std::string& LastError() const { return lastError_; }

 private:
  std::filesystem::path root_;
  std::string lastError_;
};

// The user's configuration directory: $XDG_CONFIG_HOME when it is an absolute
// path, else $HOME/.config (the home from the password database when HOME is
// not set); nothing when neither is known.
std::optional<std::filesystem::path> UserConfigHome();

// The file store in the user's configuration directory, or a memory store
// when there is none.
std::unique_ptr<SettingsStore> OpenUserSettings();

}  // namespace quorvel::platform
