#pragma once

// What a trend chart of a device window plots: every panel value's history
// from the moment the chart was opened, whether ticked or not (ticking one
// later shows its past too), fed by the answers the window takes. A failed
// read adds no point: the line jumps the gap.
//
// It also writes what a chart shows as CSV: the ticked values' points in a
// time window, a row per answer time, as the value log writes rows.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "device/AnswerWatcher.h"
#include "device/TrendSeries.h"
#include "device/ValueColumns.h"
#include "platform/Clock.h"

namespace quorvel {

class TrendRecorder final : public AnswerWatcher {
 public:
  TrendRecorder(std::vector<ValueColumn> columns, const platform::Clock& clock,
                std::size_t capacity = TrendSeries::kDefaultCapacity);

  const std::vector<ValueColumn>& Columns() const { return values_.Columns(); }
  const TrendSeries& Series(std::size_t column) const { return series_.at(column); }
  // The clock's milliseconds now, the time axis of the series.
  double NowMs() const { return static_cast<double>(clock_.Nanoseconds()) / 1e6; }
  // Wall-clock milliseconds since the epoch of a series time.
  double WallMs(double ms) const { return ms + wallOffsetMs_; }
  void AnchorWall(double clockMs, double wallMs) { wallOffsetMs_ = wallMs - clockMs; }

  // A point for each value the answer brought.
  void AnswerTaken(std::span<CtrlProp* const> read, bool ok) override;

  // The CSV text of `columns` between `fromMs` and `toMs`: a header ("time"
  // and their names), then a row per time any of them has a point.
  std::string Csv(const std::vector<std::size_t>& columns, double fromMs, double toMs) const;

 private:
  ValueColumns values_;
  std::vector<TrendSeries> series_;
  const platform::Clock& clock_;
  double wallOffsetMs_ = 0;
};

}  // namespace quorvel
