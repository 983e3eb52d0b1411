#pragma once

// A read that runs while the program goes on, polled instead of waited for.
// It is started for a count of characters into a fixed place of the frame
// buffer and, on each poll, takes what the line has brought (never more than
// the room left) and decides whether the read is over, by the port's
// time-outs: the count reached, a gap after the last character longer than
// the interval, the total time used up, or, for the piecewise setting, the
// first characters there.
//
// A framed read ends otherwise: as soon as its FrameRule finds a whole frame
// in what has come (the frame is then moved to the front, and what came after
// it is kept for the next read, as the start of the next frame), or after a
// silence measured in characters, or when full.
//
// On a line that hands over whole frames (Modbus TCP) a read ends with the
// first frame it takes.
//
// This is where the end of a received frame is decided, and the only place:
// the port's state machine only starts reads and takes what they bring.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/SerialLine.h"
#include "serial/CommTimeouts.h"
#include "serial/FrameRule.h"
#include "serial/LineTiming.h"

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

  // Starts a framed read into `into`: it ends at the first frame `rule`
  // finds, or once no character has come for `silenceMs` after the last
  // (`silenceMs` + kLatencyAllowanceMs while what has come begins a frame
  // that is not all in), or when full. `rule` must outlive the read.
  void StartFramed(std::span<std::uint8_t> into, const FrameRule& rule, double silenceMs, double nowMs);

  // Takes what has arrived on `line`, as far as it fits. A line that fails or
  // is gone brings nothing, so the read still ends by its time-outs.
  Progress Poll(platform::SerialLine& line, double nowMs);

  // When the running read ends by time if nothing more arrives (ms of the
  // clock); infinity when only arriving characters can end it, or none runs.
  double DeadlineMs() const;

  // Ends the running read and forgets what was kept from the last one.
  void Cancel() {
    active_ = false;
    carried_ = 0;
  }
  bool Active() const { return active_; }
  std::size_t Received() const { return received_; }
  // What the last framed read ended with (None for a read that ended by
  // silence, by being full, or was not framed).
  FrameKind Found() const { return found_; }
  // When characters were last taken (ms of the clock); the start of the read
  // when none were.
  double LastMs() const { return lastMs_; }

 private:
  enum class Kind : std::uint8_t {
    AtOnce,          // takes what is queued and ends
    FirstCharacter,  // ends with the first characters, or empty after the wait
    Timed,           // ends by count, gap or total time
    Framed,          // ends by a frame found, a silence, or count
  };

  void Begin(std::span<std::uint8_t> into, double nowMs);
  bool Ended(double nowMs) const;
  // Looks for a frame in what has come (`quiet`: all of it has); true when
  // one ended the read.
  bool TakeFrame(bool quiet);

  // A frame buffer holds at most this much; what follows a frame is kept here.
  static constexpr std::size_t kCarryRoom = 600;

  std::span<std::uint8_t> into_;
  std::size_t received_ = 0;
  Kind kind_ = Kind::Timed;
  double startMs_ = 0;
  double lastMs_ = 0;      // when the last characters were taken
  double intervalMs_ = 0;  // 0: no gap limit
  double totalMs_ = 0;     // 0: no total limit; the first-character wait for FirstCharacter
  bool active_ = false;
  const FrameRule* rule_ = nullptr;
  FrameKind found_ = FrameKind::None;
  bool looked_ = true;    // what has come was looked through for a frame
  bool pending_ = false;  // it begins a frame not all in
  double Silence() const;
  std::array<std::uint8_t, kCarryRoom> carry_{};
  std::size_t carried_ = 0;
  double carriedMs_ = 0;
};

}  // namespace quorvel
