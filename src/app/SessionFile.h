#pragma once

// The content of a session file (".qvs"): the line settings of the 16 ports,
// the frame's size and one block per device window, and its text form. The
// text is read completely before anything is applied, so that a damaged file
// leaves the program as it was.
//
// A port's line timing and echo removal are not in the original layout. When
// any port has something other than Classic timing without echo, they follow
// the last window block as a trailing block: the tag "LineTiming", then for
// COM1..COM16 the timing's number and the echo flag. A reader that does not
// know the block stops before it, and a session where every port is Classic
// without echo is written exactly as it always was.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

// Throws WriteNotationError naming the line and the value that is missing or
// malformed. After the last window block only the line timing block is read;
// when it is absent, damaged or cut short every port is Classic without echo,
// and anything else there is ignored. An unknown timing number makes that
// port Classic.
SessionFile ParseSession(std::string_view text);

}  // namespace quorvel
