// Where a polled read ends: count, character gap, total time, and the
// piecewise ASCII setting.

#include <gtest/gtest.h>

#include "platform/MemoryLine.h"
#include "serial/OverlappedRead.h"

namespace quorvel {
namespace {

using platform::End;
using Progress = OverlappedRead::Progress;

class OverlappedReadTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(reader.Open({}));
    ASSERT_FALSE(sender.Open({}));
  }
  double Now() const { return clock.GetTimeMs(); }
  void Send(std::size_t count) { sender.Write(std::vector<std::uint8_t>(count, 0x55)); }
  Progress PollAt(double ms) {
    clock.SetNs(static_cast<std::int64_t>(ms * 1e6));
    return read.Poll(reader, Now());
  }

  platform::ManualClock clock{0};
  std::shared_ptr<platform::MemoryWire> wire = std::make_shared<platform::MemoryWire>(clock);
  platform::MemoryLine reader{wire, End::A};
  platform::MemoryLine sender{wire, End::B};
  std::array<std::uint8_t, 16> buffer{};
  OverlappedRead read;
};

TEST_F(OverlappedReadTest, GapLongerThanTheIntervalEndsTheRead) {
  read.Start(buffer, {32, 1, 100, 0, 0}, Now());
  EXPECT_EQ(PollAt(50), Progress::Pending);  // nothing yet: only the total limit (116 ms) runs
  Send(3);
  EXPECT_EQ(PollAt(50), Progress::Pending);
  Send(2);
  EXPECT_EQ(PollAt(82), Progress::Pending);
  EXPECT_EQ(PollAt(114), Progress::Pending);  // a gap of exactly 32 ms is not longer
  EXPECT_EQ(PollAt(114.001), Progress::Complete);
  EXPECT_EQ(read.Received(), 5U);
  EXPECT_EQ(PollAt(200), Progress::Idle);  // reported once
}

TEST_F(OverlappedReadTest, TotalTimeEndsTheReadEvenWhileCharactersFlow) {
  read.Start(buffer, {32, 1, 100, 0, 0}, Now());  // 16 * 1 + 100 ms
  EXPECT_EQ(PollAt(115.9), Progress::Pending);
  EXPECT_EQ(PollAt(116), Progress::Complete);
  EXPECT_EQ(read.Received(), 0U);

  read.Start(std::span(buffer).first(10), {32, 1, 100, 0, 0}, Now());  // from 116 ms, ends at 226
  for (double t = 120; t < 226; t += 20) {
    Send(1);
    EXPECT_EQ(PollAt(t), Progress::Pending);
  }
  EXPECT_EQ(PollAt(226), Progress::Complete);
  EXPECT_EQ(read.Received(), 6U);
}

TEST_F(OverlappedReadTest, TakesNoMoreThanTheCountAndLeavesTheRestQueued) {
  read.Start(std::span(buffer).subspan(12), {32, 1, 100, 0, 0}, Now());
  Send(10);
  EXPECT_EQ(PollAt(1), Progress::Complete);
  EXPECT_EQ(read.Received(), 4U);
  EXPECT_EQ(reader.BytesAvailable(), 6U);
  EXPECT_EQ(buffer[11], 0);  // nothing before the read's place
}

TEST_F(OverlappedReadTest, LatePollSeesTheRestOfAFrameBeforeItsGap) {
  wire->SetTiming(End::B, {0, 4, 10, false});  // pieces 10 ms apart
  read.Start(buffer, {32, 1, 100, 0, 0}, Now());
  Send(8);
  EXPECT_EQ(PollAt(0), Progress::Pending);
  EXPECT_EQ(PollAt(50), Progress::Pending);  // 50 ms since the last poll, but new characters came
  EXPECT_EQ(read.Received(), 8U);
  EXPECT_EQ(PollAt(82.5), Progress::Complete);
}

TEST_F(OverlappedReadTest, PiecewiseSettingWaitsOnlyForTheFirstCharacters) {
  read.Start(buffer, {kMaxDword, kMaxDword, 1000, 0, 0}, Now());
  EXPECT_EQ(PollAt(999), Progress::Pending);
  Send(2);
  EXPECT_EQ(PollAt(999.5), Progress::Complete);
  EXPECT_EQ(read.Received(), 2U);

  read.Start(buffer, {kMaxDword, kMaxDword, 1000, 0, 0}, Now());
  EXPECT_EQ(PollAt(1999.4), Progress::Pending);
  EXPECT_EQ(PollAt(1999.5), Progress::Complete);
  EXPECT_EQ(read.Received(), 0U);

  read.Start(buffer, {kMaxDword, 0, 0, 0, 0}, Now());  // what is queued, at once
  EXPECT_EQ(PollAt(1999.5), Progress::Complete);
}

}  // namespace
}  // namespace quorvel
