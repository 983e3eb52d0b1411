#pragma once

// The read and write time-outs of a port, with the meanings the port logic
// was designed around: how long a read may wait for its first character, how
// long a gap between characters ends it, and how long it may take in all.

#include <cstdint>

namespace quorvel {

// The all-ones value that the time-out fields give special meanings.
inline constexpr std::uint32_t kMaxDword = 0xFFFFFFFF;

struct CommTimeouts {
  // A gap longer than this after the first character ends a read; 0: no gap
  // limit. kMaxDword with both totals 0: a read takes what is queued and ends.
  // kMaxDword with the multiplier kMaxDword and a constant between: a read takes
  // what is queued, or waits up to the constant for the first character.
  std::uint32_t ReadIntervalTimeout = 0;
  // A read of n characters ends after multiplier * n + constant ms at the
  // latest; both 0: no total limit.
  std::uint32_t ReadTotalTimeoutMultiplier = 0;
  std::uint32_t ReadTotalTimeoutConstant = 0;
  std::uint32_t WriteTotalTimeoutMultiplier = 0;
  std::uint32_t WriteTotalTimeoutConstant = 0;

  bool operator==(const CommTimeouts&) const = default;
};

// The port's modes (a device window's Mode).
inline constexpr std::int16_t kModeMaster = 1;
inline constexpr std::int16_t kModeSlave = 2;
inline constexpr std::int16_t kModeMonitor = 3;

// The time-outs a port works with, from its baud rate, framing and mode. RTU
// frames end at a character gap that grows at the slowest rates; a listening
// slave waits without limit for the first character; ASCII frames are
// gathered piece by piece with up to a second for each piece.
CommTimeouts TimeoutsFor(std::uint32_t baudRate, bool ascii, std::int16_t mode);

}  // namespace quorvel
