#include "serial/FrameRule.h"

#include "modbus/FrameCodec.h"
#include "modbus/FrameLength.h"

namespace quorvel {
namespace {

// No RTU frame is longer (address, 253 bytes of PDU, CRC).
constexpr int kMaxFrame = 256;
constexpr std::uint8_t kHighestAddress = 247;

enum class Candidate : std::uint8_t { NotOne, Possible, Whole };

// What a frame of announced `length` at `start` is, given `bytes`.
Candidate Judge(std::span<const std::uint8_t> bytes, std::size_t start, int length) {
  if (length == MODBUS::kUnknown || length > kMaxFrame) return Candidate::NotOne;
  if (length == MODBUS::kNeedMore || start + static_cast<std::size_t>(length) > bytes.size())
    return Candidate::Possible;
  return MODBUS::CheckCRC(bytes.subspan(start), length - 2) ? Candidate::Whole : Candidate::NotOne;
}

}  // namespace

FrameRule FrameRule::AnswerFrom(std::uint8_t id, std::uint8_t function) { return {Side::Master, id, function}; }

FrameRule FrameRule::Requests() { return {Side::Slave, 0, 0}; }

FrameRule FrameRule::Ascii() { return {Side::Ascii, 0, 0}; }

FrameMatch FrameRule::FindAscii(std::span<const std::uint8_t> bytes) const {
  std::size_t start = bytes.size();  // none begun
  for (std::size_t p = 0; p < bytes.size(); ++p) {
    if (bytes[p] == ':') {
      start = p;
    } else if (bytes[p] == '\n' && start < p) {
      return {FrameKind::Awaited, start, p + 1 - start};
    }
  }
  FrameMatch none;
  none.pending = start < bytes.size();
  return none;
}

FrameMatch FrameRule::Find(std::span<const std::uint8_t> bytes, bool quiet) const {
  if (side_ == Side::Ascii) return FindAscii(bytes);
  bool heldBack = false;  // an earlier candidate may still complete
  // The last byte alone may begin a frame too: it is judged as one whose
  // length has not come yet.
  for (std::size_t p = 0; p < bytes.size(); ++p) {
    const std::span<const std::uint8_t> head = bytes.subspan(p);
    struct {
      int length;
      FrameKind kind;
    } candidates[2] = {{MODBUS::kUnknown, FrameKind::None}, {MODBUS::kUnknown, FrameKind::None}};
    if (side_ == Side::Master) {
      const bool ours = head[0] == id_ && (head.size() < 2 || head[1] == function_ || head[1] == (function_ | 0x80));
      if (ours) candidates[0] = {MODBUS::RtuAnswerLength(head), FrameKind::Awaited};
    } else if (head[0] <= kHighestAddress) {
      candidates[0] = {MODBUS::RtuRequestLength(head), FrameKind::Awaited};
      candidates[1] = {MODBUS::RtuAnswerLength(head), FrameKind::Foreign};
    }
    bool possible = false;
    for (const auto& c : candidates) {
      switch (Judge(bytes, p, c.length)) {
        case Candidate::Whole:
          if (!heldBack) return {c.kind, p, static_cast<std::size_t>(c.length)};
          break;
        case Candidate::Possible:
          possible = true;
          break;
        case Candidate::NotOne:
          break;
      }
    }
    heldBack = heldBack || (possible && !quiet);
  }
  FrameMatch none;
  none.pending = heldBack;
  return none;
}

}  // namespace quorvel
