#include "app/TrafficView.h"

#include <algorithm>

namespace quorvel {
namespace {

// RFC 4180: a cell with a separator, quote or line break goes in quotes.
std::string CsvField(const std::string& cell) {
  if (cell.find_first_of(",\"\r\n") == std::string::npos) return cell;
  std::string quoted = "\"";
  for (const char c : cell) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

// The cells of a row in column order, joined by `separator`, each passed
// through `field`.
template <typename Field>
std::string JoinCells(const TrafficView& view, std::size_t row, char separator, Field field) {
  std::string line;
  for (int c = 0; c < kTrafficColumns; ++c) {
    if (c > 0) line += separator;
    line += field(view.Cell(row, static_cast<TrafficColumn>(c)));
  }
  return line;
}

TrafficRecord RecordOf(const TrafficRow& row) {
  return {row.sequence, row.timeUs, row.direction, row.verdict, row.ascii, row.response, row.bytes};
}

}  // namespace

bool TrafficFilter::Passes(const TrafficRow& row) const {
  if (errorsOnly && row.kind == TrafficRowKind::Ok) return false;
  if (slave >= 0 && row.slave != slave) return false;
  return function < 0 || row.function == function;
}

TrafficView::TrafficView(std::shared_ptr<TrafficLog> log, int com, std::size_t capacity)
    : log_(std::move(log)),
      com_(com),
      capacity_(std::max<std::size_t>(capacity, 1)),
      nextSequence_(log_->FirstSequence()) {}

TrafficRow TrafficView::Decode(const TrafficRecord& record) {
  TrafficRow row;
  row.sequence = record.sequence;
  row.timeUs = record.timeUs;
  row.direction = record.direction;
  row.verdict = record.verdict;
  row.ascii = record.ascii;
  row.response = record.response;
  row.bytes.assign(record.bytes.begin(), record.bytes.end());
  row.kind = record.verdict == TrafficVerdict::Ok ? TrafficRowKind::Ok : TrafficRowKind::Error;
  if (record.bytes.empty()) {
    // A time-out carries no bytes: it belongs to the request that went unanswered.
    row.slave = lastRequest_.slave;
    row.function = lastRequest_.function;
    return row;
  }
  MODBUS::DecodedFrame frame = MODBUS::DecodeFrame(record.bytes, record.ascii, record.response);
  if (record.response && frame.Ok() && lastRequest_.slave == frame.slave && lastRequest_.function == frame.function)
    frame = MODBUS::DecodeFrame(record.bytes, record.ascii, true, &lastRequest_);
  if (!record.response && frame.Ok()) lastRequest_ = frame;
  if (frame.role == MODBUS::FrameRole::Exception && row.kind == TrafficRowKind::Ok)
    row.kind = TrafficRowKind::Exception;
  row.slave = frame.slave;
  row.function = frame.function;
  row.summary = MODBUS::Summary(frame);
  return row;
}

std::vector<TrafficRow> TrafficView::Fetch() {
  std::vector<TrafficRow> rows;
  if (paused_) return rows;
  const std::uint64_t end = log_->NextSequence();
  // Records the log has dropped meanwhile are gone; of a burst longer than
  // the view holds only the newest are worth decoding.
  std::uint64_t from = std::max(nextSequence_, log_->FirstSequence());
  if (end - from > capacity_) from = end - capacity_;
  rows.reserve(static_cast<std::size_t>(end - from));
  for (std::uint64_t s = from; s < end; ++s) rows.push_back(Decode(log_->At(s)));
  nextSequence_ = end;
  return rows;
}

TrafficView::Effect TrafficView::Preview(std::span<const TrafficRow> rows) const {
  Effect effect;
  const std::size_t total = rows_.size() + rows.size();
  const std::size_t leaving = total > capacity_ ? std::min(total - capacity_, rows_.size()) : 0;
  const std::uint64_t keptFrom = firstNumber_ + leaving;
  for (const std::uint64_t number : shown_) {
    if (number >= keptFrom) break;
    ++effect.dropped;
  }
  for (const TrafficRow& row : rows) effect.added += filter_.Passes(row) ? 1 : 0;
  return effect;
}

void TrafficView::MakeRoom(std::size_t incoming) {
  while (!rows_.empty() && rows_.size() + incoming > capacity_) {
    rows_.pop_front();
    if (!shown_.empty() && shown_.front() == firstNumber_) shown_.pop_front();
    ++firstNumber_;
  }
}

void TrafficView::Append(std::vector<TrafficRow> rows) {
  for (TrafficRow& row : rows) {
    const std::uint64_t number = firstNumber_ + rows_.size();
    if (filter_.Passes(row)) shown_.push_back(number);
    rows_.push_back(std::move(row));
  }
}

TrafficView::Effect TrafficView::Sync() {
  std::vector<TrafficRow> rows = Fetch();
  const Effect effect = Preview(rows);
  MakeRoom(rows.size());
  Append(std::move(rows));
  return effect;
}

void TrafficView::Clear() {
  firstNumber_ += rows_.size();
  rows_.clear();
  shown_.clear();
  log_->Clear();
  nextSequence_ = log_->NextSequence();
}

void TrafficView::SetFilter(const TrafficFilter& filter) {
  filter_ = filter;
  shown_.clear();
  for (std::size_t i = 0; i < rows_.size(); ++i)
    if (filter_.Passes(rows_[i])) shown_.push_back(firstNumber_ + i);
}

const TrafficRow& TrafficView::Row(std::size_t shownRow) const { return RowByNumber(shown_.at(shownRow)); }

std::string_view TrafficView::ColumnName(TrafficColumn column) {
  switch (column) {
    case TrafficColumn::Time:
      return "Time";
    case TrafficColumn::Port:
      return "Port";
    case TrafficColumn::Direction:
      return "Dir";
    case TrafficColumn::Verdict:
      return "Verdict";
    case TrafficColumn::Bytes:
      return "Bytes";
    case TrafficColumn::Slave:
      return "Slave";
    case TrafficColumn::Function:
      return "Function";
    case TrafficColumn::Summary:
      return "Summary";
  }
  return {};
}

std::string TrafficView::Cell(std::size_t shownRow, TrafficColumn column) const {
  const TrafficRow& row = Row(shownRow);
  switch (column) {
    case TrafficColumn::Time:
      return LocalTime(log_->WallUs(row.timeUs));
    case TrafficColumn::Port:
      return "COM" + std::to_string(com_);
    case TrafficColumn::Direction:
      return row.direction == TrafficDirection::Tx ? "TX" : "RX";
    case TrafficColumn::Verdict:
      return std::string(VerdictName(row.verdict, row.ascii));
    case TrafficColumn::Bytes:
      return MODBUS::HexBytes(row.bytes);
    case TrafficColumn::Slave:
      return row.slave >= 0 ? std::to_string(row.slave) : std::string();
    case TrafficColumn::Function:
      return row.function >= 0 ? MODBUS::FunctionName(row.function) : std::string();
    case TrafficColumn::Summary:
      return row.summary;
  }
  return {};
}

std::string TrafficView::CopyText(std::span<const std::size_t> shownRows) const {
  std::string text;
  for (const std::size_t row : shownRows)
    text += JoinCells(*this, row, '\t', [](std::string cell) { return cell; }) + '\n';
  return text;
}

std::string TrafficView::Text() const {
  std::string text;
  for (std::size_t row = 0; row < RowCount(); ++row) text += TrafficLine(*log_, RecordOf(Row(row)), com_) + '\n';
  return text;
}

std::string TrafficView::Csv() const {
  std::string text;
  for (int c = 0; c < kTrafficColumns; ++c) {
    if (c > 0) text += ',';
    text += ColumnName(static_cast<TrafficColumn>(c));
  }
  text += "\r\n";
  for (std::size_t row = 0; row < RowCount(); ++row) text += JoinCells(*this, row, ',', CsvField) + "\r\n";
  return text;
}

}  // namespace quorvel
