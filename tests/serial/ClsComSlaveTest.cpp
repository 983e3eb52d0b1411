// The port object listening as a slave: which frames reach a window, and
// that listening goes on after frames it drops.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"

namespace quorvel::test {
namespace {

const Bytes kMessage = {0x01, 0x03, 0x00, 0x00, 0x00, 0x02};
const Bytes kRequest = {0x01, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC4, 0x0B};

class ListeningPortTest : public ::testing::Test {
 protected:
  void OpenAs(std::int16_t mode, bool ascii) {
    bench.ports[1].Mode = mode;
    bench.ports[1].ASCII = ascii;
    port = bench.Open(1);
    ASSERT_NE(port, nullptr);
    peer = Peer(bench);
  }
  // Sends `frame` and leaves a gap after it that ends any RTU frame.
  void Arrives(const Bytes& frame) {
    peer->Write(frame);
    bench.Run(40);
  }

  SerialBench bench;
  clsCOM* port = nullptr;
  std::unique_ptr<platform::MemoryLine> peer;
  FakeWindow& window = bench.AddWindow(1, 1);
};

TEST_F(ListeningPortTest, RtuSlaveAnswersOnlyCheckedRequestsForItsWindows) {
  OpenAs(kModeSlave, false);
  bench.AddWindow(1, 5).connected = false;
  EXPECT_EQ(port->State(), clsCOM::kListening);
  EXPECT_TRUE(bench.ports[1].Busy);
  Arrives({0x00, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC5, 0xDA});  // broadcast
  Arrives({0x01, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC4, 0x0C});  // CRC wrong
  Arrives({0x09, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC5, 0x43});  // nobody's address
  Arrives({0x05, 0x06, 0x00, 0x01, 0x00, 0x03, 0x99, 0x8F});  // a window not connected
  EXPECT_TRUE(window.requests.empty());
  Arrives(kRequest);
  Arrives(kRequest);
  EXPECT_EQ(window.requests, std::vector<Bytes>({kMessage, kMessage}));
  EXPECT_TRUE(bench.ports[1].Busy);
}

}  // namespace
}  // namespace quorvel::test
