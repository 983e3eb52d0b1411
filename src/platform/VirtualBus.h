#pragma once

// A two-wire RS-485 bus of pseudo-terminals: every character written at one
// end is heard at all the other ends, and with echo at the sending end too.
// The bus is half duplex: two ends that talk at once collide, and what both
// sent is garbled (platform/PtyForwarder.h says how), so a master that polls
// while a device still answers, or two masters on one bus, meet the trouble
// they would meet on a real line. Ends are numbered from 0.

#include <stdexcept>
#include <string>

#include "platform/PtyForwarder.h"

namespace quorvel::platform {

struct VirtualBusOptions {
  std::size_t ends = 2;
  int baudRate = 0;  // 0: no pacing, and then no collisions either
  DamageOptions damage;
  bool echo = false;
};

// More ends than a bus segment's usual 32 unit loads would allow is of no use
// for testing, and each end costs a pseudo-terminal.
inline constexpr std::size_t kMinBusEnds = 2;
inline constexpr std::size_t kMaxBusEnds = 16;

class VirtualBus : public PtyForwarder {
 public:
  // Creates the ends; throws std::invalid_argument for a number of ends out
  // of range and std::system_error when the pseudo-terminals cannot be had.
  explicit VirtualBus(const VirtualBusOptions& options)
      : PtyForwarder({.ends = Checked(options.ends),
                      .baudRate = options.baudRate,
                      .damage = options.damage,
                      .echo = options.echo,
                      .oneWire = true}) {}

 private:
  static std::size_t Checked(std::size_t ends) {
    if (ends < kMinBusEnds || ends > kMaxBusEnds)
      throw std::invalid_argument("a bus has " + std::to_string(kMinBusEnds) + " to " + std::to_string(kMaxBusEnds) +
                                  " ends, not " + std::to_string(ends));
    return ends;
  }
};

}  // namespace quorvel::platform
