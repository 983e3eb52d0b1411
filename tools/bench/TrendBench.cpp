// The trend chart's data path with the load it must stay smooth under: 20
// values answered 10 times a second for an hour (720 000 points) appended to
// their rings, and a redraw decimating each value's hour to a plot 1200
// pixels wide, as the chart does five times a second.

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "device/TrendSeries.h"

namespace {

using namespace quorvel;

constexpr int kValues = 20;
constexpr int kAnswersPerSecond = 10;
constexpr int kSeconds = 3600;
constexpr int kAnswers = kAnswersPerSecond * kSeconds;
constexpr std::size_t kPixels = 1200;

double Wave(int answer, int value) { return std::sin(answer * 0.01 + value) * 100 + value; }

std::vector<TrendSeries> FullHour() {
  std::vector<TrendSeries> series(kValues);
  for (int a = 0; a < kAnswers; ++a)
    for (int v = 0; v < kValues; ++v) series[v].Append(a * 100.0, Wave(a, v));
  return series;
}

// An hour of answers into 20 rings; the time counted per point appended.
void BM_TrendAppendHour(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<TrendSeries> series(kValues);
    for (int a = 0; a < kAnswers; ++a)
      for (int v = 0; v < kValues; ++v) series[v].Append(a * 100.0, Wave(a, v));
    benchmark::DoNotOptimize(series.back().Size());
  }
  state.SetItemsProcessed(state.iterations() * kAnswers * kValues);
  state.counters["ns_per_append"] = benchmark::Counter(static_cast<double>(state.iterations()) * kAnswers * kValues,
                                                       benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_TrendAppendHour)->Unit(benchmark::kMillisecond);

// One redraw: every value's points of the span decimated for the plot.
void BM_TrendRedraw(benchmark::State& state) {
  const std::vector<TrendSeries> series = FullHour();
  const double spanMs = static_cast<double>(state.range(0)) * 1000;
  const double toMs = (kAnswers - 1) * 100.0;
  std::vector<TrendPoint> points;
  std::size_t drawn = 0;
  for (auto _ : state) {
    drawn = 0;
    for (const TrendSeries& s : series) {
      points.clear();
      s.Decimate(toMs - spanMs, toMs, kPixels, points);
      drawn += points.size();
    }
    benchmark::DoNotOptimize(drawn);
  }
  state.counters["points_drawn"] = static_cast<double>(drawn);
}
BENCHMARK(BM_TrendRedraw)->Arg(3600)->Arg(60)->Arg(10)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
