#include "app/cli/PortArgs.h"

#include <poll.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <ctime>

#include "app/Settings.h"
#include "platform/SettingsStore.h"
#include "serial/NetworkLines.h"

namespace quorvel::cli {

std::optional<std::int64_t> ParseInteger(const std::string& text, std::int64_t lo, std::int64_t hi) {
  const auto value = ParseDouble(text);
  // Whole and within the 64-bit range before it is converted: "1e49" is a
  // number, but no integer holds it.
  if (!value || !(*value >= -0x1p63 && *value < 0x1p63) || *value != std::trunc(*value)) return std::nullopt;
  const auto n = static_cast<std::int64_t>(*value);
  if (n < lo || n > hi) return std::nullopt;
  return n;
}

bool ApplyLine(const std::string& text, PortEntry& entry) {
  const auto dash = text.find('-');
  if (dash == std::string::npos) return false;
  const auto baud = ParseInteger(text.substr(0, dash), 50, 100'000'000);
  std::string rest = text.substr(dash + 1);
  bool ascii = false;
  if (const auto framing = rest.find('-'); framing != std::string::npos) {
    const std::string kind = rest.substr(framing + 1);
    if (kind != "ascii" && kind != "rtu") return false;
    ascii = kind == "ascii";
    rest = rest.substr(0, framing);
  }
  if (!baud || rest.size() < 3 || (rest[0] != '7' && rest[0] != '8')) return false;
  static const std::string kParities = "NOEMS";
  const auto parity = kParities.find(static_cast<char>(std::toupper(static_cast<unsigned char>(rest[1]))));
  const std::string stop = rest.substr(2);
  if (parity == std::string::npos || (stop != "1" && stop != "1.5" && stop != "2")) return false;
  entry.dcb.BaudRate = static_cast<std::uint32_t>(*baud);
  entry.dcb.ByteSize = static_cast<std::uint8_t>(rest[0] - '0');
  entry.dcb.Parity = static_cast<std::uint8_t>(parity);
  entry.dcb.StopBits = stop == "1" ? 0 : (stop == "1.5" ? 1 : 2);
  entry.ASCII = ascii;
  entry.ASCII8bits = rest[0] == '8';
  return true;
}

int ReadPortOptions(const std::string& command, const Options& options, PortChoice& choice, PortEntry& entry, Io& io) {
  if (const auto store = platform::OpenUserSettings()) choice.map = LoadPortMap(*store);
  for (const auto& [name, value] : options.named)
    if (name == "--map")
      if (const auto problem = choice.map.ApplyOverride(value)) return UsageError(io, command, *problem);
  if (const std::string* text = options.find("--com")) {
    const auto value = ParseInteger(*text, 1, 16);
    if (!value) return UsageError(io, command, "a port is 1 to 16, not '" + *text + "'");
    choice.com = static_cast<std::int16_t>(*value);
  }
  if (const std::string* text = options.find("--line"); text && !ApplyLine(*text, entry))
    return UsageError(io, command, "a line is like 19200-8E1 or 9600-7E1-ascii, not '" + *text + "'");
  if (const std::string* text = options.find("--timing")) {
    const auto timing = ParseLineTiming(*text);
    if (!timing) return UsageError(io, command, "timing is classic, standard or fast, not '" + *text + "'");
    entry.Timing = *timing;
  }
  return kOk;
}

bool WaitOnPort(const clsCOM& port, const platform::Clock& clock, int stopFd, double maxMs) {
  const double waitMs = std::clamp(std::min(port.NextDeadlineMs() - clock.GetTimeMs(), maxMs), 0.0, 1000.0);
  const auto ns = static_cast<std::int64_t>(std::ceil(waitMs * 1e6));
  const timespec timeout{static_cast<time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
  pollfd fds[2] = {{stopFd, POLLIN, 0}, {port.WantsBytes() ? port.Descriptor() : -1, POLLIN, 0}};
  // A line without a descriptor is looked at every millisecond.
  const timespec tick{0, 1'000'000};
  ppoll(fds, 2, port.Descriptor() < 0 && waitMs > 1 ? &tick : &timeout, nullptr);
  return (fds[0].revents & POLLIN) != 0;
}

LonePort::LonePort(PortEntry& entry, const platform::Clock& clock, const platform::PortMap& map, Io& io)
    : port_(
          entry, *this, clock,
          [&map](int com) -> std::unique_ptr<platform::SerialLine> { return LineForPath(map.Path(com)); },
          [&io](const std::string& text) { io.err << text << "\n"; }) {}

}  // namespace quorvel::cli
