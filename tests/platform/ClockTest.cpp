// The performance-counter arithmetic.

#include <gtest/gtest.h>

#include "platform/Clock.h"

namespace quorvel::platform {
namespace {

struct CounterCase {
  std::int32_t high, low;
  double countsPerMs, ms;
};

void PrintTo(const CounterCase& c, std::ostream* out) {
  *out << "high " << c.high << ", low " << c.low << ", " << c.countsPerMs << " per ms";
}

class PerformanceCounter : public ::testing::TestWithParam<CounterCase> {};

TEST_P(PerformanceCounter, JoinsTheHalvesAsTheDeadlinesExpect) {
  const CounterCase& c = GetParam();
  EXPECT_DOUBLE_EQ(PerformanceCounterMs(c.high, c.low, c.countsPerMs), c.ms);
}

// By hand: (high * 4294967295 + low, + 4294967295 when low < 1) / countsPerMs.
INSTANTIATE_TEST_SUITE_P(Halves, PerformanceCounter,
                         ::testing::Values(CounterCase{0, 1000, 4, 250}, CounterCase{0, 0, 1, 4294967295.0},
                                           CounterCase{1, 5, 1, 4294967300.0},
                                           CounterCase{2, -2147483647 - 1, 10, 1073741823.7}, CounterCase{3, 7, 0, 0}),
                         [](const ::testing::TestParamInfo<CounterCase>& info) {
                           const CounterCase& c = info.param;
                           const auto number = [](std::int64_t v) {
                             return (v < 0 ? "Minus" : "") + std::to_string(v < 0 ? -v : v);
                           };
                           return "High" + number(c.high) + "Low" + number(c.low) + "PerMs" +
                                  number(static_cast<std::int64_t>(c.countsPerMs));
                         });

}  // namespace
}  // namespace quorvel::platform
