// A port flooded with more than its frame buffer holds.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"

namespace quorvel::test {
namespace {

TEST(ClsComLineLossTest, FloodNeverReachesPastTheFrameBuffer) {
  struct Row {
    std::int16_t mode;
    bool ascii;
  };
  for (const Row row : {Row{kModeMaster, false}, Row{kModeSlave, true}, Row{kModeMonitor, false}}) {
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
