#pragma once

// A line whose adapter hears its own transmission, as a two-wire RS-485
// adapter without echo cancelling does: every byte written comes back on the
// receive side, before anything the other stations send in answer. This line
// wraps the real one and takes those bytes out again, so that what is read is
// only what others sent.
//
// The bytes written are expected back in order. The first byte that differs
// from the one expected (a collision, a byte lost by the adapter, or an
// adapter that does not echo after all) ends the expectation: it and all
// after it are passed on, and the mismatch is counted for the port to report.
// Whatever purges the input also forgets the echo still expected, since the
// purge takes it too.

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/SerialLine.h"

namespace quorvel::platform {

class EchoLine final : public SerialLine {
 public:
  explicit EchoLine(std::unique_ptr<SerialLine> line);

  [[nodiscard]] OpenFailure Open(const LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override { return line_->IsOpen(); }
  IoResult Write(std::span<const std::uint8_t> bytes) override;
  IoResult ReadAvailable(std::span<std::uint8_t> into) override;
  std::size_t BytesAvailable() override;
  std::size_t OutputQueued() override { return line_->OutputQueued(); }
  void Purge(PurgeWhat what) override;
  bool IsGone() const override { return line_->IsGone(); }
  int Descriptor() const override { return line_->Descriptor(); }
  bool WholeFrames() const override { return line_->WholeFrames(); }
  int TakeDroppedFrames() override { return line_->TakeDroppedFrames(); }

  // Mismatches since the last call.
  int TakeMismatches();
  // Bytes written whose echo has not come back yet.
  std::size_t EchoPending() const { return expected_.size() - matched_; }

 private:
  // Moves what the line has into `heard_`, without the echo.
  IoResult Pump();
  void Forget();

  std::unique_ptr<SerialLine> line_;
  std::vector<std::uint8_t> expected_;  // written; echo of [matched_..] still to come
  std::size_t matched_ = 0;
  std::vector<std::uint8_t> heard_;  // what others sent, not read yet; [head_..]
  std::size_t head_ = 0;
  int mismatches_ = 0;
};

}  // namespace quorvel::platform
