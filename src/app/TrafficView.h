#pragma once

// What a Traffic window shows of one port's traffic log: the rows it has
// taken from the log, decoded once as they come, and those of them that pass
// its filter. A window takes the log's new records in batches (a timer, a few
// times a second) rather than one by one, so that a fast bus costs one
// repaint per batch; the rows it holds are bounded, the oldest going first.
//
// The rows are the view's own copies: the log may drop or overwrite a record
// any time after the batch that took it. A toolkit model drives a batch in
// three steps (Fetch, MakeRoom, Append) so that it can announce the rows
// that leave and the rows that come, each before they do.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "modbus/FrameDecode.h"
#include "serial/TrafficLog.h"

namespace quorvel {

enum class TrafficColumn : std::uint8_t { Time, Port, Direction, Verdict, Bytes, Slave, Function, Summary };
inline constexpr int kTrafficColumns = 8;

// How a row is marked: a frame the port found wrong, an exception answer
// (a well-formed frame that reports a failure), or neither.
enum class TrafficRowKind : std::uint8_t { Ok, Exception, Error };

struct TrafficRow {
  std::uint64_t sequence = 0;
  std::int64_t timeUs = 0;
  TrafficDirection direction = TrafficDirection::Rx;
  TrafficVerdict verdict = TrafficVerdict::Ok;
  bool ascii = false;
  bool response = false;
  std::vector<std::uint8_t> bytes;
  int slave = -1;  // -1: not known
  int function = -1;
  std::string summary;
  TrafficRowKind kind = TrafficRowKind::Ok;
};

struct TrafficFilter {
  int slave = -1;           // -1: any
  int function = -1;        // -1: any
  bool errorsOnly = false;  // frame errors, time-outs and exception answers

  bool Passes(const TrafficRow& row) const;
  bool operator==(const TrafficFilter&) const = default;
};

class TrafficView {
 public:
  static constexpr std::size_t kDefaultRows = TrafficLog::kDefaultFrames;

  // Shows the records of `log` (port COM`com`) from the oldest it holds now.
  TrafficView(std::shared_ptr<TrafficLog> log, int com, std::size_t capacity = kDefaultRows);

  // The log's records the view has not taken yet, decoded; none while paused.
  std::vector<TrafficRow> Fetch();
  // How many shown rows Append(rows) pushes out at the front and adds at the end.
  struct Effect {
    std::size_t dropped = 0;
    std::size_t added = 0;
  };
  Effect Preview(std::span<const TrafficRow> rows) const;
  // Drops the oldest rows so that `incoming` more fit, then appends them.
  void MakeRoom(std::size_t incoming);
  void Append(std::vector<TrafficRow> rows);
  // The three at once, for a caller that announces nothing.
  Effect Sync();

  // While paused the view takes nothing; on resume it takes what the log
  // still holds of what came meanwhile.
  void SetPaused(bool paused) { paused_ = paused; }
  bool Paused() const { return paused_; }
  // Forgets every row, and the log's records with them: the port's traffic
  // starts afresh for whoever looks at it.
  void Clear();

  void SetFilter(const TrafficFilter& filter);
  const TrafficFilter& Filter() const { return filter_; }

  int Com() const { return com_; }
  // Rows taken, and rows that pass the filter.
  std::size_t Taken() const { return rows_.size(); }
  std::size_t RowCount() const { return shown_.size(); }
  const TrafficRow& Row(std::size_t shownRow) const;

  static std::string_view ColumnName(TrafficColumn column);
  std::string Cell(std::size_t shownRow, TrafficColumn column) const;

  // The rows given (shown-row numbers), one line each, cells separated by
  // tabs: for pasting into a spreadsheet.
  std::string CopyText(std::span<const std::size_t> shownRows) const;
  // Every shown row as the log's own text line (as `--traffic` writes it).
  std::string Text() const;
  // Every shown row as CSV, a header line first.
  std::string Csv() const;

 private:
  TrafficRow Decode(const TrafficRecord& record);
  const TrafficRow& RowByNumber(std::uint64_t number) const {
    return rows_[static_cast<std::size_t>(number - firstNumber_)];
  }

  std::shared_ptr<TrafficLog> log_;
  int com_;
  std::size_t capacity_;
  bool paused_ = false;
  TrafficFilter filter_;
  std::uint64_t nextSequence_;  // of the log: the first record not taken
  // The rows taken; row numbers count every row ever taken, so that the
  // shown list stays valid as the oldest rows go.
  std::deque<TrafficRow> rows_;
  std::uint64_t firstNumber_ = 0;
  std::deque<std::uint64_t> shown_;
  // The last request seen, whose answer is read against it (for the block
  // address an answer does not carry, and the slave of a time-out).
  MODBUS::DecodedFrame lastRequest_;
};

}  // namespace quorvel
