#pragma once

// A read that runs while the program goes on, polled instead of waited for.
// It is started for a count of characters into a fixed place of the frame
// buffer and, on each poll, takes what the line has brought (never more than
// the room left) and decides whether the read is over, by the port's
// time-outs: the count reached, a gap after the last character longer than
// the interval, the total time used up, or, for the piecewise setting, the
// first characters there.
//
// This is where the end of a received frame is decided, and the only place:
// another way of framing (a silence measured in characters, or a known
// length) belongs here and changes nothing in the port's state machine.

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/SerialLine.h"
#include "serial/CommTimeouts.h"

namespace quorvel {

class OverlappedRead {
 public:
  enum class Progress : std::uint8_t {
    Idle,      // no read runs: none was started, or its end was reported
    Pending,   // still running
    Complete,  // ended on this poll; Received() tells how much it brought
  };

  // Starts a read of into.size() characters into `into`, timed from `nowMs`.
  // A read still running is dropped, with what it had brought.
  void Start(std::span<std::uint8_t> into, const CommTimeouts& timeouts, double nowMs);

  // Takes what has arrived on `line`, as far as it fits. A line that fails or
  // is gone brings nothing, so the read still ends by its time-outs.
  Progress Poll(platform::SerialLine& line, double nowMs);

  // When the running read ends by time if nothing more arrives (ms of the
  // clock); infinity when only arriving characters can end it, or none runs.
  double DeadlineMs() const;

  void Cancel() { active_ = false; }
  bool Active() const { return active_; }
  std::size_t Received() const { return received_; }

 private:
  enum class Kind : std::uint8_t {
    AtOnce,          // takes what is queued and ends
    FirstCharacter,  // ends with the first characters, or empty after the wait
    Timed,           // ends by count, gap or total time
  };

  bool Ended(double nowMs) const;

  std::span<std::uint8_t> into_;
  std::size_t received_ = 0;
  Kind kind_ = Kind::Timed;
  double startMs_ = 0;
  double lastMs_ = 0;      // when the last characters were taken
  double intervalMs_ = 0;  // 0: no gap limit
  double totalMs_ = 0;     // 0: no total limit; the first-character wait for FirstCharacter
  bool active_ = false;
};

}  // namespace quorvel
