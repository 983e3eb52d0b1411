#pragma once

// Two pseudo-terminals joined like a null-modem cable: what is written to one
// slave path can be read from the other, both ways. With a baud rate each
// direction is paced at 11 bit times per character (start, 8 data, parity or
// second stop, stop), so that a program on either side sees the timing of a
// real line; without one, characters pass as fast as they come. Damage
// options spoil characters in both directions, for fault tests. With echo
// each end also reads back what it wrote, at the time it is on the wire, as
// on a two-wire RS-485 bus whose adapter does not cancel its own echo.
//
// Run forwards on the calling thread until Stop is called (from any thread)
// or a given descriptor becomes readable (a signalfd, for instance). It
// waits in ppoll and never spins. A receiver that falls behind by the whole
// pseudo-terminal buffer (64 KiB) loses the excess, as a UART would overrun.

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>

#include "platform/LineDamage.h"
#include "platform/LineEnd.h"
#include "platform/PtyPair.h"

namespace quorvel::platform {

struct NullModemOptions {
  int baudRate = 0;  // 0: no pacing
  DamageOptions damage;
  bool echo = false;
};

struct NullModemCounts {
  std::uint64_t received = 0;   // characters read from the sending side
  std::uint64_t delivered = 0;  // characters handed to the receiving side
  std::uint64_t overrun = 0;    // characters the receiving side had no room for
  std::uint64_t dropped = 0;
  std::uint64_t flipped = 0;
  std::uint64_t noise = 0;
};

class NullModem {
 public:
  // Creates both pseudo-terminals; throws std::system_error when it cannot.
  explicit NullModem(const NullModemOptions& options = {});
  ~NullModem();
  NullModem(const NullModem&) = delete;
  NullModem& operator=(const NullModem&) = delete;

  const std::string& Path(End end) const { return ptys_[Index(end)].SlavePath(); }

  // Forwards until stopped. Returns 0, or the errno of a failure that made
  // forwarding impossible.
  int Run(int stopFd = -1);

  // Ends Run; safe from any thread and from a signal handler.
  void Stop();

  // What has passed from `from` to the other end so far; safe while running.
  NullModemCounts Counts(End from) const;

 private:
  struct Timed {
    std::int64_t dueNs;
    std::uint8_t value;
  };
  struct Counters {
    std::atomic<std::uint64_t> received{0}, delivered{0}, overrun{0}, dropped{0}, flipped{0}, noise{0};
  };
  struct Direction {
    LineDamage damage;
    std::deque<Timed> queue;  // read from the sender, waiting for its time on the wire
    std::int64_t wireFreeNs = 0;
    std::int64_t restUntilNs = 0;  // after a read error, do not poll the sender before this
    Counters counters;
  };

  static std::size_t Index(End end) { return end == End::A ? 0 : 1; }

  // Reads what the sender of `d` has written and queues it with its due times.
  void Take(std::size_t d, std::int64_t now, short events);
  // Hands the receiver of `d` what is due by `now`, and with echo the sender too.
  void Deliver(std::size_t d, std::int64_t now);

  std::int64_t charNs_;
  bool echo_;
  PtyPair ptys_[2];
  Direction directions_[2];  // indexed by the sending end
  int stopEvent_ = -1;
};

}  // namespace quorvel::platform
