#include "app/SessionFile.h"

#include <limits>

#include "app/WriteNotation.h"

namespace quorvel {
namespace {

constexpr std::int64_t kIntegerLow = std::numeric_limits<std::int16_t>::min();
constexpr std::int64_t kIntegerHigh = std::numeric_limits<std::int16_t>::max();
constexpr std::int64_t kLongLow = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kLongHigh = std::numeric_limits<std::int32_t>::max();

std::string PortField(int com, const char* field) { return std::string(field) + " of COM" + std::to_string(com); }

std::string WindowField(std::size_t window, const char* field) {
  return std::string(field) + " of window " + std::to_string(window);
}

constexpr std::string_view kLineTimingTag = "LineTiming";

// What a field may hold, in the words the command line uses for its options.
struct Range {
  std::int64_t low, high;
  const char* rule;
};
constexpr Range kPortModes{0, 3, "a mode is 0 (none) to 3"};
constexpr Range kParities{0, 4, "a parity is 0 to 4"};
constexpr Range kStopBits{0, 2, "stop bits are 0 to 2"};
constexpr Range kBaudRates{1, 4'000'000, "a baud rate is 1 to 4000000"};
constexpr Range kWindowModes{1, 3, "a mode is 1 to 3"};
constexpr Range kIds{0, 255, "an ID is 0 to 255"};
constexpr Range kTimeouts{0, kLongHigh, "a timeout is 0 or more milliseconds"};

// The next whole number when `range` holds it; otherwise it is noted and
// `fallback` comes back, so one odd value does not cost the rest of the file.
std::int64_t Ranged(WriteNotationReader& in, const std::string& what, std::int64_t readLow, std::int64_t readHigh,
                    const Range& range, std::int64_t fallback, SessionReading& reading) {
  const int line = in.Line();
  const std::int64_t value = in.Integer(what, readLow, readHigh);
  if (value >= range.low && value <= range.high) return value;
  reading.outOfRange.emplace_back(
      line, "line " + std::to_string(line) + ": " + what + ": " + range.rule + ", not '" + std::to_string(value) + "'");
  return fallback;
}

bool UsesLineTiming(const SessionFile& session) {
  for (const SessionPort& port : session.Ports)
    if (port.Timing != LineTiming::Classic || port.Echo) return true;
  return false;
}

// The trailing line timing block into `session`'s ports, all of it or none:
// a block that cannot be read whole leaves every port Classic without echo.
void ReadLineTiming(WriteNotationReader& in, SessionFile& session) {
  std::array<SessionPort, 16> ports = session.Ports;
  try {
    if (in.String("the line timing tag") != kLineTimingTag) return;
    for (int com = 1; com <= 16; ++com) {
      SessionPort& port = ports[static_cast<std::size_t>(com - 1)];
      const auto timing = in.Integer(PortField(com, "Timing"), kIntegerLow, kIntegerHigh);
      // A timing this version does not know is left to the one it does.
      port.Timing = timing >= 0 && timing <= static_cast<std::int64_t>(LineTiming::Fast)
                        ? static_cast<LineTiming>(timing)
                        : LineTiming::Classic;
      port.Echo = in.Boolean(PortField(com, "Echo"));
    }
  } catch (const WriteNotationError&) {
    // The windows before it are good; a session saved by a later version
    // or spoilt at its end still opens them.
    return;
  }
  session.Ports = ports;
}

}  // namespace

std::string FormatSession(const SessionFile& session) {
  WriteNotationWriter out;
  for (const SessionPort& port : session.Ports) {
    out.Boolean(port.ASCII);
    out.Boolean(port.ASCII8bits);
    // The file's fields are signed 32-bit, as the record's are on the system it comes from.
    out.Integer(static_cast<std::int32_t>(port.BaudRate));
    out.Integer(port.Mode);
    out.Integer(port.Parity);
    out.Integer(static_cast<std::int32_t>(port.Flags));
    out.Integer(port.StopBits);
  }
  out.Single(session.Width);
  out.Single(session.Height);
  out.Integer(static_cast<std::int64_t>(session.Windows.size()));
  for (const SessionWindow& window : session.Windows) {
    out.String(window.ProjectFile);
    out.Integer(window.COM);
    out.Integer(window.ID);
    out.Integer(window.Mode);
    out.Integer(window.Timeout);
    out.Integer(window.PollingPeriod);
    out.Integer(window.Interval);
    out.Boolean(window.AutoEnable);
    out.Single(window.Left);
    out.Single(window.Top);
    out.Single(window.Width);
    out.Single(window.Height);
  }
  if (UsesLineTiming(session)) {
    out.String(kLineTimingTag);
    for (const SessionPort& port : session.Ports) {
      out.Integer(static_cast<std::int16_t>(port.Timing));
      out.Boolean(port.Echo);
    }
  }
  return out.Text();
}

SessionReading ReadSession(std::string_view text) {
  WriteNotationReader in(text);
  SessionReading reading;
  SessionFile& session = reading.session;
  try {
    const SessionPort portDefaults;
    for (int com = 1; com <= 16; ++com) {
      SessionPort port;
      port.ASCII = in.Boolean(PortField(com, "ASCII"));
      port.ASCII8bits = in.Boolean(PortField(com, "ASCII8bits"));
      port.BaudRate = static_cast<std::uint32_t>(
          Ranged(in, PortField(com, "BaudRate"), kLongLow, kLongHigh, kBaudRates, portDefaults.BaudRate, reading));
      port.Mode = static_cast<std::int16_t>(
          Ranged(in, PortField(com, "Mode"), kIntegerLow, kIntegerHigh, kPortModes, portDefaults.Mode, reading));
      port.Parity = static_cast<std::uint8_t>(
          Ranged(in, PortField(com, "Parity"), kIntegerLow, kIntegerHigh, kParities, portDefaults.Parity, reading));
      port.Flags = static_cast<std::uint32_t>(in.Integer(PortField(com, "flag word"), kLongLow, kLongHigh));
      port.StopBits = static_cast<std::uint8_t>(
          Ranged(in, PortField(com, "StopBits"), kIntegerLow, kIntegerHigh, kStopBits, portDefaults.StopBits, reading));
      session.Ports[static_cast<std::size_t>(com - 1)] = port;
      reading.ports = com;
    }
    const float width = in.Single("the frame width");
    session.Height = in.Single("the frame height");
    session.Width = width;
    reading.size = true;
    const auto count = in.Integer("the number of windows", 0, kIntegerHigh);
    const SessionWindow windowDefaults;
    for (std::int64_t i = 1; i <= count; ++i) {
      const auto n = static_cast<std::size_t>(i);
      SessionWindow window;
      window.ProjectFile = in.String(WindowField(n, "the project file"));
      window.COM = static_cast<std::int16_t>(in.Integer(WindowField(n, "COM"), kIntegerLow, kIntegerHigh));
      // The window keeps its slave address in a byte.
      window.ID = static_cast<std::int16_t>(
          Ranged(in, WindowField(n, "ID"), kIntegerLow, kIntegerHigh, kIds, windowDefaults.ID, reading));
      window.Mode = static_cast<std::int16_t>(
          Ranged(in, WindowField(n, "Mode"), kIntegerLow, kIntegerHigh, kWindowModes, windowDefaults.Mode, reading));
      window.Timeout = static_cast<std::int32_t>(
          Ranged(in, WindowField(n, "Timeout"), kLongLow, kLongHigh, kTimeouts, windowDefaults.Timeout, reading));
      window.PollingPeriod =
          static_cast<std::int32_t>(in.Integer(WindowField(n, "PollingPeriod"), kLongLow, kLongHigh));
      window.Interval = static_cast<std::int32_t>(in.Integer(WindowField(n, "Interval"), kLongLow, kLongHigh));
      window.AutoEnable = in.Boolean(WindowField(n, "AutoEnable"));
      window.Left = in.Single(WindowField(n, "the left edge"));
      window.Top = in.Single(WindowField(n, "the top edge"));
      window.Width = in.Single(WindowField(n, "the width"));
      window.Height = in.Single(WindowField(n, "the height"));
      session.Windows.push_back(std::move(window));
    }
  } catch (const WriteNotationError& failure) {
    reading.failure = failure;
    return reading;
  }
  ReadLineTiming(in, session);
  return reading;
}

SessionFile ParseSession(std::string_view text) {
  SessionReading reading = ReadSession(text);
  if (reading.failure) throw *reading.failure;
  return std::move(reading.session);
}

}  // namespace quorvel
