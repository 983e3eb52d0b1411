#pragma once

// The content of a session file (".qvs"): the line settings of the 16 ports,
// the frame's size and one block per device window, and its text form. A
// damaged file gives what was read before the damage, and where it is.
//
// A port's line timing and echo removal are not in the original layout. When
// any port has something other than Classic timing without echo, they follow
// the last window block as a trailing block: the tag "LineTiming", then for
// COM1..COM16 the timing's number and the echo flag. A reader that does not
// know the block stops before it, and a session where every port is Classic
// without echo is written exactly as it always was.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/WriteNotation.h"
#include "serial/LineTiming.h"

namespace quorvel {

struct SessionPort {
  bool ASCII = false;
  bool ASCII8bits = false;
  std::uint32_t BaudRate = 9600;
  std::int16_t Mode = 0;
  std::uint8_t Parity = 0;
  std::uint32_t Flags = 0x3011;
  std::uint8_t StopBits = 0;
  LineTiming Timing = LineTiming::Classic;
  bool Echo = false;
  bool operator==(const SessionPort&) const = default;
};

struct SessionWindow {
  // As the file holds it: relative to the session file's directory, or absolute.
  std::string ProjectFile;
  std::int16_t COM = 0;
  std::int16_t ID = 1;
  std::int16_t Mode = 1;
  std::int32_t Timeout = 0;
  std::int32_t PollingPeriod = 0;
  std::int32_t Interval = 0;
  bool AutoEnable = true;
  float Left = 0;
  float Top = 0;
  float Width = 0;
  float Height = 0;
  bool operator==(const SessionWindow&) const = default;
};

struct SessionFile {
  // Element i for COM port i + 1.
  std::array<SessionPort, 16> Ports{};
  float Width = 0;
  float Height = 0;
  std::vector<SessionWindow> Windows;
  bool operator==(const SessionFile&) const = default;
};

// The file's text in UTF-8, one value a line, lines ending in CR LF.
std::string FormatSession(const SessionFile& session);

// What a session text gives, read front to back until the first value that
// is missing or malformed: the complete port blocks (COM1 up), the frame's
// size if it was read, every complete window block, and that failure.
//
// A well-formed value the program cannot use (a port's Mode outside 0..3,
// Parity outside 0..4, StopBits outside 0..2, BaudRate outside 1..4000000; a
// window's Mode outside 1..3, ID outside 0..255, a negative Timeout) does not
// stop the reading: the field keeps its default and the value is noted with
// its line in `outOfRange`.
struct SessionReading {
  SessionFile session;
  int ports = 0;
  bool size = false;
  std::optional<WriteNotationError> failure;
  std::vector<WriteNotationError> outOfRange;
};

// A blank line where a value is expected is an empty value (0, false, "").
// After the last window block only the line timing block is read; when it is
// absent, damaged or cut short every port is Classic without echo, and
// anything else there is ignored. An unknown timing number makes that port
// Classic.
SessionReading ReadSession(std::string_view text);

// The whole session; throws the failure of a damaged one.
SessionFile ParseSession(std::string_view text);

}  // namespace quorvel
