#include "platform/EchoLine.h"

#include <algorithm>

namespace quorvel::platform {
namespace {

// Room for a frame buffer's worth several times over; the line keeps the rest
// in its own queue until the reader has made room.
constexpr std::size_t kHeardRoom = 4096;

}  // namespace

EchoLine::EchoLine(std::unique_ptr<SerialLine> line) : line_(std::move(line)) {
  expected_.reserve(kHeardRoom);
  heard_.reserve(kHeardRoom);
}

OpenFailure EchoLine::Open(const LineSettings& settings) {
  Forget();
  return line_->Open(settings);
}

void EchoLine::Close() {
  Forget();
  line_->Close();
}

IoResult EchoLine::Write(std::span<const std::uint8_t> bytes) {
  const IoResult r = line_->Write(bytes);
  if (r.status == IoStatus::Ok) {
    // Bytes written while an earlier echo is still due come back after it.
    // An adapter that never echoes would make this grow without end.
    if (matched_ == expected_.size() || expected_.size() + r.count > kHeardRoom) {
      expected_.clear();
      matched_ = 0;
    }
    expected_.insert(expected_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(r.count));
  }
  return r;
}

IoResult EchoLine::Pump() {
  if (head_ == heard_.size()) {
    heard_.clear();
    head_ = 0;
  }
  std::uint8_t chunk[256];
  for (;;) {
    const std::size_t room = std::min(sizeof chunk, kHeardRoom - (heard_.size() - head_));
    if (room == 0) return {};
    const IoResult r = line_->ReadAvailable(std::span(chunk, room));
    if (r.status != IoStatus::Ok) return r;
    if (r.count == 0) return {};
    std::size_t i = 0;
    for (; i < r.count && matched_ < expected_.size(); ++i) {
      if (chunk[i] != expected_[matched_]) {
        ++mismatches_;
        matched_ = expected_.size();
        break;
      }
      ++matched_;
    }
    if (head_ > 0 && heard_.size() + (r.count - i) > kHeardRoom) {
      heard_.erase(heard_.begin(), heard_.begin() + static_cast<std::ptrdiff_t>(head_));
      head_ = 0;
    }
    heard_.insert(heard_.end(), chunk + i, chunk + r.count);
  }
}

IoResult EchoLine::ReadAvailable(std::span<std::uint8_t> into) {
  const IoResult pumped = Pump();
  if (pumped.status != IoStatus::Ok && head_ == heard_.size()) return pumped;
  const std::size_t n = std::min(into.size(), heard_.size() - head_);
  std::copy_n(heard_.begin() + static_cast<std::ptrdiff_t>(head_), n, into.begin());
  head_ += n;
  return {n, IoStatus::Ok, 0};
}

std::size_t EchoLine::BytesAvailable() {
  Pump();
  return heard_.size() - head_;
}

void EchoLine::Purge(PurgeWhat what) {
  if (what != PurgeWhat::Output) Forget();
  line_->Purge(what);
}

int EchoLine::TakeMismatches() {
  const int n = mismatches_;
  mismatches_ = 0;
  return n;
}

void EchoLine::Forget() {
  expected_.clear();
  matched_ = 0;
  heard_.clear();
  head_ = 0;
}

}  // namespace quorvel::platform
