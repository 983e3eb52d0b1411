#include "platform/PortMap.h"

#include <cctype>
#include <utility>

namespace quorvel::platform {
namespace {

bool InRange(int com) { return com >= 1 && com <= PortMap::kPorts; }

// "3" -> 3; anything but 1 to 2 plain decimal digits -> 0.
int PortNumber(std::string_view digits) {
  if (digits.empty() || digits.size() > 2) return 0;
  int n = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return 0;
    n = n * 10 + (c - '0');
  }
  return n;
}

}  // namespace

PortMap::PortMap() {
  for (int com = 1; com <= kPorts; ++com) paths_[static_cast<std::size_t>(com - 1)] = DefaultPath(com);
}

std::string PortMap::DefaultPath(int com) {
  if (!InRange(com)) return {};
  if (com <= 4) return "/dev/ttyS" + std::to_string(com - 1);
  if (com <= 12) return "/dev/ttyUSB" + std::to_string(com - 5);
  return "/dev/ttyACM" + std::to_string(com - 13);
}

std::string PortMap::Key(int com) { return "COM" + std::to_string(com); }

const std::string& PortMap::Path(int com) const {
  static const std::string kNone;
  return InRange(com) ? paths_[static_cast<std::size_t>(com - 1)] : kNone;
}

bool PortMap::Set(int com, std::string path) {
  if (!InRange(com) || path.empty()) return false;
  paths_[static_cast<std::size_t>(com - 1)] = std::move(path);
  return true;
}

void PortMap::Load(const Reader& read) {
  for (int com = 1; com <= kPorts; ++com) Set(com, read(Key(com), Path(com)));
}

std::optional<std::string> PortMap::ApplyOverride(std::string_view text) {
  const std::size_t equals = text.find('=');
  const std::string_view name = text.substr(0, equals);
  const bool isCom = name.size() > 3 && std::toupper(static_cast<unsigned char>(name[0])) == 'C' &&
                     std::toupper(static_cast<unsigned char>(name[1])) == 'O' &&
                     std::toupper(static_cast<unsigned char>(name[2])) == 'M';
  if (equals == std::string_view::npos || !isCom) return "expected COMn=PATH, got '" + std::string(text) + "'";
  const int com = PortNumber(name.substr(3));
  if (!InRange(com)) return "no port " + std::string(name) + ": ports are COM1 to COM16";
  const std::string_view path = text.substr(equals + 1);
  if (path.empty()) return "no path given for " + std::string(name);
  Set(com, std::string(path));
  return std::nullopt;
}

std::optional<std::string> PortMap::ApplyOverrides(std::string_view list) {
  while (!list.empty()) {
    const auto end = list.find(';');
    const std::string_view part = list.substr(0, end);
    if (!part.empty())
      if (auto problem = ApplyOverride(part)) return problem;
    if (end == std::string_view::npos) break;
    list.remove_prefix(end + 1);
  }
  return std::nullopt;
}

}  // namespace quorvel::platform
