#include "device/TrendRecorder.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "device/CsvWriter.h"
#include "device/ValueLog.h"

namespace quorvel {

TrendRecorder::TrendRecorder(std::vector<ValueColumn> columns, const platform::Clock& clock, std::size_t capacity)
    : values_(std::move(columns)), series_(values_.Columns().size(), TrendSeries(capacity)), clock_(clock) {
  const double wallMs =
      std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
  AnchorWall(NowMs(), wallMs);
}

void TrendRecorder::AnswerTaken(std::span<CtrlProp* const> read, bool ok) {
  values_.Take(read, ok);
  if (!ok) return;
  const double now = NowMs();
  const auto& columns = values_.Columns();
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (std::find(read.begin(), read.end(), columns[i].element) != read.end() && values_.Cells()[i])
      series_[i].Append(now, *values_.Cells()[i]);
}

std::string TrendRecorder::Csv(const std::vector<std::size_t>& columns, double fromMs, double toMs) const {
  std::vector<std::string> header{"time"};
  for (const std::size_t c : columns) header.push_back(Columns().at(c).name);
  std::string text = CsvRow(header);
  // Merged by time: the values one answer brought share its time.
  std::vector<std::size_t> next, end;
  for (const std::size_t c : columns) {
    next.push_back(series_[c].LowerBound(fromMs));
    end.push_back(series_[c].LowerBound(std::nextafter(toMs, HUGE_VAL)));
  }
  for (;;) {
    double earliest = HUGE_VAL;
    for (std::size_t s = 0; s < columns.size(); ++s)
      if (next[s] < end[s]) earliest = std::min(earliest, series_[columns[s]].At(next[s]).ms);
    if (earliest == HUGE_VAL) break;
    std::vector<std::string> row{IsoLocalTime(static_cast<std::int64_t>(std::floor(WallMs(earliest))))};
    for (std::size_t s = 0; s < columns.size(); ++s) {
      std::optional<double> cell;
      if (next[s] < end[s] && series_[columns[s]].At(next[s]).ms == earliest)
        cell = series_[columns[s]].At(next[s]++).value;
      row.push_back(CellText(cell));
    }
    text += CsvRow(row);
  }
  return text;
}

}  // namespace quorvel
