#include "device/ValueLog.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace quorvel {

std::string IsoLocalTime(std::int64_t wallMs) {
  // Floor division: times before the epoch keep their milliseconds positive.
  std::int64_t seconds = wallMs / 1000;
  std::int64_t ms = wallMs % 1000;
  if (ms < 0) {
    ms += 1000;
    --seconds;
  }
  const auto time = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&time, &local);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, static_cast<int>(ms));
  return text;
}

std::string CellText(const std::optional<double>& cell) {
  if (!cell || !std::isfinite(*cell)) return {};
  char text[32];
  const auto result = std::to_chars(text, text + sizeof text, *cell);
  return std::string(text, result.ptr);
}

ValueLog::ValueLog(const std::string& path, bool everyAnswer, std::vector<ValueColumn> columns,
                   const platform::Clock& clock)
    : writer_(path), everyAnswer_(everyAnswer), values_(std::move(columns)), clock_(clock), flushedAtMs_(NowMs()) {
  const std::int64_t wallMs =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count();
  AnchorWall(NowMs(), wallMs);
  std::vector<std::string> header{"time"};
  for (const ValueColumn& column : values_.Columns()) header.push_back(column.name);
  writer_.Write(header);
  writer_.Flush();
}

ValueLog::~ValueLog() { writer_.Flush(); }

void ValueLog::AnswerTaken(std::span<CtrlProp* const> read, bool ok) {
  if (!values_.Take(read, ok) && !everyAnswer_) return;
  std::vector<std::string> row{IsoLocalTime(NowMs() + wallOffsetMs_)};
  for (const auto& cell : values_.Cells()) row.push_back(CellText(cell));
  writer_.Write(row);
  ++rows_;
  Tick();
}

void ValueLog::Tick() {
  const std::int64_t now = NowMs();
  if (!writer_.Pending() || now - flushedAtMs_ < kFlushMs) return;
  writer_.Flush();
  flushedAtMs_ = now;
}

}  // namespace quorvel
