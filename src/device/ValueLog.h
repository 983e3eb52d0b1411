#pragma once

// A device window's values logged to a CSV file while the user wants it:
// a header row naming the columns ("time", then each panel value), then a
// row for each answer that changed a value, or with `everyAnswer` for each
// answer taken. A cell is the number the panel shows, "." for decimals, or
// empty while the last request for that value failed.
//
// Times are the local wall time of the answer, ISO 8601 with milliseconds.
// The file is flushed at least once a second, as rows come or on Tick, and
// when the log ends; so a crash loses at most the last second.

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "device/AnswerWatcher.h"
#include "device/CsvWriter.h"
#include "device/ValueColumns.h"
#include "platform/Clock.h"

namespace quorvel {

// `wallMs` (milliseconds since the epoch) as local time:
// "2024-05-17T14:03:07.250".
std::string IsoLocalTime(std::int64_t wallMs);

// A cell's text: the shortest text that reads back as the same number, with
// "." for decimals; "" for none.
std::string CellText(const std::optional<double>& cell);

class ValueLog final : public AnswerWatcher {
 public:
  static constexpr double kFlushMs = 1000;

  // Starts logging `columns` to `path` (the file is created or emptied and
  // the header written). Times come from `clock`, tied to the wall clock now.
  ValueLog(const std::string& path, bool everyAnswer, std::vector<ValueColumn> columns, const platform::Clock& clock);
  ~ValueLog() override;
  ValueLog(const ValueLog&) = delete;
  ValueLog& operator=(const ValueLog&) = delete;

  // Whether the file takes rows; when not, why not.
  bool Ok() const { return writer_.Ok(); }
  const std::string& Problem() const { return writer_.Problem(); }
  const std::string& Path() const { return writer_.Path(); }
  bool EveryAnswer() const { return everyAnswer_; }
  std::uint64_t Rows() const { return rows_; }

  // A row when a value changed, or for every answer.
  void AnswerTaken(std::span<CtrlProp* const> read, bool ok) override;
  // Flushes what is waiting once a second has passed since the last flush.
  void Tick();

  // The wall clock's milliseconds for the clock's `ms`, as the rows' times read.
  void AnchorWall(std::int64_t clockMs, std::int64_t wallMs) { wallOffsetMs_ = wallMs - clockMs; }

 private:
  std::int64_t NowMs() const { return clock_.Nanoseconds() / 1000000; }

  CsvWriter writer_;
  bool everyAnswer_;
  ValueColumns values_;
  const platform::Clock& clock_;
  std::int64_t wallOffsetMs_ = 0;
  std::int64_t flushedAtMs_;
  std::uint64_t rows_ = 0;
};

}  // namespace quorvel
