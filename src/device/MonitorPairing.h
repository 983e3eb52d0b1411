#pragma once

// What a Monitor makes of the frames it hears: a request, then the answer
// that follows it from the same slave to the same function. Some answers
// cannot be told from requests by their bytes (a write of one register is
// answered with the very same bytes), so a frame is taken for the answer to
// the request before it whenever it reads as one; otherwise for a new
// request, unless the port already knew it for an answer by its shape.

#include <cstdint>
#include <optional>
#include <span>

#include "modbus/FrameDecode.h"

namespace quorvel {

class MonitorPairing {
 public:
  struct Heard {
    MODBUS::DecodedFrame frame;
    // For an answer: the request it answers.
    std::optional<MODBUS::DecodedFrame> request;
    // For a request: the one before it, which went unanswered.
    std::optional<MODBUS::DecodedFrame> unanswered;
  };

  // `answerShaped`: the port found it to be whole only as an answer.
  Heard Take(std::span<const std::uint8_t> wire, bool ascii, bool answerShaped);

 private:
  std::optional<MODBUS::DecodedFrame> pending_;  // the last request, not answered yet
};

}  // namespace quorvel
