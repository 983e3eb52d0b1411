#include "serial/OverlappedRead.h"

#include <algorithm>
#include <limits>

namespace quorvel {

void OverlappedRead::Begin(std::span<std::uint8_t> into, double nowMs) {
  into_ = into;
  received_ = 0;
  startMs_ = nowMs;
  lastMs_ = nowMs;
  active_ = true;
  found_ = FrameKind::None;
  rule_ = nullptr;
  looked_ = true;
  pending_ = false;
  // What came after the last frame is the start of this read's.
  if (carried_ > 0) {
    received_ = std::min(carried_, into_.size());
    std::copy_n(carry_.begin(), received_, into_.begin());
    lastMs_ = carriedMs_;
    looked_ = false;
    carried_ = 0;
  }
}

void OverlappedRead::Start(std::span<std::uint8_t> into, const CommTimeouts& timeouts, double nowMs) {
  Begin(into, nowMs);
  const std::uint32_t interval = timeouts.ReadIntervalTimeout;
  const std::uint32_t multiplier = timeouts.ReadTotalTimeoutMultiplier;
  const std::uint32_t constant = timeouts.ReadTotalTimeoutConstant;
  if (interval == kMaxDword && multiplier == 0 && constant == 0) {
    kind_ = Kind::AtOnce;
  } else if (interval == kMaxDword && multiplier == kMaxDword && constant != 0 && constant != kMaxDword) {
    kind_ = Kind::FirstCharacter;
    totalMs_ = constant;
  } else {
    kind_ = Kind::Timed;
    intervalMs_ = interval;
    totalMs_ = static_cast<double>(std::uint64_t{multiplier} * into.size() + constant);
  }
}

void OverlappedRead::StartFramed(std::span<std::uint8_t> into, const FrameRule& rule, double silenceMs, double nowMs) {
  Begin(into, nowMs);
  kind_ = Kind::Framed;
  rule_ = &rule;
  intervalMs_ = silenceMs;
  totalMs_ = 0;
}

OverlappedRead::Progress OverlappedRead::Poll(platform::SerialLine& line, double nowMs) {
  if (!active_) return Progress::Idle;
  const std::size_t room = into_.size() - received_;
  bool whole = false;
  if (room > 0) {
    const platform::IoResult r = line.ReadAvailable(into_.subspan(received_));
    if (r.status == platform::IoStatus::Ok && r.count > 0) {
      received_ += std::min(r.count, room);
      lastMs_ = nowMs;
      looked_ = false;
      whole = line.WholeFrames();
    }
  }
  // A line that hands over whole frames has just ended one: no silence
  // needs waiting for.
  if (whole) {
    active_ = false;
    if (kind_ == Kind::Framed) TakeFrame(true);
    return Progress::Complete;
  }
  if (kind_ == Kind::Framed && TakeFrame(false)) {
    active_ = false;
    return Progress::Complete;
  }
  // Judged after taking what has come: a poll that comes late sees the rest of
  // a frame before the gap it seems to show, and does not cut the frame.
  if (!Ended(nowMs)) return Progress::Pending;
  active_ = false;
  if (kind_ == Kind::Framed && received_ > 0) {
    looked_ = false;
    TakeFrame(true);
  }
  return Progress::Complete;
}

bool OverlappedRead::TakeFrame(bool quiet) {
  if (looked_) return false;
  looked_ = true;
  const FrameMatch match = rule_->Find(into_.first(received_), quiet);
  pending_ = match.pending;
  if (match.kind == FrameKind::None) return false;
  found_ = match.kind;
  const std::size_t end = match.start + match.length;
  carried_ = std::min(received_ - end, carry_.size());
  std::copy_n(into_.begin() + static_cast<std::ptrdiff_t>(end), carried_, carry_.begin());
  carriedMs_ = lastMs_;
  std::copy_n(into_.begin() + static_cast<std::ptrdiff_t>(match.start), match.length, into_.begin());
  received_ = match.length;
  return true;
}

double OverlappedRead::DeadlineMs() const {
  constexpr double kNever = std::numeric_limits<double>::infinity();
  if (!active_) return kNever;
  switch (kind_) {
    case Kind::AtOnce:
      return startMs_;
    case Kind::FirstCharacter:
      return received_ > 0 ? lastMs_ : startMs_ + totalMs_;
    case Kind::Framed:
      return received_ > 0 ? (looked_ ? lastMs_ + Silence() : lastMs_) : kNever;
    case Kind::Timed:
      break;
  }
  // The gap must be longer than the interval: a microsecond past it.
  constexpr double kPastMs = 0.001;
  double at = totalMs_ > 0 ? startMs_ + totalMs_ : kNever;
  if (intervalMs_ > 0 && received_ > 0) at = std::min(at, lastMs_ + intervalMs_ + kPastMs);
  return at;
}

double OverlappedRead::Silence() const { return intervalMs_ + (pending_ ? kLatencyAllowanceMs : 0); }

bool OverlappedRead::Ended(double nowMs) const {
  if (received_ == into_.size()) return true;
  switch (kind_) {
    case Kind::AtOnce:
      return true;
    case Kind::FirstCharacter:
      return received_ > 0 || nowMs - startMs_ >= totalMs_;
    case Kind::Framed:
      // A silence of at least the given length ends the frame.
      return received_ > 0 && nowMs - lastMs_ >= Silence();
    case Kind::Timed:
      break;
  }
  if (totalMs_ > 0 && nowMs - startMs_ >= totalMs_) return true;
  return intervalMs_ > 0 && received_ > 0 && nowMs - lastMs_ > intervalMs_;
}

}  // namespace quorvel
