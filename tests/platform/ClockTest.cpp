// The performance-counter arithmetic and the system clock.

#include <gtest/gtest.h>
#include <time.h>

#include "platform/Clock.h"

namespace quorvel::platform {
namespace {

struct CounterCase {
  std::int32_t high, low;
  double countsPerMs, ms;
};

class PerformanceCounter : public ::testing::TestWithParam<CounterCase> {};

TEST_P(PerformanceCounter, JoinsTheHalvesAsTheDeadlinesExpect) {
  const CounterCase& c = GetParam();
  EXPECT_DOUBLE_EQ(PerformanceCounterMs(c.high, c.low, c.countsPerMs), c.ms);
}

// By hand: (high * 4294967295 + low, + 4294967295 when low < 1) / countsPerMs.
INSTANTIATE_TEST_SUITE_P(Halves, PerformanceCounter,
                         ::testing::Values(CounterCase{0, 1000, 4, 250}, CounterCase{0, 0, 1, 4294967295.0},
                                           CounterCase{0, -1, 1, 4294967294.0}, CounterCase{1, 5, 1, 4294967300.0},
                                           CounterCase{2, -2147483647 - 1, 10, 1073741823.7}, CounterCase{3, 7, 0, 0},
                                           CounterCase{3, 7, -2, 0}));

TEST(Clock, SystemClockRunsAtTheRateOfTheMonotonicClock) {
  const SystemClock clock;
  const double msBefore = clock.GetTimeMs();
  const std::int64_t ns0 = clock.Nanoseconds();
  const std::int32_t tick = clock.GetTickCount();
  const timespec pause{0, 2'000'000};
  nanosleep(&pause, nullptr);
  const std::int64_t ns1 = clock.Nanoseconds();
  const double msAfter = clock.GetTimeMs();
  EXPECT_GE(ns1 - ns0, 2'000'000);
  // Read in the order ms, ns, ns, ms, the outer interval holds the inner one.
  // Only intervals compare: the counter arithmetic offsets the readings.
  EXPECT_GE(msAfter - msBefore, static_cast<double>(ns1 - ns0) / 1e6 - 1e-3);
  EXPECT_LT(msAfter - msBefore, 1000.0);
  EXPECT_LE(static_cast<std::uint32_t>(tick - WrapTickCount(ns0 / 1'000'000)), 1U);
}

}  // namespace
}  // namespace quorvel::platform
