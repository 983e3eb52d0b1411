// A trend's history: the bounded ring, and the decimation that keeps what a
// line through every point would show while drawing a few points a pixel.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "device/TrendSeries.h"

namespace quorvel {
namespace {

TrendSeries Of(const std::vector<TrendPoint>& points, std::size_t capacity = 64) {
  TrendSeries s(capacity);
  for (const TrendPoint& p : points) s.Append(p.ms, p.value);
  return s;
}

std::string Text(const std::vector<TrendPoint>& points) {
  std::string text;
  for (const TrendPoint& p : points)
    text += std::to_string(static_cast<int>(p.ms)) + ":" + std::to_string(static_cast<int>(p.value)) + " ";
  return text;
}

TEST(TrendRing, KeepsTheNewestPointsInOrder) {
  TrendSeries s(4);
  for (int i = 0; i < 10; ++i) s.Append(i * 10, i);
  ASSERT_EQ(s.Size(), 4u);
  EXPECT_EQ(s.At(0).value, 6);
  EXPECT_EQ(s.Newest().value, 9);
  EXPECT_EQ(s.LowerBound(75), 2u);
  EXPECT_EQ(s.LowerBound(0), 0u);
  EXPECT_EQ(s.LowerBound(1000), 4u);
  s.Append(50, 1);  // behind the newest: taken at its time
  EXPECT_EQ(s.Newest().ms, 90);
}

struct DecimateCase {
  const char* name;
  std::vector<TrendPoint> points;
  double from, to;
  std::size_t buckets;
  const char* drawn;
};

class Decimation : public ::testing::TestWithParam<DecimateCase> {};

TEST_P(Decimation, DrawsWhatTheLineWouldShow) {
  const DecimateCase& c = GetParam();
  std::vector<TrendPoint> out;
  Of(c.points).Decimate(c.from, c.to, c.buckets, out);
  EXPECT_EQ(Text(out), c.drawn);
}

const DecimateCase kDecimateCases[] = {
    {"Empty", {}, 0, 100, 10, ""},
    {"FewPointsAllKept", {{0, 1}, {10, 5}, {20, 2}}, 0, 100, 10, "0:1 10:5 20:2 "},
    {"NeighboursCarryTheLineToTheEdges", {{0, 1}, {10, 5}, {20, 2}, {30, 3}}, 5, 25, 10, "0:1 10:5 20:2 30:3 "},
    {"BucketsKeepLowAndHighInOrder",
     {{0, 5}, {1, 9}, {2, 1}, {3, 4}, {10, 7}, {11, 2}, {12, 3}, {13, 8}},
     0,
     20,
     2,
     "1:9 2:1 11:2 13:8 "},
    {"FlatBucketGivesOnePoint", {{0, 4}, {1, 4}, {2, 4}, {3, 4}, {10, 4}, {11, 4}}, 0, 20, 1, "0:4 "},
    {"OutsideTheWindowOnlyNeighbours", {{0, 1}, {100, 2}}, 20, 40, 4, "0:1 100:2 "},
    {"EmptyWindowDrawsNothing", {{0, 1}}, 40, 20, 4, ""},
};

INSTANTIATE_TEST_SUITE_P(TrendSeries, Decimation, ::testing::ValuesIn(kDecimateCases),
                         [](const ::testing::TestParamInfo<DecimateCase>& info) { return info.param.name; });

TEST(Decimation, EveryBucketKeepsItsExtremesAndTheCountIsBounded) {
  std::mt19937 random(15);
  std::uniform_real_distribution<double> value(-100, 100);
  TrendSeries s(100000);
  for (int i = 0; i < 100000; ++i) s.Append(i * 0.1, value(random));
  const double from = 1000, to = 9000;
  const std::size_t buckets = 317;
  std::vector<TrendPoint> out;
  s.Decimate(from, to, buckets, out);
  ASSERT_LE(out.size(), 2 * buckets + 2);
  // Each bucket's lowest and highest raw values are among the drawn points.
  const double width = (to - from) / buckets;
  std::vector<double> low(buckets, 1e9), high(buckets, -1e9), drawnLow(buckets, 1e9), drawnHigh(buckets, -1e9);
  for (std::size_t i = s.LowerBound(from); i < s.Size() && s.At(i).ms <= to; ++i) {
    const auto b = std::min(buckets - 1, static_cast<std::size_t>((s.At(i).ms - from) / width));
    low[b] = std::min(low[b], s.At(i).value);
    high[b] = std::max(high[b], s.At(i).value);
  }
  for (const TrendPoint& p : out) {
    if (p.ms < from || p.ms > to) continue;
    const auto b = std::min(buckets - 1, static_cast<std::size_t>((p.ms - from) / width));
    drawnLow[b] = std::min(drawnLow[b], p.value);
    drawnHigh[b] = std::max(drawnHigh[b], p.value);
  }
  EXPECT_EQ(drawnLow, low);
  EXPECT_EQ(drawnHigh, high);
  for (std::size_t i = 1; i < out.size(); ++i) ASSERT_LE(out[i - 1].ms, out[i].ms) << "in time order";
}

TEST(TrendRing, NearestPointInTime) {
  const TrendSeries s = Of({{0, 5}, {10, -2}, {20, 7}, {30, 1}});
  for (const auto& [at, nearest] : {std::pair{14, 10}, {16, 20}, {100, 30}}) {
    TrendPoint p;
    ASSERT_TRUE(s.Nearest(at, p)) << at;
    EXPECT_EQ(p.ms, nearest) << at;
  }
}

}  // namespace
}  // namespace quorvel
