// When the frame's handlers must next run: the busy ports' deadlines, the
// next Master window's NextTime as the polling handler judges it, and the
// lines to watch; and the pacing that keeps a loop on it from spinning.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "SessionTestSupport.h"
#include "app/WakePacer.h"
#include "app/frmQuorvelMain.h"
#include "platform/MemoryLine.h"

namespace quorvel {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr std::int64_t kNsPerMs = 1'000'000;

// An in-memory line that claims a descriptor, as a terminal line has; the
// frame only hands it on, nobody polls it.
class DescribedLine final : public platform::SerialLine {
 public:
  DescribedLine(std::unique_ptr<platform::SerialLine> line, int fd) : line_(std::move(line)), fd_(fd) {}
  platform::OpenFailure Open(const platform::LineSettings& settings) override { return line_->Open(settings); }
  void Close() override { line_->Close(); }
  bool IsOpen() const override { return line_->IsOpen(); }
  platform::IoResult Write(std::span<const std::uint8_t> bytes) override { return line_->Write(bytes); }
  platform::IoResult ReadAvailable(std::span<std::uint8_t> into) override { return line_->ReadAvailable(into); }
  std::size_t BytesAvailable() override { return line_->BytesAvailable(); }
  std::size_t OutputQueued() override { return line_->OutputQueued(); }
  void Purge(platform::PurgeWhat what) override { line_->Purge(what); }
  bool IsGone() const override { return line_->IsGone(); }
  int Descriptor() const override { return line_->IsOpen() ? fd_ : -1; }

