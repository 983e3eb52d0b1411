#include "platform/Clock.h"

#include <time.h>

namespace quorvel::platform {
namespace {

constexpr double kNsPerMs = 1e6;

std::int64_t MonotonicNs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<std::int64_t>(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
}

}  // namespace

std::int32_t WrapTickCount(std::int64_t ms) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(ms)));
}

double PerformanceCounterMs(std::int32_t high, std::int32_t low, double countsPerMs) {
  if (!(countsPerMs > 0)) return 0;
  double counts = static_cast<double>(high) * 4294967295.0 + static_cast<double>(low);
  if (low < 1) counts += 4294967295.0;
  return counts / countsPerMs;
}

// The nanosecond count plays the performance counter (frequency 1e9), so the
// deadlines run through the same arithmetic as on the system the port logic
// was written for; the drift it causes is 1 ns per 4.3 s.
SystemClock::SystemClock() : countsPerMs_(kNsPerMs) {}

std::int32_t SystemClock::GetTickCount() const { return WrapTickCount(MonotonicNs() / 1'000'000); }

double SystemClock::GetTimeMs() const {
  const auto counts = static_cast<std::uint64_t>(MonotonicNs());
  return PerformanceCounterMs(static_cast<std::int32_t>(static_cast<std::uint32_t>(counts >> 32)),
                              static_cast<std::int32_t>(static_cast<std::uint32_t>(counts)), countsPerMs_);
}

std::int64_t SystemClock::Nanoseconds() const { return MonotonicNs(); }

std::int32_t ManualClock::GetTickCount() const { return WrapTickCount(now_ / 1'000'000); }

double ManualClock::GetTimeMs() const { return static_cast<double>(now_) / kNsPerMs; }

void ManualClock::AdvanceMs(double ms) { now_ += static_cast<std::int64_t>(ms * kNsPerMs + (ms >= 0 ? 0.5 : -0.5)); }

}  // namespace quorvel::platform
