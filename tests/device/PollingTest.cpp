// Which window may use a port on each polling tick, and which of its requests
// goes out: the frame's timers drive Master windows on COM1 of the in-memory
// cable, and the test listens at the cable's far end, where nobody answers.

#include <gtest/gtest.h>

#include <optional>

#include "DeviceTestSupport.h"
#include "TestProject.h"
#include "serial/PortEntry.h"

namespace quorvel::testing {
namespace {

constexpr std::int32_t kNever = 2147483647;
constexpr std::int32_t kStartTick = 1000;  // the bench clock starts one second in

// What one request frame names: slave, function and address ("7:3@0").
std::string Describe(const std::vector<std::uint8_t>& frame) {
  if (frame.size() < 4) return "?";
  return std::to_string(frame[0]) + ":" + std::to_string(frame[1]) + "@" + std::to_string(frame[2] * 256 + frame[3]);
}

class Line {
 public:
  Line() {
    // Fast enough that a request with its 5 ms time-out takes a handful of ticks.
    bench.frame.Port(1).dcb.BaudRate = 115200;
    if (peer.Open(platform::LineSettings{.baudRate = 115200})) throw std::runtime_error("peer end did not open");
  }

  frmQuorvel& Open(const TestProject& project, std::uint8_t id = 1) {
    const ProjectOnDisk file(project);
    frmQuorvel* window = bench.frame.OpenProject(file.path());
    if (!window) throw std::runtime_error("test project did not load");
    window->SetID(id);
    window->SetCOM(1);
    return *window;
  }

  void Connect(frmQuorvel& window) {
    window.SetConnected(true);
    bench.frame.OpenCOM();
  }

  // One timer round: the clock moves on (unless told not to), the polling tick
  // runs, then the check tick. Gives the frame that went out on this tick.
  std::optional<std::string> Tick(bool advance = true) {
    if (advance) bench.clock.AdvanceMs(1);
    freeBefore = !bench.frame.Port(1).Busy;
    bench.frame.PollingTimer_Timer();
    std::vector<std::uint8_t> bytes(300);
    bytes.resize(peer.ReadAvailable(bytes).count);
    bench.frame.CheckTimer_Timer();
    if (bytes.empty()) return std::nullopt;
    return Describe(bytes);
  }

  // Every frame sent in `ms` ticks, in order.
  std::vector<std::string> Run(int ms) {
    std::vector<std::string> sent;
    for (int i = 0; i < ms; ++i)
      if (auto frame = Tick()) sent.push_back(*frame);
    return sent;
  }

  std::int32_t Now() const { return bench.clock.GetTickCount(); }

