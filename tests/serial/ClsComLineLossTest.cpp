// A port whose adapter is pulled out and plugged in again, and a port flooded
// with more than its frame buffer holds.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"

namespace quorvel::test {
namespace {

using platform::End;

const Bytes kRequest = {0x01, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC4, 0x0B};
const Bytes kAnswer = {0x01, 0x03, 0x04, 0x00, 0x0A, 0x00, 0x14, 0xDA, 0x3E};

// Plays the polling timer for one master window: a request whenever the
// window is not waiting, answered by `peer` when given.
void Poll(SerialBench& bench, FakeWindow& window, double ms, platform::SerialLine* peer = nullptr) {
  for (double t = 0; t < ms; t += 1) {
    if (!window.waiting && !bench.ports[1].Busy) bench.Send(window, ReadHolding(0, 2), 100);
    if (peer && ReadAll(*peer) == kRequest) peer->Write(kAnswer);
    bench.Tick();
  }
}

std::size_t CountCode(const FakeWindow& window, std::int32_t code) {
  return static_cast<std::size_t>(
      std::count_if(window.answers.begin(), window.answers.end(), [code](const auto& a) { return a.code == code; }));
}

TEST(ClsComLineLossTest, UnpluggedMasterCountsTimeoutsCalmlyAndRecovers) {
  SerialBench bench;
  bench.Open(1);
  FakeWindow& window = bench.AddWindow(1, 1);
  auto peer = Peer(bench);
  Poll(bench, window, 500, peer.get());
  EXPECT_GE(CountCode(window, 1), 3U);
  ASSERT_EQ(CountCode(window, 1), window.answers.size());
  while (window.waiting) bench.Tick();

  bench.wire->Unplug(End::A);
  window.answers.clear();
  const int opens = bench.openAttempts;
  const int calls = bench.lineCalls;
  Poll(bench, window, 10'000, peer.get());
  // One request per time-out, every one counted; a try at the device each second.
  EXPECT_GE(window.answers.size(), 80U);
  EXPECT_EQ(CountCode(window, 8), window.answers.size());
  EXPECT_LE(bench.openAttempts - opens, 10);
  EXPECT_LE(bench.lineCalls - calls, 10'000);  // the closed line is barely touched
  EXPECT_FALSE(bench.wire->IsOpen(End::A));    // released, so the device keeps its name

  bench.wire->Plug(End::A);
  window.answers.clear();
  Poll(bench, window, 1500, peer.get());
  EXPECT_TRUE(bench.wire->IsOpen(End::A));
  EXPECT_GE(CountCode(window, 1), 1U);
  EXPECT_EQ(window.answers.back().code, 1);
}

TEST(ClsComLineLossTest, FloodNeverReachesPastTheFrameBuffer) {
  struct Row {
    std::int16_t mode;
    bool ascii;
  };
  for (const Row row : {Row{kModeMaster, false}, Row{kModeMaster, true}, Row{kModeSlave, false}, Row{kModeSlave, true},
                        Row{kModeMonitor, false}, Row{kModeMonitor, true}}) {
    SCOPED_TRACE(testing::Message() << "mode " << row.mode << (row.ascii ? " ASCII" : " RTU"));
    SerialBench bench;
    bench.ports[1].Mode = row.mode;
    bench.ports[1].ASCII = row.ascii;
    bench.ports[1].ASCII8bits = true;
    clsCOM* port = bench.Open(1);
    FakeWindow& window = bench.AddWindow(1, 1);
    window.waiting = true;
    auto peer = Peer(bench);
    const std::int32_t size = row.ascii ? 599 : 299;

    Bytes flood(2000);
    std::uint32_t seed = 12345;
    for (std::uint8_t& b : flood) {
      seed = seed * 1103515245 + 12345;
      b = static_cast<std::uint8_t>(seed >> 16);
    }
    // Frame starts, most of them without an end.
    for (std::size_t i = 0; i < flood.size(); i += 97) flood[i] = ':';
    if (row.mode == kModeMaster) {
      ASSERT_TRUE(bench.Send(window, ReadHolding(0, 2), 100));
    }
    bench.Run(12);
    peer->Write(flood);
    bench.Run(3000);

    for (const auto& answer : window.answers) {
      EXPECT_EQ(answer.bufferSize, static_cast<std::size_t>(size));
      EXPECT_GE(answer.length, 0);
      EXPECT_LE(answer.length, size);
    }
    for (const Bytes& frame : window.heard) {
      EXPECT_LE(frame.size(), static_cast<std::size_t>(size));
    }
    for (const Bytes& request : window.requests) {
      EXPECT_LE(request.size(), static_cast<std::size_t>(size));
    }
    EXPECT_EQ(port->Buffer().size(), static_cast<std::size_t>(size));
    if (row.mode == kModeMaster && !row.ascii) {
      // The read of a whole buffer ends when it is full.
      ASSERT_EQ(window.answers.size(), 1U);
      EXPECT_EQ(window.answers[0].code, 4);
      EXPECT_EQ(window.answers[0].length, 299);
    }
  }
}

}  // namespace
}  // namespace quorvel::test
