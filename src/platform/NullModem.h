#pragma once

// Two pseudo-terminals joined like a null-modem cable: what is written to one
// slave path can be read from the other, both ways, each direction on a wire
// of its own, so both ends may talk at once. Pacing, damage and echo are the
// forwarder's (platform/PtyForwarder.h); with echo each end also reads back
// what it wrote, as on a two-wire RS-485 bus whose adapter does not cancel
// its own echo.

#include "platform/LineEnd.h"
#include "platform/PtyForwarder.h"

namespace quorvel::platform {

struct NullModemOptions {
  int baudRate = 0;  // 0: no pacing
  DamageOptions damage;
  bool echo = false;
};

using NullModemCounts = ForwarderCounts;

class NullModem : public PtyForwarder {
 public:
  // Creates both pseudo-terminals; throws std::system_error when it cannot.
  explicit NullModem(const NullModemOptions& options = {})
      : PtyForwarder({.ends = 2, .baudRate = options.baudRate, .damage = options.damage, .echo = options.echo}) {}

  using PtyForwarder::Counts;
  using PtyForwarder::Path;
  const std::string& Path(End end) const { return PtyForwarder::Path(Index(end)); }

  // What has passed from `from` to the other end so far; safe while running.
  NullModemCounts Counts(End from) const { return PtyForwarder::Counts(Index(from)); }

 private:
  static std::size_t Index(End end) { return end == End::A ? 0 : 1; }
};

}  // namespace quorvel::platform
