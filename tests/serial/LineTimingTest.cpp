// The Standard and Fast timings of the port object on the in-memory wire:
// where frames end, when requests go out, and what a real bus adds (its own
// echo, glitches, late answers, other stations' traffic).

#include <gtest/gtest.h>

#include <algorithm>

#include "SerialTestSupport.h"
#include "serial/OverlappedRead.h"

namespace quorvel::test {
namespace {

using platform::End;

constexpr double kStepMs = 0.05;

const Bytes kRequest = Sealed({0x01, 0x03, 0x00, 0x00, 0x00, 0x02});
const Bytes kAnswer = Sealed({0x01, 0x03, 0x04, 0x00, 0x0A, 0x00, 0x14});
const Bytes kOtherAnswer = Sealed({0x01, 0x03, 0x04, 0x00, 0x0B, 0x00, 0x15});

// Our port on COM1 (end A), both directions paced by the baud rate, a fake
// window for slave 1 on it, and a raw peer on end B.
struct Bus {
  explicit Bus(LineTiming timing, int baud = 9600, bool echo = false, std::int16_t mode = kModeMaster,
               bool ascii = false)
      : baud(baud) {
    bench.wire->SetTiming(End::A, {0, 0, 0, true});
    bench.wire->SetTiming(End::B, {0, 0, 0, true});
    bench.wire->SetEcho(End::A, echo);
    PortEntry& entry = bench.ports[1];
    entry.Mode = mode;
    entry.Timing = timing;
    entry.Echo = echo;
    entry.ASCII = ascii;
    entry.dcb.BaudRate = static_cast<std::uint32_t>(baud);
    port = bench.Open(1);
    peer = Peer(bench, baud);
  }
  double Now() const { return bench.clock.GetTimeMs(); }
  double CharMs() const { return 11000.0 / baud; }
  // Services the port in small steps until `done` or `ms` have passed.
  template <typename Done>
  void RunUntil(Done done, double ms = 2000) {
    for (double t = 0; t < ms && !done(); t += kStepMs) bench.Tick(kStepMs);
  }
  void Run(double ms) {
    RunUntil([] { return false; }, ms);
  }
  // Runs until the peer has `count` bytes; returns them.
  Bytes PeerGets(std::size_t count, double ms = 2000) {
    RunUntil(
        [&] {
          const Bytes more = ReadAll(*peer);
          heard.insert(heard.end(), more.begin(), more.end());
          return heard.size() >= count;
        },
        ms);
    Bytes got = std::move(heard);
    heard.clear();
    return got;
  }
  // The peer writes `bytes`; returns when the last of them reaches our port.
  double PeerSends(const Bytes& bytes) {
    peer->Write(bytes);
    return Now() + static_cast<double>(bytes.size()) * CharMs();
  }
  bool Send(std::int32_t timeout = 100) { return bench.Send(window, ReadHolding(0, 2), timeout); }
  void RunUntilAnswered(std::size_t n = 1) {
    RunUntil([&] { return window.answers.size() >= n; });
  }

