#pragma once

// Frames typed by hand in a Traffic window: hex bytes sealed for the port's
// framing and sent once or every so many milliseconds, the answer to be read
// in the port's traffic log.
//
// A hand-made frame goes out only between the port's own transactions: the
// sender asks the port whether it may send now, and a period that finds the
// port busy sends as soon as it is free instead of queuing up frames.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Clock.h"

namespace quorvel {

// The hex text typed as a frame for the wire: RTU with its CRC appended, ASCII
// as ':' hex digits, LRC, CR LF. With `addChecksum` false the bytes typed
// carry their own CRC or LRC (to try a device with a broken one). Nothing,
// with `error` set, for text that is no hex bytes or a frame the port cannot
// hold.
std::optional<std::vector<std::uint8_t>> SealHandFrame(std::string_view text, bool ascii, bool addChecksum,
                                                       std::string& error);

// Where a hand-made frame goes: the port it is typed for.
class FramePort {
 public:
  virtual ~FramePort() = default;
  // Open, and with no transaction of its own under way.
  virtual bool CanSend() const = 0;
  // Writes the sealed frame and waits for an answer as for a request; true
  // when the frame went out, otherwise `why` says why not.
  virtual bool Send(std::span<const std::uint8_t> wire, std::string& why) = 0;
};

class HandFrameSender {
 public:
  HandFrameSender(FramePort& port, const platform::Clock& clock) : port_(port), clock_(clock) {}

  // Sends `wire` now, or as soon as the port may send; with `periodMs` > 0
  // again every `periodMs` after that until Stop.
  void Start(std::vector<std::uint8_t> wire, double periodMs);
  void Stop() { due_ = false; }
  // Sends what is due; called from a timer. Returns true when a frame went out.
  bool Tick();

  bool Active() const { return due_; }
  // When Tick next has something to do (ms of the clock).
  double NextMs() const { return nextMs_; }
  int Sent() const { return sent_; }
  int Refused() const { return refused_; }
  // Why the port last refused a frame.
  const std::string& Refusal() const { return refusal_; }

 private:
  FramePort& port_;
  const platform::Clock& clock_;
  std::vector<std::uint8_t> wire_;
  double periodMs_ = 0;
  double nextMs_ = 0;
  bool due_ = false;
  int sent_ = 0;
  int refused_ = 0;  // the port took the turn but would not write
  std::string refusal_;
};

}  // namespace quorvel

namespace quorvel {

struct PortEntry;

// The port of the port table as a place for hand-made frames.
class PortEntryFramePort final : public FramePort {
 public:
  explicit PortEntryFramePort(PortEntry& entry) : entry_(entry) {}
  bool CanSend() const override;
  bool Send(std::span<const std::uint8_t> wire, std::string& why) override;

 private:
  PortEntry& entry_;
};

}  // namespace quorvel
