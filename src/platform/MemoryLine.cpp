#include "platform/MemoryLine.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace quorvel::platform {
namespace {

constexpr double kNsPerMs = 1e6;

std::int64_t Ns(double ms) { return std::llround(ms * kNsPerMs); }

std::string PathOf(End end) { return end == End::A ? "memory:A" : "memory:B"; }

}  // namespace

void MemoryWire::Unplug(End end) {
  EndState& state = State(end);
  state.plugged = false;
  if (state.open) state.gone = true;
  // Whatever was on its way to the pulled adapter is lost with it.
  Dir(Other(end)).characters.clear();
}

void MemoryWire::Send(End from, std::span<const std::uint8_t> bytes) {
  const EndState& sender = State(from);
  Direction& dir = Dir(from);
  scratch_.clear();
  const int bits = IsUsableDataBits(sender.settings.dataBits) ? sender.settings.dataBits : 8;
  const auto mask = static_cast<std::uint8_t>((1U << bits) - 1);
  for (const std::uint8_t c : bytes) {
    std::uint8_t out[2];
    const int n = dir.damage.PassOne(static_cast<std::uint8_t>(c & mask), out);
    for (int i = 0; i < n; ++i) scratch_.push_back(static_cast<std::uint8_t>(out[i] & mask));
  }
  const bool heard = State(Other(from)).plugged;  // else the characters go out, and nobody hears them
  if (!heard && !sender.echo) return;

  const LineTiming& t = dir.timing;
  const std::int64_t now = clock_.Nanoseconds();
  const std::int64_t start = std::max(now, dir.wireFreeNs);
  const double baud = sender.settings.baudRate;
  const double charNs = t.paceByBaud && baud > 0 ? 11e9 / baud : 0;
  const std::int64_t latency = Ns(t.latencyMs);
  const std::int64_t gap = Ns(t.chunkGapMs);
  std::int64_t left = start;
  for (std::size_t i = 0; i < scratch_.size(); ++i) {
    const auto piece = static_cast<std::int64_t>(t.chunkSize == 0 ? 0 : i / t.chunkSize);
    left = start + piece * gap + std::llround(static_cast<double>(i + 1) * charNs);
    if (heard) dir.characters.push_back({left, left + latency, scratch_[i]});
    if (sender.echo) {
      // Heard back as it leaves, among what the other end sends, in time order.
      auto& back = Dir(Other(from)).characters;
      const Character echo{left, left, scratch_[i]};
      back.insert(std::upper_bound(back.begin(), back.end(), echo,
                                   [](const Character& a, const Character& b) { return a.arrivesNs < b.arrivesNs; }),
                  echo);
    }
  }
  dir.wireFreeNs = left;
}

std::size_t MemoryWire::Arrived(End at) const {
  const auto& characters = directions_[Index(Other(at))].characters;
  const std::int64_t now = clock_.Nanoseconds();
  std::size_t n = 0;
  while (n < characters.size() && characters[n].arrivesNs <= now) ++n;
  return n;
}

OpenFailure MemoryLine::Open(const LineSettings& settings) {
  Close();
  MemoryWire::EndState& state = wire_->State(end_);
  if (state.failNext) {
    OpenFailure failure = std::move(*state.failNext);
    state.failNext.reset();
    return failure;
  }
  if (!state.plugged) return {OpenCause::NoSuchDevice, ENOENT, PathOf(end_), {}, {}, false};
  if (state.open) return {OpenCause::Held, EBUSY, PathOf(end_), {}, {}, false};
  state.open = true;
  state.gone = false;
  state.settings = settings;
  ++state.openCount;
  open_ = true;
  Purge(PurgeWhat::Both);
  return {};
}

void MemoryLine::Close() {
  if (!open_) return;
  Purge(PurgeWhat::Both);
  MemoryWire::EndState& state = wire_->State(end_);
  state.open = false;
  state.gone = false;
  open_ = false;
}

bool MemoryLine::IsGone() const { return open_ && wire_->ends_[MemoryWire::Index(end_)].gone; }

IoResult MemoryLine::Write(std::span<const std::uint8_t> bytes) {
  if (!open_) return {0, IoStatus::Closed, EBADF};
  if (IsGone()) return {0, IoStatus::Gone, EIO};
  wire_->Send(end_, bytes);
  return {bytes.size(), IoStatus::Ok, 0};
}

IoResult MemoryLine::ReadAvailable(std::span<std::uint8_t> into) {
  if (!open_) return {0, IoStatus::Closed, EBADF};
  if (IsGone()) return {0, IoStatus::Gone, EIO};
  auto& characters = wire_->Dir(MemoryWire::Other(end_)).characters;
  const std::size_t n = std::min(into.size(), wire_->Arrived(end_));
  for (std::size_t i = 0; i < n; ++i) into[i] = characters[i].value;
  characters.erase(characters.begin(), characters.begin() + static_cast<std::ptrdiff_t>(n));
  return {n, IoStatus::Ok, 0};
}

std::size_t MemoryLine::BytesAvailable() { return open_ && !IsGone() ? wire_->Arrived(end_) : 0; }

std::size_t MemoryLine::OutputQueued() {
  if (!open_ || IsGone()) return 0;
  const auto& characters = wire_->Dir(end_).characters;
  const std::int64_t now = wire_->clock_.Nanoseconds();
  std::size_t n = 0;
  for (auto c = characters.rbegin(); c != characters.rend() && c->leftNs > now; ++c) ++n;
  return n;
}

void MemoryLine::Purge(PurgeWhat what) {
  if (!open_) return;
  if (what == PurgeWhat::Input || what == PurgeWhat::Both) {
    auto& in = wire_->Dir(MemoryWire::Other(end_)).characters;
    in.erase(in.begin(), in.begin() + static_cast<std::ptrdiff_t>(wire_->Arrived(end_)));
  }
  if (what == PurgeWhat::Output || what == PurgeWhat::Both) {
    MemoryWire::Direction& out = wire_->Dir(end_);
    const std::int64_t now = wire_->clock_.Nanoseconds();
    while (!out.characters.empty() && out.characters.back().leftNs > now) out.characters.pop_back();
    out.wireFreeNs = std::min(out.wireFreeNs, now);
  }
}

}  // namespace quorvel::platform
