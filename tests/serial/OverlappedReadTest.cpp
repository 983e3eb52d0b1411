// Where a polled read ends: character gap and total time, however late it is polled.

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

TEST_F(OverlappedReadTest, TotalTimeEndsAReadThatHearsNothing) {
  read.Start(buffer, {32, 1, 100, 0, 0}, Now());  // 16 * 1 + 100 ms
  EXPECT_EQ(PollAt(115.9), Progress::Pending);
  EXPECT_EQ(PollAt(116), Progress::Complete);
  EXPECT_EQ(read.Received(), 0U);
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

}  // namespace
}  // namespace quorvel