  int baud;
  SerialBench bench;
  clsCOM* port = nullptr;
  std::unique_ptr<platform::MemoryLine> peer;
  FakeWindow& window = bench.AddWindow(1, 1);
  Bytes heard;
};

TEST(LineTimingTest, SilencesFollowTheCharacterTimeUpTo19200) {
  struct Row {
    double baud, t35, t15;
  };
  for (const Row r : {Row{1200, 32.083, 13.75}, Row{9600, 4.0104, 1.7188}, Row{19200, 2.0052, 0.8594},
                      Row{38400, 1.75, 0.75}, Row{115200, 1.75, 0.75}}) {
    EXPECT_NEAR(SilenceT35Ms(r.baud), r.t35, 1e-3) << r.baud;
    EXPECT_NEAR(GapT15Ms(r.baud), r.t15, 1e-3) << r.baud;
  }
  EXPECT_EQ(ParseLineTiming("fast"), LineTiming::Fast);
  EXPECT_EQ(ParseLineTiming("Standard "), std::nullopt);
}

// How long after its last byte an answer reaches the window: at once when its
// length is in; when it is cut short, after t3.5 and the allowance for bytes
// held back on their way; after t3.5 alone for bytes that cannot begin it;
// after the 32 ms gap with Classic. Bytes before the answer that cannot start
// it are passed over and count as nothing.
TEST(LineTimingTest, AnswerEndsByLengthOrSilence) {
  const Bytes cut(kAnswer.begin(), kAnswer.begin() + 7);
  const Bytes junk = {0x00, 0x55, 0x13};
  struct Row {
    const char* name;
    LineTiming timing;
    int baud;
    Bytes answer;
    std::int32_t code;
    double afterMs;     // delivered this long after the last byte
    Bytes delivered{};  // the whole answer when empty
  };
  const Row rows[] = {
      {"Standard, whole", LineTiming::Standard, 9600, kAnswer, 1, 0},
      {"Fast, whole", LineTiming::Fast, 115200, kAnswer, 1, 0},
      {"Standard, cut, 9600", LineTiming::Standard, 9600, cut, 4, SilenceT35Ms(9600) + kLatencyAllowanceMs},
      {"Standard, cut, 115200", LineTiming::Standard, 115200, cut, 4, 1.75 + kLatencyAllowanceMs},
      {"Standard, no frame, 9600", LineTiming::Standard, 9600, junk, 4, SilenceT35Ms(9600)},
      {"Standard, the address alone", LineTiming::Standard, 115200, Bytes{0x01}, 4, 1.75 + kLatencyAllowanceMs},
      {"Classic, whole", LineTiming::Classic, 9600, kAnswer, 1, 32},
      {"glitch 00 first", LineTiming::Standard, 9600, Join({{0x00}, kAnswer}), 1, 0, kAnswer},
      {"glitches FF 00 first", LineTiming::Standard, 9600, Join({{0xFF, 0x00}, kAnswer}), 1, 0, kAnswer},
      {"a whole CRC first", LineTiming::Standard, 9600, Join({{0x14, 0xDA, 0x3E}, kAnswer}), 1, 0, kAnswer},
      {"the address twice", LineTiming::Standard, 9600, Join({{0x01}, kAnswer}), 1, 0, kAnswer},
      {"address and function twice", LineTiming::Standard, 9600, Join({{0x01, 0x03}, kAnswer}), 1, 0, kAnswer},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Bus bus(row.timing, row.baud);
    ASSERT_TRUE(bus.Send());
    EXPECT_EQ(bus.PeerGets(8), kRequest);
    const double last = bus.PeerSends(row.answer);
    bus.RunUntilAnswered();
    ASSERT_EQ(bus.window.answers.size(), 1U);
    EXPECT_EQ(bus.window.answers[0].code, row.code);
    EXPECT_EQ(bus.window.answers[0].frame, row.delivered.empty() ? row.answer : row.delivered);
    EXPECT_NEAR(bus.Now() - last, row.afterMs, 5 * kStepMs);
  }
}

// When the next request leaves after an answer: t3.5 after its last byte
// (Standard), at once (Fast and Classic).
TEST(LineTimingTest, NextRequestWaitsForTheSilence) {
  struct Row {
    LineTiming timing;
    double waitMs;
  };
  for (const Row row :
       {Row{LineTiming::Standard, SilenceT35Ms(9600)}, Row{LineTiming::Fast, 0}, Row{LineTiming::Classic, 0}}) {
    SCOPED_TRACE(LineTimingName(row.timing));
    Bus bus(row.timing);
    ASSERT_TRUE(bus.Send());
    bus.PeerGets(8);
    const double last = bus.PeerSends(kAnswer);
    bus.RunUntilAnswered();
    const double answeredAt = bus.Now();
    ASSERT_TRUE(bus.Send());
    EXPECT_EQ(bus.PeerGets(1), Bytes{0x01});
    // The first byte arrives one character after it left.
    EXPECT_NEAR(bus.Now() - bus.CharMs() - std::max(answeredAt, last + row.waitMs), 0, 2 * kStepMs);
  }
}

// After a time-out the next request waits until the line has been quiet for
// a whole time-out; a late answer meanwhile is dropped, never taken for the
// next request's.
TEST(LineTimingTest, LateAnswerIsNeverTakenForTheNext) {
  for (const LineTiming timing : {LineTiming::Standard, LineTiming::Fast}) {
    SCOPED_TRACE(LineTimingName(timing));
    Bus bus(timing);
    ASSERT_TRUE(bus.Send(50));
    bus.PeerGets(8);
    bus.RunUntilAnswered();
    ASSERT_EQ(bus.window.answers[0].code, 8);
    ASSERT_TRUE(bus.Send(50));  // the window asks again at once
    bus.Run(10);
    const double lateEnd = bus.PeerSends(kAnswer);
    const Bytes request = bus.PeerGets(8);
    EXPECT_EQ(request, kRequest);
    EXPECT_GE(bus.Now() - bus.CharMs(), lateEnd + 50 - kStepMs);
    bus.PeerSends(kOtherAnswer);
    bus.RunUntilAnswered(2);
    ASSERT_EQ(bus.window.answers.size(), 2U);
    EXPECT_EQ(bus.window.answers[1].code, 1);
    EXPECT_EQ(bus.window.answers[1].frame, kOtherAnswer);
  }
}

// An adapter that hears itself: with Echo set our own bytes never reach the
// window, whatever the timing; a byte that breaks into our echo is a frame
// error. Without Echo, Standard still finds the answer behind the echo.
TEST(LineTimingTest, EchoIsRemoved) {
  struct Row {
    const char* name;
    LineTiming timing;
    bool echoSetting;
    bool collide;
    std::int32_t code;
  };
  const Row rows[] = {
      {"Classic", LineTiming::Classic, true, false, 1},
      {"Standard", LineTiming::Standard, true, false, 1},
      {"Fast", LineTiming::Fast, true, false, 1},
      {"Standard without the setting", LineTiming::Standard, false, false, 1},
      {"collision", LineTiming::Standard, true, true, 4},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Bus bus(row.timing, 9600, row.echoSetting);
    bus.bench.wire->SetEcho(End::A, true);
    ASSERT_TRUE(bus.Send());
    if (row.collide) bus.peer->Write(Bytes{0x55});
    bus.PeerGets(row.collide ? 9 : 8);
    bus.PeerSends(kAnswer);
    bus.RunUntilAnswered();
    ASSERT_EQ(bus.window.answers.size(), 1U);
    EXPECT_EQ(bus.window.answers[0].code, row.code);
    if (row.code == 1) {
      EXPECT_EQ(bus.window.answers[0].frame, kAnswer);
    }
  }
}

// Every time limit of a read on its exact edge: the bytes come at 0 ms and
// nothing after; the read must still run a hair before `endsMs` and be over
// at `endsMs` itself, or, where the gap must be longer than the interval,
// still run at `endsMs` and be over a microsecond on.
struct ReadEdge {
  const char* name;
  bool framed;
  CommTimeouts timeouts;  // a timed read's
  double silenceMs;       // a framed read's
  Bytes bytes;
  double endsMs;
  bool onTheDot;
};

void PrintTo(const ReadEdge& edge, std::ostream* out) { *out << edge.name; }

class ReadEdgeTest : public ::testing::TestWithParam<ReadEdge> {};

TEST_P(ReadEdgeTest, EndsExactlyAtItsLimit) {
  const ReadEdge& edge = GetParam();
  const FrameRule rule = FrameRule::AnswerFrom(1, 3);
  std::array<std::uint8_t, 10> buffer{};
  SerialBench bench;  // an unpaced wire: the bytes are all there at the first read
  platform::MemoryLine line(bench.wire, End::A);
  ASSERT_FALSE(line.Open({}));
  const auto peer = Peer(bench);
  peer->Write(edge.bytes);
  OverlappedRead read;
  if (edge.framed)
    read.StartFramed(buffer, rule, edge.silenceMs, 0);
  else
    read.Start(buffer, edge.timeouts, 0);
  EXPECT_EQ(read.Poll(line, 0), OverlappedRead::Progress::Pending);
  EXPECT_EQ(read.Poll(line, edge.endsMs - 1e-6), OverlappedRead::Progress::Pending);
  const double over = edge.onTheDot ? edge.endsMs : edge.endsMs + 1e-3;
  EXPECT_DOUBLE_EQ(read.DeadlineMs(), over) << "the loop must wake when the read ends";
  if (!edge.onTheDot) {
    EXPECT_EQ(read.Poll(line, edge.endsMs), OverlappedRead::Progress::Pending);
  }
  EXPECT_EQ(read.Poll(line, over), OverlappedRead::Progress::Complete);
  EXPECT_EQ(read.Received(), edge.bytes.size());
}

INSTANTIATE_TEST_SUITE_P(
    OverlappedRead, ReadEdgeTest,
    ::testing::Values(
        ReadEdge{"GapLongerThanTheInterval", false, {32, 0, 0}, 0, {0x01}, 32, false},
        ReadEdge{"TotalTimeOnTheDot", false, {0, 1, 100}, 0, {}, 110, true},
        ReadEdge{"FirstCharacterWaitOnTheDot", false, {kMaxDword, kMaxDword, 50}, 0, {}, 50, true},
        ReadEdge{"SilenceAfterBytesThatBeginNoFrame", true, {}, 2, {0x00, 0x00}, 2, true},
        ReadEdge{"SilenceAndAllowanceAfterACutFrame", true, {}, 2, {0x01, 0x03}, 2 + kLatencyAllowanceMs, true}),
    [](const ::testing::TestParamInfo<ReadEdge>& info) { return std::string(info.param.name); });

// Our slave on a busy bus: requests to others and other slaves' answers are
// passed over, requests to us 5 ms apart are each answered, and with Echo set
// it never takes its own answer for a request.
TEST(LineTimingTest, SlaveAnswersBackToBackRequestsOnABusyBus) {
  const Bytes write = Sealed({0x01, 0x06, 0x00, 0x01, 0x00, 0x03});  // its answer is the same bytes
  const Bytes toOther = Sealed({0x02, 0x03, 0x00, 0x00, 0x00, 0x01});
  const Bytes otherAnswers = Sealed({0x02, 0x03, 0x02, 0x01, 0x06});
  for (const bool echo : {false, true}) {
    SCOPED_TRACE(echo ? "echo" : "no echo");
    Bus bus(LineTiming::Standard, 9600, echo, kModeSlave);
    int answered = 0;
    bus.window.onRequest = [&](std::span<std::uint8_t>, std::int32_t count) {
      std::int32_t length = count;  // answers with the request's own bytes
      bool sent = false;
      bus.port->SendResponce(length, sent);
      answered += sent ? 1 : 0;
    };
    for (const Bytes& frame : {toOther, otherAnswers, write, kRequest, write}) {
      bus.PeerSends(frame);
      bus.Run(static_cast<double>(frame.size()) * bus.CharMs() + 5);
    }
    bus.Run(30);
    EXPECT_EQ(bus.window.requests.size(), 3U);
    EXPECT_EQ(answered, 3);
  }
}

// ASCII frames end at their LF in every timing; outside Classic two requests
// that come in one piece are both taken, the second from what was kept.
TEST(LineTimingTest, AsciiSlaveTakesEachRequestOfOneRead) {
  const Bytes request = Text(":010300000001FB\r\n");
  for (const LineTiming timing : {LineTiming::Standard, LineTiming::Fast}) {
    SCOPED_TRACE(static_cast<int>(timing));
    Bus bus(timing, 9600, false, kModeSlave, true);
    bus.PeerSends(Join({Text("noise\r\n"), request, request}));
    bus.Run(static_cast<double>(2 * request.size() + 7) * bus.CharMs() + 5);
    EXPECT_EQ(bus.window.requests.size(), 2U);
  }
}

}  // namespace
}  // namespace quorvel::test
