// What a Traffic window shows of a port's log: batches, the bound on rows,
// pause, the filter, answers read against their requests, and the text,
// CSV and clipboard forms of the rows.

#include <gtest/gtest.h>

#include "../serial/SerialTestSupport.h"
#include "app/TrafficView.h"

namespace quorvel {
namespace {

using test::Bytes;
// RTU frames with their CRC.
constexpr auto Rtu = test::Sealed;

struct Frame {
  TrafficDirection direction;
  TrafficVerdict verdict;
  bool response;
  Bytes bytes;
};

// A short master's session with slaves 1 and 2, errors of every kind included.
const std::vector<Frame>& Session() {
  static const std::vector<Frame> frames = [] {
    using enum TrafficDirection;
    using enum TrafficVerdict;
    Bytes broken = Rtu({0x02, 0x06, 0x00, 0x07, 0x00, 0x01});
    broken.back() ^= 0xFF;
    return std::vector<Frame>{
        {Tx, Ok, false, Rtu({0x01, 0x03, 0x00, 0x10, 0x00, 0x02})},       // 0
        {Rx, Ok, true, Rtu({0x01, 0x03, 0x04, 0x00, 0x0A, 0x00, 0x14})},  // 1
        {Tx, Ok, false, Rtu({0x02, 0x06, 0x00, 0x07, 0x00, 0x01})},       // 2
        {Rx, ChecksumError, true, broken},                                // 3
        {Tx, Ok, false, Rtu({0x02, 0x06, 0x00, 0x07, 0x00, 0x01})},       // 4
        {Rx, Timeout, true, {}},                                          // 5
        {Tx, Ok, false, Rtu({0x01, 0x03, 0x00, 0x10, 0x00, 0x02})},       // 6
        {Rx, Ok, true, Rtu({0x01, 0x83, 0x02})},                          // 7
    };
  }();
  return frames;
}

std::shared_ptr<TrafficLog> LogOf(const std::vector<Frame>& frames, std::size_t size = TrafficLog::kDefaultFrames) {
  auto log = std::make_shared<TrafficLog>(size);
  log->Anchor(0, 1'700'000'000'000'000);
  for (std::size_t i = 0; i < frames.size(); ++i)
    log->Add(static_cast<std::int64_t>(i) * 1000, frames[i].direction, frames[i].verdict, false, frames[i].response,
             frames[i].bytes);
  return log;
}

std::vector<std::uint64_t> Shown(const TrafficView& view) {
  std::vector<std::uint64_t> sequences;
  for (std::size_t r = 0; r < view.RowCount(); ++r) sequences.push_back(view.Row(r).sequence);
  return sequences;
}

TEST(TrafficView, FilterShowsTheRowsOfASlaveAFunctionOrTheErrors) {
  struct Row {
    const char* name;
    TrafficFilter filter;
    std::vector<std::uint64_t> shown;
  };
  const Row rows[] = {
      {"everything", {}, {0, 1, 2, 3, 4, 5, 6, 7}},
      // The time-out belongs to the request it leaves unanswered.
      {"slave 2", {.slave = 2}, {2, 3, 4, 5}},
      {"function 3", {.function = 3}, {0, 1, 6, 7}},
      // A CRC error, a time-out and an exception answer.
      {"errors only", {.errorsOnly = true}, {3, 5, 7}},
      {"errors of slave 1", {.slave = 1, .errorsOnly = true}, {7}},
      {"slave 1 writing", {.slave = 1, .function = 6}, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TrafficView view(LogOf(Session()), 1);
    view.Sync();
    view.SetFilter(row.filter);
    EXPECT_EQ(Shown(view), row.shown);
    // A filter set before the rows come applies to them as they come.
    TrafficView early(LogOf(Session()), 1);
    early.SetFilter(row.filter);
    early.Sync();
    EXPECT_EQ(Shown(early), row.shown);
  }
}

TEST(TrafficView, RowsAreMarkedAndAnswersReadAgainstTheirRequest) {
  TrafficView view(LogOf(Session()), 4);
  view.Sync();
  const std::vector<TrafficRowKind> kinds = {TrafficRowKind::Ok,    TrafficRowKind::Ok,       TrafficRowKind::Ok,
                                             TrafficRowKind::Error, TrafficRowKind::Ok,       TrafficRowKind::Error,
                                             TrafficRowKind::Ok,    TrafficRowKind::Exception};
  for (std::size_t r = 0; r < kinds.size(); ++r) EXPECT_EQ(view.Row(r).kind, kinds[r]) << "row " << r;
  // The answer carries no address; the request before it does.
  EXPECT_NE(view.Cell(1, TrafficColumn::Summary).find("16"), std::string::npos) << view.Cell(1, TrafficColumn::Summary);
  EXPECT_EQ(view.Cell(1, TrafficColumn::Function), "Read Holding Registers");
  EXPECT_EQ(view.Cell(5, TrafficColumn::Slave), "2");
  EXPECT_EQ(view.Cell(5, TrafficColumn::Bytes), "");
  EXPECT_EQ(view.Cell(3, TrafficColumn::Verdict), "CRC error");
  EXPECT_EQ(view.Cell(7, TrafficColumn::Port), "COM4");
  EXPECT_EQ(view.Cell(0, TrafficColumn::Direction), "TX");
}

TEST(TrafficView, BatchesTakeOnlyNewRecordsAndNoneWhilePaused) {
  auto log = LogOf({});
  TrafficView view(log, 1, 4);
  const Frame& f = Session()[0];
  const auto add = [&](int n) {
    for (int i = 0; i < n; ++i) log->Add(0, f.direction, f.verdict, false, false, f.bytes);
  };
  add(2);
  EXPECT_EQ(view.Sync().added, 2U);
  EXPECT_EQ(view.Sync().added, 0U);
  view.SetPaused(true);
  add(3);
  EXPECT_EQ(view.Sync().added, 0U);
  EXPECT_EQ(view.RowCount(), 2U);
  view.SetPaused(false);
  // Bounded to four rows: one of the first two makes room.
  const TrafficView::Effect effect = view.Sync();
  EXPECT_EQ(effect.added, 3U);
  EXPECT_EQ(effect.dropped, 1U);
  EXPECT_EQ(Shown(view), (std::vector<std::uint64_t>{1, 2, 3, 4}));
  // A burst longer than the view holds: only the newest are taken.
  add(9);
  view.Sync();
  EXPECT_EQ(Shown(view), (std::vector<std::uint64_t>{10, 11, 12, 13}));
}

TEST(TrafficView, RecordsTheLogDroppedBeforeASyncAreSkipped) {
  auto log = LogOf(Session(), 3);
  TrafficView view(log, 1);
  EXPECT_EQ(Shown(view), std::vector<std::uint64_t>{});
  view.Sync();
  EXPECT_EQ(Shown(view), (std::vector<std::uint64_t>{5, 6, 7}));
}

TEST(TrafficView, DroppedRowsCountOnlyThoseShown) {
  auto log = LogOf(Session());
  TrafficView view(log, 1, 8);
  view.SetFilter({.errorsOnly = true});
  view.Sync();
  // Four more records push out rows 0..3, of which only 3 was shown.
  for (int i = 0; i < 4; ++i) log->Add(0, TrafficDirection::Rx, TrafficVerdict::Ok, false, true, Session()[1].bytes);
  std::vector<TrafficRow> rows = view.Fetch();
  const TrafficView::Effect effect = view.Preview(rows);
  EXPECT_EQ(effect.dropped, 1U);
  EXPECT_EQ(effect.added, 0U);
  view.MakeRoom(rows.size());
  view.Append(std::move(rows));
  EXPECT_EQ(Shown(view), (std::vector<std::uint64_t>{5, 7}));
}

TEST(TrafficView, ClearEmptiesTheViewAndTheLog) {
  auto log = LogOf(Session());
  TrafficView view(log, 1);
  view.Sync();
  view.Clear();
  EXPECT_EQ(view.RowCount(), 0U);
  EXPECT_EQ(log->Size(), 0U);
  log->Add(0, TrafficDirection::Tx, TrafficVerdict::Ok, false, false, Session()[0].bytes);
  view.Sync();
  EXPECT_EQ(Shown(view), (std::vector<std::uint64_t>{8}));
}

TEST(TrafficView, ExportsTextLinesCsvAndTabSeparatedRows) {
  auto log = LogOf(Session());
  TrafficView view(log, 2);
  view.SetFilter({.slave = 2});
  view.Sync();
  // The text form is the log's own line, as the command line writes it.
  std::string text;
  for (std::uint64_t s : {2, 3, 4, 5}) text += TrafficLine(*log, log->At(s), 2) + '\n';
  EXPECT_EQ(view.Text(), text);

  const std::string time = LocalTime(log->WallUs(2000));
  const std::string csv = view.Csv();
  EXPECT_EQ(csv.substr(0, csv.find('\n') + 1), "Time,Port,Dir,Verdict,Bytes,Slave,Function,Summary\r\n");
  const std::string first = csv.substr(csv.find('\n') + 1);
  EXPECT_EQ(first.substr(0, first.find('\n') + 1), time +
                                                       ",COM2,TX,ok,02 06 00 07 00 01 F9 F8,2,Write Single Register," +
                                                       view.Cell(0, TrafficColumn::Summary) + "\r\n");
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 5);

  const std::vector<std::size_t> picked = {1, 3};
  EXPECT_EQ(view.CopyText(picked), LocalTime(log->WallUs(3000)) + "\tCOM2\tRX\tCRC error\t" +
                                       view.Cell(1, TrafficColumn::Bytes) + "\t2\tWrite Single Register\t" +
                                       view.Cell(1, TrafficColumn::Summary) + "\n" + LocalTime(log->WallUs(5000)) +
                                       "\tCOM2\tRX\ttime-out\t\t2\tWrite Single Register\t\n");
}

}  // namespace
}  // namespace quorvel
