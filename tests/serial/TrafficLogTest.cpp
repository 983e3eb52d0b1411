// The traffic log's ring: what it keeps when full of frames or of bytes, and
// its lines of text.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"
#include "modbus/FrameDecode.h"
#include "serial/TrafficLog.h"

namespace quorvel::test {
namespace {

// Every record held must have its own bytes, whatever came after it.
void ExpectIntact(const TrafficLog& log, const std::vector<Bytes>& added) {
  ASSERT_LE(log.Size(), added.size());
  for (std::uint64_t s = log.FirstSequence(); s < log.NextSequence(); ++s) {
    const TrafficRecord r = log.At(s);
    EXPECT_EQ(Bytes(r.bytes.begin(), r.bytes.end()), added[s]) << "record " << s;
  }
}

TEST(TrafficLog, RingKeepsTheNewestFramesWithTheirBytes) {
  struct Row {
    const char* name;
    std::size_t frames;
    std::vector<std::size_t> lengths;  // repeated in turn
    std::size_t adds;
  };
  const Row rows[] = {
      {"fewer than room", 10, {8}, 5},
      {"full of frames", 10, {8}, 25},
      {"full of bytes: long frames", 10, {599, 25, 300}, 40},
      {"time-outs carry no bytes", 10, {0, 9, 0, 598}, 33},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TrafficLog log(row.frames);
    std::vector<Bytes> added;
    for (std::size_t i = 0; i < row.adds; ++i) {
      added.emplace_back(row.lengths[i % row.lengths.size()], static_cast<std::uint8_t>(i));
      log.Add(static_cast<std::int64_t>(i), TrafficDirection::Rx, TrafficVerdict::Ok, false, false, added.back());
      ExpectIntact(log, added);
    }
    EXPECT_EQ(log.NextSequence(), row.adds);
    EXPECT_LE(log.Size(), row.frames);
    EXPECT_GE(log.Size(), 1U);
    if (row.adds <= row.frames && row.lengths == std::vector<std::size_t>{8}) {
      EXPECT_EQ(log.Size(), row.adds);
    }
  }
}

TEST(TrafficLog, LineSaysTimeWayVerdictBytesAndMeaning) {
  TrafficLog log;
  log.Anchor(0, 0);
  std::vector<std::string> heard;
  log.SetListener([&](const TrafficRecord& r) { heard.push_back(TrafficLine(log, r, 3)); });
  const Bytes request = Sealed({0x11, 0x03, 0x00, 0x00, 0x00, 0x02});
  log.Add(1'500'000, TrafficDirection::Tx, TrafficVerdict::Ok, false, false, request);
  log.Add(1'900'000, TrafficDirection::Rx, TrafficVerdict::Timeout, false, true, {});
  ASSERT_EQ(heard.size(), 2U);
  // The clock part is local time: only the milliseconds are the same everywhere.
  EXPECT_EQ(heard[0].substr(8), ".500 COM3 TX ok | " + MODBUS::HexBytes(request) + " | 17 Read Holding Registers 0 x2");
  EXPECT_EQ(heard[1].substr(8), ".900 COM3 RX time-out");
  log.Clear();
  EXPECT_EQ(log.Size(), 0U);
  EXPECT_EQ(log.FirstSequence(), 2U);
}

}  // namespace
}  // namespace quorvel::test
