#include "app/SessionPaths.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace quorvel {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRestCap = 1000;

char Separator(PathStyle style) { return style == PathStyle::Windows ? '\\' : '/'; }

char Folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameChar(char a, char b, PathStyle style) { return style == PathStyle::Windows ? Folded(a) == Folded(b) : a == b; }

// Absolute and without "." and ".." steps, the way the system's full-path
// function makes it: by the text alone, without following links.
std::string FullPath(const fs::path& path, const fs::path& base) {
  const fs::path full = path.is_absolute() ? path : base / path;
  std::string text = full.lexically_normal().string();
  // "/a/b/" and "/a/b" name the same directory; only the root keeps its slash.
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool IsWindowsAbsolute(std::string_view path) {
  if (path.size() >= 3 && IsLetter(path[0]) && path[1] == ':' && (path[2] == '\\' || path[2] == '/')) return true;
  return path.starts_with("\\\\");
}

bool Exists(const std::string& path) {
  std::error_code ec;
  return fs::exists(path, ec);
}

}  // namespace

std::string GetDir(const std::string& path, PathStyle style) {
  const auto last = path.rfind(Separator(style));
  return last == std::string::npos ? std::string() : path.substr(0, last);
}

std::string RelativePath(const std::string& base, const std::string& target, PathStyle style) {
  const char separator = Separator(style);
  const std::string dir = GetDir(base, style) + separator;
  std::size_t common = 0;
  std::size_t lastCommon = std::string::npos;
  for (std::size_t i = 0; i < dir.size() && i < target.size() && SameChar(dir[i], target[i], style); ++i) {
    if (dir[i] == separator) {
      ++common;
      lastCommon = i;
    }
  }
  if (common == 0) return "";
  const auto depth = static_cast<std::size_t>(std::count(dir.begin(), dir.end(), separator));
  std::string result;
  for (std::size_t up = common; up < depth; ++up) result += std::string("..") + separator;
  return result + target.substr(lastCommon + 1, kRestCap);
}

std::string StoredProjectPath(const std::string& sessionFile, const std::string& projectFile) {
  std::error_code ec;
  const fs::path cwd = fs::current_path(ec);
  const std::string session = FullPath(sessionFile, cwd);
  const std::string project = FullPath(projectFile, cwd);
  const std::string relative = RelativePath(session, project);
  // The relative form is only as good as the way back; a capped or odd one is not stored.
  if (!relative.empty() && FullPath(relative, fs::path(session).parent_path()) == project) return relative;
  return project;
}

std::string ResolveProjectPath(const std::string& sessionDir, const std::string& stored) {
  const bool windowsAbsolute = IsWindowsAbsolute(stored);
  // A name that is absolute on Windows must not be joined to the session's directory.
  const std::string asWritten = windowsAbsolute ? stored : FullPath(stored, sessionDir);
  if (stored.find('\\') == std::string::npos || Exists(asWritten)) return asWritten;
  std::string slashed = stored;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  const std::string converted = FullPath(slashed, sessionDir);
  if (windowsAbsolute && !Exists(converted)) return stored;
  return converted;
}

}  // namespace quorvel
