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
  for (const Case& c : {Case{500, 500, "7:3@0"}, Case{999, 1000, "7:3@0"}, Case{1000, 999, "3:3@0"},
                        Case{0, -1000, "3:3@0"}, Case{1000, 1000, nullptr}, Case{1001, kNever, nullptr}}) {
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

}  // namespace
}  // namespace quorvel::testing
