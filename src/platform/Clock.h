#pragma once

// The program's clocks. Scheduling reads a signed 32-bit millisecond tick count
// that wraps through negative values after 24.8 days, exactly like the Win32
// tick count the device windows were designed around; serial deadlines read a
// finer millisecond clock as a double. Both come through this interface so
// that tests can drive time by hand instead of sleeping.

#include <cstdint>

namespace quorvel::platform {

class Clock {
 public:
  virtual ~Clock() = default;

  // Milliseconds since an arbitrary start, as a signed 32-bit value that wraps.
  virtual std::int32_t GetTickCount() const = 0;

  // Milliseconds with sub-millisecond resolution, for the port's deadlines.
  virtual double GetTimeMs() const = 0;

  // Plain monotonic nanoseconds, for code that needs exact, unwrapped time
  // (the in-memory line's delivery times).
  virtual std::int64_t Nanoseconds() const = 0;
};

// The system's monotonic clock (CLOCK_MONOTONIC, which neither jumps with
// the wall clock nor stops counting while the program waits).
class SystemClock final : public Clock {
 public:
  SystemClock();
  std::int32_t GetTickCount() const override;
  double GetTimeMs() const override;
  std::int64_t Nanoseconds() const override;

 private:
  double countsPerMs_;  // taken once, like the performance counter's frequency
};

// A clock that moves only when told to; starts at `startNs`.
class ManualClock final : public Clock {
 public:
  explicit ManualClock(std::int64_t startNs = 0) : now_(startNs) {}
  std::int32_t GetTickCount() const override;
  double GetTimeMs() const override;  // the plain value: tests reason in exact milliseconds
  std::int64_t Nanoseconds() const override { return now_; }

  void AdvanceMs(double ms);
  void AdvanceNs(std::int64_t ns) { now_ += ns; }
  void SetNs(std::int64_t ns) { now_ = ns; }

 private:
  std::int64_t now_;
};

// The tick count of a millisecond count: its low 32 bits read as signed.
std::int32_t WrapTickCount(std::int64_t ms);

// Milliseconds from a 64-bit performance counter split into its halves, both
// read as signed 32-bit values: high * 4294967295 + low, plus 4294967295 more
// when low is below 1, divided by `countsPerMs`; 0 when countsPerMs is not
// positive. This reproduces the arithmetic the port's deadlines were tuned
// with: a signed low half is brought back into range by the added constant,
// and each step of the high half is one count short of 2^32, which drifts the
// clock by a count per 2^32 counts; the one count per wrap where low is 0 reads
// 2^32 - 1 counts ahead.
double PerformanceCounterMs(std::int32_t high, std::int32_t low, double countsPerMs);

}  // namespace quorvel::platform
