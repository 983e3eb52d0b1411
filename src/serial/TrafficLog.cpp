#include "serial/TrafficLog.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <optional>

#include "modbus/FrameDecode.h"

namespace quorvel {
namespace {

// Room for the bytes of this many average frames each; a burst of long
// frames leaves room for fewer, and the oldest go sooner.
constexpr std::size_t kBytesPerFrame = 40;
// The longest frame a port handles (an ASCII frame buffer).
constexpr std::size_t kLongestFrame = 600;

}  // namespace

TrafficLog::TrafficLog(std::size_t frames)
    : slots_(std::max<std::size_t>(frames, 1)), bytes_(std::max(slots_.size() * kBytesPerFrame, 2 * kLongestFrame)) {}

void TrafficLog::Add(std::int64_t timeUs, TrafficDirection direction, TrafficVerdict verdict, bool ascii, bool response,
                     std::span<const std::uint8_t> bytes) {
  const std::size_t length = std::min({bytes.size(), kLongestFrame, std::size_t{UINT16_MAX}});
  if (writeAt_ + length > bytes_.size()) {
    // The rest of the storage is given up for this round; the records that
    // lie there are the oldest of all, and go.
    while (count_ > 0 && slots_[Index(FirstSequence())].offset >= writeAt_) --count_;
    writeAt_ = 0;
  }
  // The oldest records whose bytes the new ones overwrite go next; they are
  // the ones that lie just past the write position.
  while (count_ > 0) {
    const Slot& oldest = slots_[Index(FirstSequence())];
    // A record without bytes holds its place as if it had one.
    const std::size_t end = oldest.offset + std::max<std::size_t>(oldest.length, 1);
    const bool overlaps = oldest.offset < writeAt_ + length && writeAt_ < end;
    if (!overlaps && count_ < slots_.size()) break;
    --count_;
  }
  std::copy_n(bytes.begin(), length, bytes_.begin() + static_cast<std::ptrdiff_t>(writeAt_));
  slots_[Index(next_)] = {timeUs, writeAt_, static_cast<std::uint16_t>(length), direction, verdict, ascii, response};
  writeAt_ += length;
  ++next_;
  ++count_;
  if (listener_) listener_(At(next_ - 1));
}

void TrafficLog::Clear() {
  count_ = 0;
  writeAt_ = 0;
}

TrafficRecord TrafficLog::At(std::uint64_t sequence) const {
  const Slot& s = slots_[Index(sequence)];
  return {sequence,
          s.timeUs,
          s.direction,
          s.verdict,
          s.ascii,
          s.response,
          std::span<const std::uint8_t>(bytes_).subspan(s.offset, s.length)};
}

std::string_view VerdictName(TrafficVerdict verdict, bool ascii) {
  switch (verdict) {
    case TrafficVerdict::Ok:
      return "ok";
    case TrafficVerdict::ChecksumError:
      return ascii ? "LRC error" : "CRC error";
    case TrafficVerdict::FrameError:
      return "frame error";
    case TrafficVerdict::Timeout:
      return "time-out";
    case TrafficVerdict::Echo:
      return "echo";
    case TrafficVerdict::Late:
      return "late";
  }
  return "?";
}

std::string LocalTime(std::int64_t wallUs) {
  const std::time_t seconds = static_cast<std::time_t>(wallUs / 1'000'000);
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>((wallUs / 1000) % 1000));
  return text;
}

std::string TrafficLine(const TrafficLog& log, const TrafficRecord& record, int com) {
  std::string line = LocalTime(log.WallUs(record.timeUs));
  line += " COM" + std::to_string(com);
  line += record.direction == TrafficDirection::Tx ? " TX " : " RX ";
  line += VerdictName(record.verdict, record.ascii);
  if (record.bytes.empty()) return line;
  line += " | " + MODBUS::HexBytes(record.bytes);
  // An answer is read against the request just before it, which names its block.
  std::optional<MODBUS::DecodedFrame> request;
  if (record.response && record.sequence > log.FirstSequence()) {
    const TrafficRecord before = log.At(record.sequence - 1);
    if (!before.response && !before.bytes.empty()) request = MODBUS::DecodeFrame(before.bytes, before.ascii, false);
  }
  line += " | " + MODBUS::Summary(
                      MODBUS::DecodeFrame(record.bytes, record.ascii, record.response, request ? &*request : nullptr));
  return line;
}

}  // namespace quorvel