  Bench bench;
  // The cable's far end, where the test listens.
  platform::MemoryLine peer{bench.wire, platform::End::B};
  bool freeBefore = false;
};

TestProject OneRead() {
  TestProject p;
  p.requests = {Read(3, 0, 1, 1000)};
  return p;
}

TEST(Polling, TheEarliestDueWindowOfAPortGoesFirst) {
  struct Case {
    std::int32_t first, second;  // NextTime of the window loaded first (ID 7) and second (ID 3)
    const char* winner;          // at tick 1000; nullptr: nobody
  };
  for (const Case& c : {Case{500, 500, "7:3@0"}, Case{500, 499, "3:3@0"}, Case{999, 1000, "7:3@0"},
                        Case{1000, 999, "3:3@0"}, Case{0, -1000, "3:3@0"}, Case{1000, 1000, nullptr},
                        Case{1001, kNever, nullptr}, Case{kNever, kNever, nullptr}}) {
    SCOPED_TRACE(::testing::Message() << c.first << " / " << c.second);
    Line fresh;
    frmQuorvel& a = fresh.Open(OneRead(), 7);
    frmQuorvel& b = fresh.Open(OneRead(), 3);
    fresh.Connect(a);
    fresh.Connect(b);
    a.SetNextTime(c.first);
    b.SetNextTime(c.second);
    ASSERT_EQ(fresh.Now(), kStartTick);
    const auto sent = fresh.Tick(false);
    if (c.winner) {
      EXPECT_EQ(sent, c.winner);
    } else {
      EXPECT_FALSE(sent.has_value()) << *sent;
    }
  }
}

TEST(Polling, TheOtherWindowOfATieGoesOnTheFirstFreeTickAfter) {
  Line line;
  frmQuorvel& a = line.Open(OneRead(), 7);
  frmQuorvel& b = line.Open(OneRead(), 3);
  line.Connect(a);
  line.Connect(b);
  a.SetNextTime(500);
  b.SetNextTime(500);
  EXPECT_EQ(line.Tick(false), "7:3@0");
  std::optional<std::string> next;
  int ticks = 0;
  while (!next && ticks++ < 100) {
    next = line.Tick();
    // A tick on which the port was free sends at once.
    if (line.freeBefore) break;
  }
  EXPECT_TRUE(line.freeBefore);
  EXPECT_EQ(next, "3:3@0");
  EXPECT_TRUE(b.WaitResponce());
  EXPECT_FALSE(a.WaitResponce());
}

TEST(Polling, AWindowDueExactlyNowWaitsForTheNextTick) {
  Line line;
  frmQuorvel& w = line.Open(OneRead());
  line.Connect(w);
  w.SetNextTime(kStartTick);
  EXPECT_FALSE(line.Tick(false).has_value());
  EXPECT_EQ(line.Tick(), "1:3@0");
}

TEST(Polling, ABusyPortIsNotServed) {
  Line line;
  frmQuorvel& w = line.Open(OneRead());
  line.Connect(w);
  line.bench.frame.Port(1).Busy = true;
  EXPECT_FALSE(line.Tick(false).has_value());
  EXPECT_EQ(w.Counters().RequestCount, 0);
}

TEST(Polling, QueuedWritesGoOutInOrderOnSuccessiveFreeTicks) {
  for (bool autoEnable : {true, false}) {
    SCOPED_TRACE(autoEnable ? "AutoEnable" : "no AutoEnable");
    Line fresh;
    TestProject p;
    p.requests = {Read(3, 0, 2, 1000), WriteOne(100, 1), WriteOne(101, 2), WriteOne(102, 3)};
    frmQuorvel& w = fresh.Open(p);
    w.SetAutoEnable(autoEnable);
    fresh.Connect(w);
    w.PendingRequests = {w.Requests[3], w.Requests[1], w.Requests[2]};
    w.SetNextTime(-1000);

    std::vector<std::string> sent;
    std::int32_t nextAfterWrites = 0;
    for (int i = 0; i < 200 && sent.size() < 3; ++i) {
      const auto frame = fresh.Tick();
      EXPECT_EQ(frame.has_value(), fresh.freeBefore) << "tick " << i;
      if (frame) sent.push_back(*frame);
      nextAfterWrites = w.NextTime();
    }
    EXPECT_EQ(sent, (std::vector<std::string>{"1:6@102", "1:6@100", "1:6@101"}));
    EXPECT_TRUE(w.PendingRequests.empty());
    if (autoEnable) {
      ASSERT_TRUE(w.CurrentRequest);
      EXPECT_EQ(nextAfterWrites, w.CurrentRequest->NextTime());
      EXPECT_EQ(fresh.Run(50).front(), "1:3@0");
    } else {
      EXPECT_EQ(nextAfterWrites, kNever);
      EXPECT_TRUE(fresh.Run(100).empty());
    }
  }
}

TEST(Polling, QueuedWriteGoesBeforeAnotherWindowsDueRead) {
  Line line;
  frmQuorvel& reader = line.Open(OneRead(), 7);
  TestProject p = OneRead();
  p.requests.push_back(WriteOne(100, 1));
  frmQuorvel& writer = line.Open(p, 3);
  line.Connect(reader);
  line.Connect(writer);
  writer.PendingRequests.push_back(writer.Requests[1]);
  writer.SetNextTime(-1000);
  const auto sent = line.Run(50);
  ASSERT_GE(sent.size(), 3u);
  EXPECT_EQ(sent[0], "3:6@100");
  EXPECT_EQ(sent[1], "7:3@0");  // both reads are due at 0: the window loaded first
  EXPECT_EQ(sent[2], "3:3@0");
}

TEST(Polling, NothingGoesOutWithoutRequestsToSend) {
  struct Case {
    const char* name;
    bool withRead;
    bool autoEnable;
  };
  for (const Case& c : {Case{"AutoEnable off", true, false}, Case{"no requests", false, true}}) {
    SCOPED_TRACE(c.name);
    Line fresh;
    frmQuorvel& w = fresh.Open(c.withRead ? OneRead() : TestProject{});
    w.SetAutoEnable(c.autoEnable);
    fresh.Connect(w);
    EXPECT_TRUE(fresh.Run(100).empty());
    EXPECT_EQ(w.Counters().RequestCount, 0);
    EXPECT_EQ(w.lblStatistic(), " rQ: 0000 Err: 0000");
  }
}

TEST(Polling, AutoEnableOffStopsPollingButNotQueuedWrites) {
  Line line;
  TestProject p = OneRead();
  p.requests[0].Period = 10;
  p.requests.push_back(WriteOne(100, 1));
  frmQuorvel& w = line.Open(p);
  line.Connect(w);
  EXPECT_GE(line.Run(60).size(), 3u);
  w.PendingRequests.push_back(w.Requests[1]);
  w.mnuAutoEnable_Click();
  const auto sent = line.Run(100);
  ASSERT_FALSE(sent.empty());
  EXPECT_EQ(sent.back(), "1:6@100");
  EXPECT_LE(sent.size(), 2u) << "at most the read that was already out before the write";
}

TEST(Polling, RequestsDueTogetherGoInListOrder) {
  Line line;
  TestProject p;
  p.requests = {Read(3, 30, 1, 1000), Read(3, 10, 1, 1000), Read(3, 20, 1, 1000)};
  frmQuorvel& w = line.Open(p);
  line.Connect(w);
  EXPECT_EQ(line.Run(60), (std::vector<std::string>{"1:3@30", "1:3@10", "1:3@20"}));
}

TEST(Polling, PeriodZeroIsDueAgainAtOnceYetEarlierRequestsGoFirst) {
  Line line;
  TestProject p;
  p.requests = {Read(3, 10, 1, 0), Read(3, 20, 1, 40)};
  frmQuorvel& w = line.Open(p);
  line.Connect(w);

  struct Send {
    std::string frame;
    std::int32_t tick;
  };
  std::vector<Send> sends;
  for (int i = 0; i < 150; ++i) {
    const auto frame = line.Tick();
    if (!frame) continue;
    sends.push_back({*frame, line.Now()});
    if (*frame != "1:3@10") continue;
    EXPECT_EQ(w.Requests[0]->NextTime(), line.Now()) << "due again at the tick it went out";
    if (w.CurrentRequest == w.Requests[0]) {
      EXPECT_EQ(w.NextTime(), line.Now());
    }
  }
  ASSERT_GE(sends.size(), 6u);
  EXPECT_EQ(sends[0].frame, "1:3@10");
  EXPECT_EQ(sends[1].frame, "1:3@20");
  EXPECT_EQ(sends[2].frame, "1:3@10");

  // The period-40 read comes back right after the first period-0 read that
  // went out later than the slower read's due time.
  std::int32_t due = sends[1].tick + 40;
  int slowReads = 0;
  for (std::size_t i = 2; i < sends.size(); ++i) {
    if (sends[i].frame != "1:3@20") continue;
    EXPECT_EQ(sends[i - 1].frame, "1:3@10");
    EXPECT_GT(sends[i - 1].tick, due);
    EXPECT_TRUE(i < 3 || sends[i - 2].frame != "1:3@10" || sends[i - 2].tick <= due);
    due = sends[i].tick + 40;
    ++slowReads;
  }
  EXPECT_GE(slowReads, 2);
}

TEST(Polling, ARefusedSendDropsAOneShotRequest) {
  Line line;
  TestProject p = OneRead();
  // A register address the line cannot carry: the port refuses the request.
  p.requests.push_back(WriteOne(70000, 1));
  p.requests.push_back(WriteOne(100, 5));
  frmQuorvel& w = line.Open(p);
  w.SetAutoEnable(false);
  line.Connect(w);
  w.PendingRequests = {w.Requests[1], w.Requests[2]};
  w.SetNextTime(-1000);

  EXPECT_FALSE(line.Tick().has_value());
  EXPECT_FALSE(w.WaitResponce());
  EXPECT_EQ(w.Counters().RequestCount, 0);
  EXPECT_EQ(w.lblStatistic(), " rQ: 0000 Err: 0000");
  ASSERT_EQ(w.PendingRequests.size(), 1u);
  EXPECT_EQ(w.NextTime(), -1000);

  EXPECT_EQ(line.Run(100), (std::vector<std::string>{"1:6@100"}));
  EXPECT_EQ(w.Counters().RequestCount, 1);
  EXPECT_EQ(w.NextTime(), kNever);
}

TEST(Polling, ARefusedPeriodicRequestKeepsItsTime) {
  Line line;
  TestProject p;
  p.requests = {Read(3, 70000, 1, 100)};
  frmQuorvel& w = line.Open(p);
  line.Connect(w);
  EXPECT_TRUE(line.Run(20).empty());
  EXPECT_EQ(w.Requests[0]->NextTime(), 0);
  EXPECT_EQ(w.NextTime(), 0);
  // Tried again on every tick: once it can go, it goes.
  w.Requests[0]->SetReadAddr(5);
  EXPECT_EQ(line.Tick(), "1:3@5");
}

TEST(Polling, SlaveAndMonitorWindowsAreNotPolled) {
  for (std::int16_t mode : {kSlave, kMonitor}) {
    SCOPED_TRACE(mode);
    Line fresh;
    frmQuorvel& w = fresh.Open(OneRead());
    w.SetMode(mode);
    fresh.Connect(w);
    w.SetNextTime(-1000);
    fresh.Tick();
    EXPECT_EQ(w.Counters().RequestCount, 0);
  }
}

}  // namespace
}  // namespace quorvel::testing
