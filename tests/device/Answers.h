#pragma once

// Answers handed to a Master window as its port hands them over.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "device/frmQuorvel.h"
#include "modbus/FrameCodec.h"

namespace quorvel::testing {

// Result codes of the port.
inline constexpr std::int32_t kAnswerExpected = 1, kAnswerOtherLength = 4, kAnswerTimeout = 8, kAnswerParity = 16;

// Hands the window an answer to its last request; `message` is sealed with
// its CRC, spoilt when `goodCrc` is false.
inline void Answer(frmQuorvel& w, std::int32_t code, std::vector<std::uint8_t> message = {}, bool goodCrc = true) {
  std::vector<std::uint8_t> buffer(299);
  std::copy(message.begin(), message.end(), buffer.begin());
  auto length = static_cast<std::int32_t>(message.size());
  if (!message.empty()) {
    MODBUS::AddCRC(buffer, length);
    if (!goodCrc) buffer[static_cast<std::size_t>(length)] ^= 0x01;
    length += 2;
  }
  w.GetResponce(code, length, buffer);
}

// Answers request `r` of the window's list with holding registers `values`.
inline void AnswerRegisters(frmQuorvel& w, std::size_t r, const std::vector<std::uint16_t>& values) {
  w.LastRequest = w.Requests.at(r);
  std::vector<std::uint8_t> m = {1, 3, static_cast<std::uint8_t>(2 * values.size())};
  for (const std::uint16_t v : values) {
    m.push_back(static_cast<std::uint8_t>(v >> 8));
    m.push_back(static_cast<std::uint8_t>(v & 0xFF));
  }
  Answer(w, kAnswerExpected, m);
}

}  // namespace quorvel::testing
