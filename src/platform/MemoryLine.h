#pragma once

// An in-memory serial line for tests: a MemoryWire joins two ends, A and B,
// and each end is opened and used through a MemoryLine like a real port.
// Time comes from a Clock (normally a ManualClock), so that framing gaps and
// time-outs are tested by moving the clock instead of sleeping.
//
// What one end writes is masked to its data bits, damaged as set for that
// direction, and then arrives at the other end character by character at
// times the direction's LineTiming decides. A write queues behind characters
// of earlier writes that are still on the wire. Nothing here is thread-safe:
// the wire and both ends belong to one thread.

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "platform/Clock.h"
#include "platform/LineDamage.h"
#include "platform/LineEnd.h"
#include "platform/SerialLine.h"

namespace quorvel::platform {

struct LineTiming {
  double latencyMs = 0;       // from leaving the sender to arriving
  std::size_t chunkSize = 0;  // a write arrives in pieces of this many characters; 0: in one piece
  double chunkGapMs = 0;      // pause on the wire between pieces
  bool paceByBaud = false;    // each character takes 11 bit times at the sender's baud rate
};

class MemoryWire {
 public:
  explicit MemoryWire(const Clock& clock) : clock_(clock) {}

  // How the characters that `from` sends travel; applies to later writes.
  void SetTiming(End from, const LineTiming& timing) { Dir(from).timing = timing; }
  // `end` hears what it sends, as it leaves (a two-wire RS-485 adapter
  // without echo cancelling).
  void SetEcho(End end, bool echo) { State(end).echo = echo; }
  void SetDamage(End from, const DamageOptions& damage) { Dir(from).damage = LineDamage(damage); }
  const DamageCounts& Damage(End from) const { return directions_[Index(from)].damage.Counts(); }

  // Pulls the adapter of `end` out: an open line on it is gone, opening it
  // fails with "no such device", and characters to or from it are lost.
  void Unplug(End end);
  void Plug(End end) { State(end).plugged = true; }

  // The next opening of `end` fails with `failure` (once).
  void FailNextOpen(End end, OpenFailure failure) { State(end).failNext = std::move(failure); }

  bool IsOpen(End end) const { return ends_[Index(end)].open; }
  const LineSettings& SettingsOf(End end) const { return ends_[Index(end)].settings; }
  int OpenCount(End end) const { return ends_[Index(end)].openCount; }

 private:
  friend class MemoryLine;

  struct Character {
    std::int64_t leftNs;     // when its last bit left the sender
    std::int64_t arrivesNs;  // when the receiver can read it
    std::uint8_t value;
  };
  struct Direction {
    LineTiming timing;
    LineDamage damage;
    std::deque<Character> characters;  // in order of arrival
    std::int64_t wireFreeNs = 0;       // when the last queued character will have left
  };
  struct EndState {
    bool open = false;
    bool plugged = true;
    bool gone = false;
    bool echo = false;
    int openCount = 0;
    LineSettings settings;
    std::optional<OpenFailure> failNext;
  };

  static std::size_t Index(End end) { return end == End::A ? 0 : 1; }
  static End Other(End end) { return end == End::A ? End::B : End::A; }
  Direction& Dir(End from) { return directions_[Index(from)]; }
  EndState& State(End end) { return ends_[Index(end)]; }

  void Send(End from, std::span<const std::uint8_t> bytes);
  std::size_t Arrived(End at) const;

  const Clock& clock_;
  Direction directions_[2];  // indexed by the sending end
  EndState ends_[2];
  std::vector<std::uint8_t> scratch_;
};

class MemoryLine final : public SerialLine {
 public:
  MemoryLine(std::shared_ptr<MemoryWire> wire, End end) : wire_(std::move(wire)), end_(end) {}
  ~MemoryLine() override { Close(); }
  MemoryLine(const MemoryLine&) = delete;
  MemoryLine& operator=(const MemoryLine&) = delete;

  [[nodiscard]] OpenFailure Open(const LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override { return open_; }
  IoResult Write(std::span<const std::uint8_t> bytes) override;
  IoResult ReadAvailable(std::span<std::uint8_t> into) override;
  std::size_t BytesAvailable() override;
  std::size_t OutputQueued() override;
  void Purge(PurgeWhat what) override;
  bool IsGone() const override;

 private:
  std::shared_ptr<MemoryWire> wire_;
  End end_;
  bool open_ = false;
};

}  // namespace quorvel::platform
