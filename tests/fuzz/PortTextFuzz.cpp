// libFuzzer target: any bytes as the texts that say which port a command
// talks on and how: a --line value, --map overrides and the ';'-separated
// list the demo hands on. A line text is taken whole or not at all, and what
// it set reads the same when written back in the canonical form; an override
// changes exactly its own port to exactly its path, or nothing; a list acts
// as its parts one by one.
//
// Input: byte 0 picks the text's use; the rest is the text.

#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzCheck.h"
#include "app/cli/PortArgs.h"

using namespace quorvel;
using fuzz::Check;

namespace {

// The canonical --line text of what ApplyLine set.
std::string LineText(const PortEntry& entry) {
  static const char kParities[] = "NOEMS";
  static const char* const kStops[] = {"1", "1.5", "2"};
  return std::to_string(entry.dcb.BaudRate) + "-" + std::to_string(entry.dcb.ByteSize) + kParities[entry.dcb.Parity] +
         kStops[entry.dcb.StopBits] + (entry.ASCII ? "-ascii" : "-rtu");
}

bool SamePaths(const platform::PortMap& a, const platform::PortMap& b) {
  for (int com = 1; com <= platform::PortMap::kPorts; ++com)
    if (a.Path(com) != b.Path(com)) return false;
  return true;
}

void LineOption(const std::string& text) {
  PortEntry entry;
  entry.dcb.BaudRate = 1;  // marks untouched fields
  entry.dcb.ByteSize = 3;
  entry.ASCII = true;
  const DCB before = entry.dcb;
  if (!cli::ApplyLine(text, entry)) {
    Check(entry.dcb == before && entry.ASCII && !entry.ASCII8bits, "a refused line text changes nothing");
    return;
  }
  Check(entry.dcb.BaudRate >= 50 && entry.dcb.BaudRate <= 100'000'000, "the baud rate is in range");
  Check(entry.dcb.ByteSize == 7 || entry.dcb.ByteSize == 8, "7 or 8 data bits");
  Check(entry.dcb.Parity <= 4 && entry.dcb.StopBits <= 2, "parity and stop bits are codes");
  Check(entry.ASCII8bits == (entry.dcb.ByteSize == 8), "the ASCII byte size follows the data bits");
  PortEntry again;
  Check(cli::ApplyLine(LineText(entry), again), "the canonical text is taken");
  Check(again.dcb == entry.dcb && again.ASCII == entry.ASCII && again.ASCII8bits == entry.ASCII8bits,
        "the canonical text sets the same");
}

void MapOption(std::string_view text) {
  platform::PortMap map;
  const platform::PortMap before = map;
  if (const auto problem = map.ApplyOverride(text)) {
    Check(!problem->empty() && SamePaths(map, before), "a refused override says why and changes nothing");
    return;
  }
  const std::size_t equals = text.find('=');
  Check(equals != std::string_view::npos, "an override has '='");
  const std::string_view path = text.substr(equals + 1);
  Check(!path.empty(), "an override names a path");
  int changed = 0, differ = 0;
  for (int com = 1; com <= platform::PortMap::kPorts; ++com) {
    if (map.Path(com) != before.Path(com)) {
      changed = com;
      ++differ;
    }
  }
  // A port may already have had that very path.
  Check(differ <= 1, "only the override's own port changes");
  if (changed != 0) Check(map.Path(changed) == path, "the port takes the override's path");
}

void PortList(std::string_view list) {
  platform::PortMap whole;
  const auto problem = whole.ApplyOverrides(list);
  platform::PortMap parts;
  std::optional<std::string> first;
  std::size_t start = 0;
  while (start <= list.size() && !first) {
    const std::size_t end = list.find(';', start);
    const std::string_view part = list.substr(start, end == std::string_view::npos ? end : end - start);
    if (!part.empty()) first = parts.ApplyOverride(part);
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  Check(problem == first, "a list stops at its first bad part, with its reason");
  Check(SamePaths(whole, parts), "a list acts as its parts one by one");
}

void Integer(const std::string& text) {
  if (const auto n = cli::ParseInteger(text, -1000, 65535))
    Check(*n >= -1000 && *n <= 65535, "a whole number in range");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  switch (data[0] % 4) {
    case 0:
      LineOption(text);
      break;
    case 1:
      MapOption(text);
      break;
    case 2:
      PortList(text);
      break;
    default:
      Integer(text);
      break;
  }
  return 0;
}
