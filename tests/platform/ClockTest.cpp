// The performance-counter arithmetic.

#include <gtest/gtest.h>

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
                                           CounterCase{1, 5, 1, 4294967300.0},
                                           CounterCase{2, -2147483647 - 1, 10, 1073741823.7}, CounterCase{3, 7, 0, 0}));

}  // namespace
}  // namespace quorvel::platform
