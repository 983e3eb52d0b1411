#include "device/MonitorPairing.h"

namespace quorvel {

MonitorPairing::Heard MonitorPairing::Take(std::span<const std::uint8_t> wire, bool ascii, bool answerShaped) {
  Heard heard;
  if (pending_) {
    MODBUS::DecodedFrame answer = MODBUS::DecodeFrame(wire, ascii, true, &*pending_);
    // A damaged frame after a request is taken for its damaged answer, so
    // that it is not counted twice (as a bad frame and as no answer).
    const bool damaged = !answer.checksumOk;
    if (damaged || (answer.Ok() && answer.slave == pending_->slave && answer.function == pending_->function)) {
      heard.frame = std::move(answer);
      heard.request = std::move(pending_);
      pending_.reset();
      return heard;
    }
  }
  heard.frame = MODBUS::DecodeFrame(wire, ascii, answerShaped);
  if (heard.frame.role == MODBUS::FrameRole::Request) {
    heard.unanswered = std::move(pending_);
    pending_ = heard.frame;
  } else if (heard.frame.checksumOk) {
    // An answer to nothing we heard: whatever was pending is not its request.
    pending_.reset();
  }
  return heard;
}

}  // namespace quorvel
