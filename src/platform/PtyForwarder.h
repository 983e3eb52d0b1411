#pragma once

// Pseudo-terminals joined by a forwarder: what a program writes to one slave
// path is read, from the other slave paths, at the time it would have been
// on a real line. The virtual null-modem cable and the virtual RS-485 bus are
// this forwarder with two different wirings:
//
// - a wire per sender (full duplex): ends may talk at once without harm;
// - one wire for all (half duplex): a character that overlaps in time with
//   another end's character collides with it, and both are garbled.
//
// With a baud rate each sender is paced at 11 bit times per character
// (start, 8 data, parity or second stop, stop); without one, characters pass
// as fast as they come and take no time on the wire, so nothing collides.
// Damage options spoil characters as they go on the wire, counted per
// sender; every receiver hears the same damage. With echo each end also
// reads back what it wrote, at the time it is on the wire, collisions and
// damage included, as a two-wire RS-485 adapter without echo cancelling does.
//
// A collided character is heard as its value XOR that of every character it
// overlapped: where the two drivers agree the line is clear, where they
// disagree it is spoilt. Each of the two still arrives at its own time, so a
// receiver counting characters sees as many as were sent, none of them right
// unless the other end sent a NUL. A real UART would often report a framing
// error instead, which a pseudo-terminal has no way to pass on.
//
// Run forwards on the calling thread until Stop is called (from any thread)
// or a given descriptor becomes readable (a signalfd, for instance). It
// waits in ppoll and never spins. A receiver that falls behind by the whole
// pseudo-terminal buffer (64 KiB) loses the excess, as a UART would overrun.

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "platform/LineDamage.h"
#include "platform/PtyPair.h"

namespace quorvel::platform {

struct ForwarderOptions {
  std::size_t ends = 2;
  int baudRate = 0;  // 0: no pacing
  DamageOptions damage;
  bool echo = false;
  bool oneWire = false;  // half duplex: overlapping characters collide
};

// What one end has sent so far.
struct ForwarderCounts {
  std::uint64_t received = 0;   // characters read from the end
  std::uint64_t delivered = 0;  // copies handed to the other ends
  std::uint64_t overrun = 0;    // copies a receiving end had no room for
  std::uint64_t dropped = 0;
  std::uint64_t flipped = 0;
  std::uint64_t noise = 0;
  std::uint64_t collided = 0;  // characters garbled by another end's
};

class PtyForwarder {
 public:
  // Creates the pseudo-terminals; throws std::system_error when it cannot.
  explicit PtyForwarder(const ForwarderOptions& options);
  ~PtyForwarder();
  PtyForwarder(const PtyForwarder&) = delete;
  PtyForwarder& operator=(const PtyForwarder&) = delete;

  std::size_t Ends() const { return senders_.size(); }
  const std::string& Path(std::size_t end) const { return senders_[end].pty.SlavePath(); }

  // Forwards until stopped. Returns 0, or the errno of a failure that made
  // forwarding impossible.
  int Run(int stopFd = -1);

  // Ends Run; safe from any thread and from a signal handler.
  void Stop();

  // What has passed from `end` to the others so far; safe while running.
  ForwarderCounts Counts(std::size_t end) const;

 private:
  struct Timed {
    std::int64_t dueNs;  // when its last bit has been on the wire
    std::uint8_t sent;   // what the sender put on the wire, damage included
    std::uint8_t heard;  // what the receivers make of it
    bool collided;
  };
  struct Counters {
    std::atomic<std::uint64_t> received{0}, delivered{0}, overrun{0}, dropped{0}, flipped{0}, noise{0}, collided{0};
  };
  struct Sender {
    PtyPair pty;
    LineDamage damage;
    std::deque<Timed> queue;  // read from the end, waiting for its time on the wire
    std::int64_t wireFreeNs = 0;
    std::int64_t restUntilNs = 0;  // after a read error, do not poll the end before this
    std::size_t pollSlot = 0;      // its place in this round's poll set; 0: not polled
    std::size_t due = 0;           // how many of its queue are in the chunk being delivered
    Counters counters;
  };
  struct Copy {
    std::size_t from;
    std::uint8_t value;
  };

  // Reads what end `s` has written and queues it with its due times.
  void Take(std::size_t s, std::int64_t now, short events);
  // On one wire: garbles `c` of end `s` and every queued character it overlaps.
  void Collide(std::size_t s, Timed& c);
  // Hands every end what is due by `now`, in the order it left the wire.
  void Deliver(std::int64_t now);
  // Gathers up to a chunk of what is due by `now` into chunk_; false if none is.
  bool GatherDue(std::int64_t now);

  std::int64_t charNs_;
  bool echo_;
  bool oneWire_;
  std::deque<Sender> senders_;  // a deque: senders hold atomics and never move
  std::vector<Copy> chunk_;
  std::vector<std::uint8_t> buffer_;
  int stopEvent_ = -1;
};

}  // namespace quorvel::platform
