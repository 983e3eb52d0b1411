#pragma once

// The options that say which port a command talks on and how: --map
// COMn=PATH (over the user's port map), --com N, --line 19200-8E1[-ascii],
// --timing classic|standard|fast. `run`, `monitor` and `send` read them alike.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "app/cli/Cli.h"
#include "app/cli/HexArgs.h"
#include "platform/Clock.h"
#include "platform/PortMap.h"
#include "serial/PortEntry.h"
#include "serial/clsCOM.h"

namespace quorvel::cli {

// A whole number between lo and hi, written as any number is.
std::optional<std::int64_t> ParseInteger(const std::string& text, std::int64_t lo, std::int64_t hi);

// "19200-8E1" or "9600-7E1-ascii": baud, data bits, parity N/O/E/M/S, stop
// bits 1/1.5/2, framing. False, and the entry untouched, for another text.
bool ApplyLine(const std::string& text, PortEntry& entry);

struct PortChoice {
  platform::PortMap map;
  std::int16_t com = 1;
};

// Reads --map, --com, --line and --timing into `choice` and the port's record
// (`entry`, the record of the port chosen). Returns kOk, or the status of the
// usage error it has printed.
int ReadPortOptions(const std::string& command, const Options& options, PortChoice& choice, PortEntry& entry, Io& io);

// Sleeps until `port` has something to do (bytes on its line, its next
// deadline), `maxMs` have passed, or a stop signal has come on `stopFd`;
// true for the stop.
bool WaitOnPort(const clsCOM& port, const platform::Clock& clock, int stopFd, double maxMs);

// A port object alone, with no device window on it: what `monitor` and
// `send` talk through.
class LonePort : public DeviceDirectory {
 public:
  LonePort(PortEntry& entry, const platform::Clock& clock, const platform::PortMap& map, Io& io);
  std::size_t DeviceCount() const override { return 0; }
  DeviceLink& Device(std::size_t) override { throw std::out_of_range("no device window"); }
  clsCOM& Port() { return port_; }

 private:
  clsCOM port_;
};

}  // namespace quorvel::cli