 private:
  std::unique_ptr<platform::SerialLine> line_;
  int fd_;
};

constexpr int kCom1Fd = 41;  // COM1 has a descriptor; COM2 has none

struct Frame {
  explicit Frame(std::int64_t startNs = 1'000 * kNsPerMs) : clock(startNs) {}

  platform::ManualClock clock;
  std::shared_ptr<platform::MemoryWire> wire = std::make_shared<platform::MemoryWire>(clock);
  frmQuorvelMain frame{clock, platform::PortMap{}, [this](int com) -> std::unique_ptr<platform::SerialLine> {
                         if (com == 1)
                           return std::make_unique<DescribedLine>(
                               std::make_unique<platform::MemoryLine>(wire, platform::End::A), kCom1Fd);
                         if (com == 2) return std::make_unique<platform::MemoryLine>(wire, platform::End::B);
                         return nullptr;
                       }};

  // A connected Master window on `com`, its port open; due at once.
  frmQuorvel& Master(std::int16_t com) { return testing::ConnectSample(frame, com, kMaster); }

  double Ahead() const { return frame.NextWake().AtMs - clock.GetTimeMs(); }
  const clsCOM& Port(int com) const { return *frame.Port(com).Port; }
};

// A clock whose tick count reads `tick`, `intoNs` into that millisecond.
std::int64_t AtTick(std::int32_t tick, std::int64_t intoNs) {
  return static_cast<std::int64_t>(static_cast<std::uint32_t>(tick)) * kNsPerMs + intoNs;
}

struct PollingCase {
  const char* name;
  std::int32_t tick;
  std::int64_t intoNs;
  std::int32_t nextTime;
  double aheadMs;  // kInf: never
};

class PollingWake : public ::testing::TestWithParam<PollingCase> {};

// The wake-up falls exactly where the polling handler first sends: a
// microsecond earlier it does not, at the wake-up it does.
TEST_P(PollingWake, IsWhenThePollingHandlerFirstSends) {
  const PollingCase& c = GetParam();
  Frame f(AtTick(c.tick, c.intoNs));
  frmQuorvel& window = f.Master(1);
  window.SetNextTime(c.nextTime);
  const double ahead = f.Ahead();
  if (std::isinf(c.aheadMs)) {
    EXPECT_TRUE(std::isinf(ahead)) << ahead;
    return;
  }
  EXPECT_NEAR(ahead, c.aheadMs, 1e-6);
  const auto aheadNs = static_cast<std::int64_t>(std::llround(ahead * kNsPerMs));
  if (aheadNs > 1000) {
    f.clock.AdvanceNs(aheadNs - 1000);
    f.frame.PollingTimer_Timer();
    EXPECT_FALSE(f.frame.Port(1).Busy) << "sent before its wake-up";
    f.clock.AdvanceNs(1000);
  } else {
    f.clock.AdvanceNs(aheadNs);
  }
  f.frame.PollingTimer_Timer();
  EXPECT_TRUE(f.frame.Port(1).Busy) << "not sent at its wake-up";
}

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

INSTANTIATE_TEST_SUITE_P(
    Cases, PollingWake,
    ::testing::Values(PollingCase{"DueLaterAtTheTurnOfTheTickAfterIt", 1000, 250'000, 1049, 49.75},
                      PollingCase{"DueWhenTheTickIsPastNotEqual", 1000, 250'000, 1000, 0.75},
                      PollingCase{"PastAlready", 1000, 250'000, 999, 0},
                      PollingCase{"AtOnceWhileTheTickIsPositive", 5, 0, frmQuorvel::kAtOnce, 0},
                      PollingCase{"AtOnceWaitsForANegativeTickToPassIt", -1500, 500'000, frmQuorvel::kAtOnce, 500.5},
                      PollingCase{"Never", 1000, 0, frmQuorvel::kNever, kInf},
                      PollingCase{"NeverEvenAtTheTopOfTheCount", kMax - 1, 0, frmQuorvel::kNever, kInf},
                      // Set a period past the wrap: below the count, so due at once.
                      PollingCase{"SetPastTheWrapIsDueAtOnce", kMax - 10, 0, kMin + 989, 0},
                      // Set before the wrap, the count now below it: due when the count comes round.
                      PollingCase{"WrappedUnderWaitsForTheCountToComeRound", kMin + 5, 0, kMax - 100,
                                  4294967296.0 - 105}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(FrameWake, NothingOpenNothingDue) {
  Frame f;
  EXPECT_TRUE(std::isinf(f.frame.NextWake().AtMs));
  EXPECT_TRUE(f.frame.NextWake().Descriptors.empty());
}

// Two Master windows on COM1 (a line with a descriptor), one on COM2 (none).
TEST(FrameWake, BusyPortsGiveTheirDeadlineAndLinesAndLeaveThePolling) {
  Frame f;
  f.Master(1);
  frmQuorvel& second = f.Master(1);
  frmQuorvel& other = f.Master(2);
  other.SetNextTime(f.clock.GetTickCount() + 5000);
  second.SetNextTime(f.clock.GetTickCount() + 5);
  f.frame.PollingTimer_Timer();  // the first window's request goes out on COM1
  ASSERT_TRUE(f.frame.Port(1).Busy);

  // Sending: the port's deadline, though the second window on the busy port
  // is due sooner; no line to watch while the port would not take bytes.
  const clsCOM& com1 = f.Port(1);
  ASSERT_FALSE(com1.WantsBytes());
  EXPECT_EQ(f.frame.NextWake().AtMs, com1.NextDeadlineMs());
  EXPECT_TRUE(f.frame.NextWake().Descriptors.empty());

  // Waiting for the answer: its deadline, and the line.
  f.clock.SetNs(static_cast<std::int64_t>(std::ceil(com1.NextDeadlineMs() * kNsPerMs)));
  f.frame.CheckTimer_Timer();
  ASSERT_TRUE(com1.WantsBytes());
  EXPECT_EQ(f.frame.NextWake().AtMs, com1.NextDeadlineMs());
  EXPECT_EQ(f.frame.NextWake().Descriptors, std::vector<int>{kCom1Fd});

  // A window on a free port due before that deadline wins.
  const std::int32_t tick = f.clock.GetTickCount();
  other.SetNextTime(tick + 2);
  EXPECT_EQ(f.frame.NextWake().AtMs, static_cast<double>(tick + 3));
  EXPECT_LT(f.frame.NextWake().AtMs, com1.NextDeadlineMs());

  // A busy line without a descriptor is looked at every millisecond.
  f.clock.AdvanceMs(3);
  f.frame.PollingTimer_Timer();
  ASSERT_TRUE(f.frame.Port(2).Busy);
  f.clock.SetNs(static_cast<std::int64_t>(std::ceil(f.Port(2).NextDeadlineMs() * kNsPerMs)));
  f.frame.CheckTimer_Timer();
  EXPECT_EQ(f.Ahead(), frmQuorvelMain::kTimeServiceMs);
}

// The sample's four periodic requests are all due at once: a Classic port
// lies free from each answer to the next tick; a Fast one sends the next
// request in the turn the answer comes in.
TEST(FrameWake, FastPortSendsTheNextRequestInTheTurnItsAnswerComesIn) {
  for (const LineTiming timing : {LineTiming::Classic, LineTiming::Fast}) {
    SCOPED_TRACE(LineTimingName(timing));
    Frame f;
    f.frame.Port(1).Timing = timing;
    frmQuorvel& master = f.Master(1);
    testing::ConnectSample(f.frame, 2, kSlave);
    int freeTurns = 0;
    for (int i = 0; i < 100000 && master.Counters().RequestCount < 4; ++i) {
      f.clock.AdvanceNs(50'000);
      f.frame.TimersTick();
      if (master.Counters().RequestCount > 0 && !f.frame.Port(1).Busy) ++freeTurns;
    }
    ASSERT_EQ(master.Counters().RequestCount, 4);
    if (timing == LineTiming::Classic) {
      EXPECT_GT(freeTurns, 0);
    } else {
      EXPECT_EQ(freeTurns, 0);
    }
  }
}

TEST(WakePacer, StillDueAfterARunWaitsAMillisecondAndABurstMutesTheLines) {
  Frame f;
  frmQuorvel& window = f.Master(1);
  WakePacer pacer(f.frame, f.clock, 100);
  f.frame.PollingTimer_Timer();
  f.clock.SetNs(static_cast<std::int64_t>(std::ceil(f.Port(1).NextDeadlineMs() * kNsPerMs)));
  f.frame.CheckTimer_Timer();
  ASSERT_EQ(f.frame.NextWake().Descriptors, std::vector<int>{kCom1Fd});

  // Capped while the timers are on.
  EXPECT_EQ(pacer.Next().TimeoutMs, 100);
  EXPECT_EQ(pacer.Next().Descriptors, std::vector<int>{kCom1Fd});

  // The line woke the loop over and over within one millisecond: the lines
  // rest until the next one.
  f.clock.AdvanceNs(100'000);
  for (int i = 0; i < 8; ++i) pacer.Ran();
  EXPECT_TRUE(pacer.Next().Descriptors.empty());
  EXPECT_NEAR(pacer.Next().TimeoutMs, 0.9, 1e-9);
  f.clock.AdvanceNs(900'000);
  EXPECT_EQ(pacer.Next().Descriptors, std::vector<int>{kCom1Fd});

  // Work that is due at once right after a run waits a millisecond; before
  // any run it does not.
  window.SetConnected(false);
  f.frame.OpenCOM();  // the last port closes; the check handler must run to turn itself off
  ASSERT_TRUE(f.frame.CheckTimerEnabled());
  EXPECT_EQ(WakePacer(f.frame, f.clock, 100).Next().TimeoutMs, 0);
  pacer.Ran();
  f.clock.AdvanceNs(400'000);
  EXPECT_NEAR(pacer.Next().TimeoutMs, 0.6, 1e-9);
  f.frame.CheckTimer_Timer();
  EXPECT_TRUE(std::isinf(pacer.Next().TimeoutMs)) << "nothing on: no cap";
}

}  // namespace
}  // namespace quorvel
