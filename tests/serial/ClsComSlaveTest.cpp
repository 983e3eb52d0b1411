// The port object listening as a slave: which frames reach a window, and
// that listening goes on after frames it drops.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"

namespace quorvel::test {
namespace {

const Bytes kMessage = {0x01, 0x03, 0x00, 0x00, 0x00, 0x02};
const Bytes kRequest = {0x01, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC4, 0x0B};

TEST(ListeningPortTest, RtuSlaveAnswersOnlyCheckedRequestsForItsWindows) {
  SerialBench bench;
  FakeWindow& window = bench.AddWindow(1, 1);
  bench.AddWindow(1, 5).connected = false;
  bench.ports[1].Mode = kModeSlave;
  clsCOM* port = bench.Open(1);
  ASSERT_NE(port, nullptr);
  auto peer = Peer(bench);
  // Each frame is followed by a gap that ends any RTU frame.
  const auto arrives = [&](const Bytes& frame) {
    peer->Write(frame);
    bench.Run(40);
  };
  EXPECT_EQ(port->State(), clsCOM::kListening);
  EXPECT_TRUE(bench.ports[1].Busy);
  arrives({0x00, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC5, 0xDA});  // broadcast
  arrives({0x01, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC4, 0x0C});  // CRC wrong
  arrives({0x09, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC5, 0x43});  // nobody's address
  arrives({0x05, 0x06, 0x00, 0x01, 0x00, 0x03, 0x99, 0x8F});  // a window not connected
  EXPECT_TRUE(window.requests.empty());
  arrives(kRequest);
  arrives(kRequest);
  EXPECT_EQ(window.requests, std::vector<Bytes>({kMessage, kMessage}));
  EXPECT_TRUE(bench.ports[1].Busy);
}

}  // namespace
}  // namespace quorvel::test
