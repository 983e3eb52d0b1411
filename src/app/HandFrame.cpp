#include "app/HandFrame.h"

#include <array>
#include <string>

#include "modbus/FrameCodec.h"
#include "modbus/HexText.h"
#include "serial/PortEntry.h"
#include "serial/clsCOM.h"

namespace quorvel {
namespace {

// The longest Modbus serial frames: 256 bytes in RTU, 513 characters in
// ASCII. Longer is no frame any device would take.
constexpr std::size_t kRtuFrame = 256;
constexpr std::size_t kAsciiFrame = 513;

}  // namespace

std::optional<std::vector<std::uint8_t>> SealHandFrame(std::string_view text, bool ascii, bool addChecksum,
                                                       std::string& error) {
  const std::array<std::string, 1> parts{std::string(text)};
  std::optional<std::vector<std::uint8_t>> bytes = MODBUS::ParseHexBytes(parts, error);
  if (!bytes) return std::nullopt;
  if (bytes->empty()) {
    error = "no bytes typed";
    return std::nullopt;
  }
  std::vector<std::uint8_t> wire = std::move(*bytes);
  const auto n = static_cast<std::int32_t>(wire.size());
  if (!ascii) {
    if (addChecksum) {
      wire.resize(wire.size() + 2);
      MODBUS::AddCRC(wire, n);
    }
    if (wire.size() > kRtuFrame) {
      error = "an RTU frame holds at most " + std::to_string(kRtuFrame) + " bytes";
      return std::nullopt;
    }
    return wire;
  }
  wire.resize(2 * wire.size() + 5);
  MODBUS::ToASCII(wire, n);
  // Typed with their own LRC: the one worked out for them goes again.
  if (!addChecksum) wire.erase(wire.end() - 4, wire.end() - 2);
  if (wire.size() > kAsciiFrame) {
    error = "an ASCII frame holds at most " + std::to_string(kAsciiFrame) + " characters";
    return std::nullopt;
  }
  return wire;
}

void HandFrameSender::Start(std::vector<std::uint8_t> wire, double periodMs) {
  wire_ = std::move(wire);
  periodMs_ = periodMs > 0 ? periodMs : 0;
  nextMs_ = clock_.GetTimeMs();
  due_ = true;
}

bool HandFrameSender::Tick() {
  const double now = clock_.GetTimeMs();
  if (!due_ || now < nextMs_ || !port_.CanSend()) return false;
  const bool sent = port_.Send(wire_, refusal_);
  ++(sent ? sent_ : refused_);
  if (periodMs_ <= 0) {
    due_ = false;
  } else {
    // The timer's own lateness keeps the rhythm; a turn that waited for a
    // busy port starts it again, so that no burst follows to catch up.
    const bool waited = now - nextMs_ >= periodMs_ / 2;
    nextMs_ = (waited ? now : nextMs_) + periodMs_;
  }
  return sent;
}

bool PortEntryFramePort::CanSend() const { return entry_.State == PortEntry::kOpen && entry_.Port && !entry_.Busy; }

bool PortEntryFramePort::Send(std::span<const std::uint8_t> wire, std::string& why) {
  // The frame is sealed already; its answer, or the time-out, goes into the
  // port's traffic log, where the window shows it, and to no device window.
  constexpr std::int32_t kAnswerTimeoutMs = 1000;
  if (!CanSend() || !entry_.Port->SendFrame(wire, false, kAnswerTimeoutMs, [](bool, std::span<const std::uint8_t>) {})) {
    why = entry_.Mode == kModeMaster ? "the port is busy or the frame does not fit"
                                     : "only a Master port sends hand-made frames";
    return false;
  }
  return true;
}

}  // namespace quorvel
