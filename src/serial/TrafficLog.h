#pragma once

// Every frame a port sends and receives, newest last: when, which way, the
// bytes as they were on the wire, and what the port made of them. It is the
// first thing an engineer looks at when a bus misbehaves, so it records all
// modes alike, errors included.
//
// The log is a ring: once full, the oldest frames make room. Records and
// bytes live in storage sized when the log is made, so recording a frame
// allocates nothing. Records are numbered from 0 for the life of the log; a
// view that shows them asks for those after the last it has, in batches, and
// never holds a record past the next Add.
//
// Times are the port clock's monotonic microseconds; Anchor ties them to the
// wall clock for display.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

enum class TrafficDirection : std::uint8_t { Tx, Rx };

enum class TrafficVerdict : std::uint8_t {
  Ok,             // checksum holds
  ChecksumError,  // CRC or LRC wrong
  FrameError,     // cut short, wrong markers, or bytes that make no frame
  Timeout,        // no answer came (no bytes)
  Echo,           // our own bytes came back otherwise than sent
  Late,           // arrived while nobody waited for it, and was dropped
};

struct TrafficRecord {
  std::uint64_t sequence = 0;
  std::int64_t timeUs = 0;
  TrafficDirection direction = TrafficDirection::Rx;
  TrafficVerdict verdict = TrafficVerdict::Ok;
  bool ascii = false;
  bool response = false;                // to be read as an answer rather than a request
  std::span<const std::uint8_t> bytes;  // valid until the next Add or Clear
};

class TrafficLog {
 public:
  static constexpr std::size_t kDefaultFrames = 10000;

  explicit TrafficLog(std::size_t frames = kDefaultFrames);

  void Add(std::int64_t timeUs, TrafficDirection direction, TrafficVerdict verdict, bool ascii, bool response,
           std::span<const std::uint8_t> bytes);
  void Clear();

  // Records FirstSequence() .. NextSequence() - 1 are held.
  std::uint64_t FirstSequence() const { return next_ - count_; }
  std::uint64_t NextSequence() const { return next_; }
  std::size_t Size() const { return count_; }
  TrafficRecord At(std::uint64_t sequence) const;

  // Called with each record as it is added (a command line writing the log
  // as it goes).
  void SetListener(std::function<void(const TrafficRecord&)> listener) { listener_ = std::move(listener); }

  // The wall-clock microseconds (since the epoch) of monotonic `timeUs`.
  void Anchor(std::int64_t monotonicUs, std::int64_t wallUs) { wallOffsetUs_ = wallUs - monotonicUs; }
  std::int64_t WallUs(std::int64_t timeUs) const { return timeUs + wallOffsetUs_; }

 private:
  struct Slot {
    std::int64_t timeUs;
    std::size_t offset;
    std::uint16_t length;
    TrafficDirection direction;
    TrafficVerdict verdict;
    bool ascii;
    bool response;
  };
  std::size_t Index(std::uint64_t sequence) const { return static_cast<std::size_t>(sequence % slots_.size()); }

  std::vector<Slot> slots_;
  std::vector<std::uint8_t> bytes_;
  std::size_t writeAt_ = 0;  // where the next frame's bytes go
  std::size_t count_ = 0;
  std::uint64_t next_ = 0;
  std::int64_t wallOffsetUs_ = 0;
  std::function<void(const TrafficRecord&)> listener_;
};

// "ok", "CRC error" / "LRC error", "frame error", "time-out", "echo", "late".
std::string_view VerdictName(TrafficVerdict verdict, bool ascii);

// The wall time of a record as local time with milliseconds: "12:34:56.789".
std::string LocalTime(std::int64_t wallUs);

// One line of text: time, port, direction, verdict, bytes and what they say:
// "12:34:56.789 COM1 TX ok | 01 03 00 00 00 0A C5 CD | 1 Read Holding Registers 0 x10".
std::string TrafficLine(const TrafficLog& log, const TrafficRecord& record, int com);

}  // namespace quorvel
