#include "platform/SerialDevices.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;

// The number a device name ends in; names without one sort first.
long Number(std::string_view name, std::size_t prefix) {
  const std::string_view digits = name.substr(prefix);
  if (digits.empty() || !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
    return -1;
  return std::stol(std::string(digits));
}

// /sys tells the UART type of an on-board port; 0 is none. A port it says
// nothing about is kept.
bool HasUart(const std::string& name) {
  std::ifstream type("/sys/class/tty/" + name + "/type");
  int value = 1;
  return !(type >> value) || value != 0;
}

}  // namespace

std::vector<std::string> ListSerialDevices(const std::string& dev) {
  std::vector<std::string> found;
  std::error_code error;
  std::vector<std::string> stable;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(dev) / "serial" / "by-id", error))
    stable.push_back(entry.path().string());
  std::sort(stable.begin(), stable.end());
  found = std::move(stable);

  constexpr std::array<std::string_view, 5> kFamilies = {"ttyS", "ttyUSB", "ttyACM", "ttyAMA", "rfcomm"};
  std::vector<fs::directory_entry> nodes;
  for (const fs::directory_entry& entry : fs::directory_iterator(dev, error)) nodes.push_back(entry);
  for (const std::string_view family : kFamilies) {
    std::vector<std::pair<long, std::string>> members;
    for (const fs::directory_entry& entry : nodes) {
      const std::string name = entry.path().filename().string();
      if (name.rfind(family, 0) != 0) continue;
      const long number = Number(name, family.size());
      if (number < 0) continue;
      if (family == "ttyS" && !HasUart(name)) continue;
      members.emplace_back(number, entry.path().string());
    }
    std::sort(members.begin(), members.end());
    for (auto& [number, path] : members) found.push_back(std::move(path));
  }
  return found;
}

}  // namespace quorvel::platform
