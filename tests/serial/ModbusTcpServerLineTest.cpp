// The Modbus TCP server line on loopback: requests of several clients come
// one at a time as RTU frames, each answer goes back to its own client under
// its request's header, and clients that leave or break take their requests.

#include <gtest/gtest.h>
#include <poll.h>

#include "LoopbackClient.h"
#include "SerialTestSupport.h"
#include "modbus/MbapCodec.h"
#include "serial/ModbusTcpServerLine.h"

namespace quorvel::test {
namespace {

bool Readable(int fd, int ms) {
  pollfd p{fd, POLLIN, 0};
  return poll(&p, 1, ms) > 0;
}

Bytes Request(std::uint16_t tid, std::uint8_t unit, std::uint16_t address) {
  return MODBUS::EncodeMbap(
      {{tid, 0, unit}, {0x03, static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address), 0, 1}});
}

// The next request frame the server hands over, waiting on its descriptor.
Bytes NextFrame(ModbusTcpServerLine& server) {
  for (int i = 0; i < 50; ++i) {
    std::uint8_t buffer[300];
    const platform::IoResult r = server.ReadAvailable(buffer);
    if (r.count > 0) return Bytes(buffer, buffer + r.count);
    Readable(server.Descriptor(), 100);
  }
  return {};
}

class ModbusTcpServer : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(server.Open({}));
    ASSERT_NE(server.Port(), 0);
  }
  ModbusTcpServerLine server{"mbtcp-listen://127.0.0.1:0"};
};

TEST_F(ModbusTcpServer, AnswersGoBackToEachClientUnderItsOwnHeader) {
  LoopbackClient a(server.Port());
  LoopbackClient b(server.Port());
  ASSERT_TRUE(a.Connected() && b.Connected());
  ASSERT_TRUE(a.Send(Request(0x1234, 5, 0x10)));
  const Bytes first = NextFrame(server);
  EXPECT_EQ(first, Sealed({5, 0x03, 0x00, 0x10, 0x00, 0x01}));
  ASSERT_TRUE(b.Send(Request(0x0042, 7, 0x20)));
  // One at a time: B's request waits while A's is under way.
  ASSERT_TRUE(Readable(server.Descriptor(), 2000));
  server.Write(Sealed({5, 0x03, 0x02, 0xAB, 0xCD}));
  EXPECT_EQ(a.Receive(), MODBUS::EncodeMbap({{0x1234, 0, 5}, {0x03, 0x02, 0xAB, 0xCD}}));

  EXPECT_EQ(NextFrame(server), Sealed({7, 0x03, 0x00, 0x20, 0x00, 0x01}));
  server.Write(Sealed({7, 0x83, 0x02}));
  EXPECT_EQ(b.Receive(), MODBUS::EncodeMbap({{0x0042, 0, 7}, {0x83, 0x02}}));
  EXPECT_EQ(server.TakeDroppedFrames(), 0);
}

TEST_F(ModbusTcpServer, RequestLeftUnansweredIsGivenUpForTheNext) {
  LoopbackClient a(server.Port());
  ASSERT_TRUE(a.Send(Request(1, 9, 0)));  // for a unit nobody emulates
  EXPECT_FALSE(NextFrame(server).empty());
  ASSERT_TRUE(a.Send(Request(2, 1, 0)));
  EXPECT_EQ(NextFrame(server), Sealed({1, 0x03, 0x00, 0x00, 0x00, 0x01}));
  server.Write(Sealed({1, 0x03, 0x02, 0x00, 0x01}));
  const Bytes answer = a.Receive();
  ASSERT_GE(answer.size(), MODBUS::kMbapHeaderSize);
  EXPECT_EQ(answer[1], 2) << "the answer carries the second request's id";
}

TEST_F(ModbusTcpServer, DescriptorStaysReadableWhileRequestsWait) {
  LoopbackClient a(server.Port());
  Bytes two = Request(1, 1, 0);
  const Bytes second = Request(2, 1, 4);
  two.insert(two.end(), second.begin(), second.end());
  ASSERT_TRUE(a.Send(two));  // both in one segment
  EXPECT_FALSE(NextFrame(server).empty());
  EXPECT_TRUE(Readable(server.Descriptor(), 0)) << "the second request was read in already";
  server.Write(Sealed({1, 0x03, 0x02, 0x00, 0x01}));
  EXPECT_EQ(NextFrame(server), Sealed({1, 0x03, 0x00, 0x04, 0x00, 0x01}));
  server.Write(Sealed({1, 0x03, 0x02, 0x00, 0x02}));
  EXPECT_FALSE(Readable(server.Descriptor(), 0));
}

TEST_F(ModbusTcpServer, ClientsThatLeaveOrBreakTakeTheirRequests) {
  LoopbackClient leaving(server.Port());
  LoopbackClient liar(server.Port());
  LoopbackClient staying(server.Port());
  leaving.Send(Request(1, 1, 0));
  EXPECT_FALSE(NextFrame(server).empty());  // under way
  Bytes more = Request(2, 1, 2);
  leaving.Send(more);
  leaving.Send(Bytes(more.begin(), more.begin() + 9));  // a third, cut short
  leaving.Close();
  liar.Send({0, 1, 0, 0, 0x02, 0x00, 1, 3});  // a length no PDU has
  // Its answer has nobody to go to, and is not a failure.
  for (int i = 0; i < 20 && server.Clients() > 1; ++i) {
    server.BytesAvailable();
    Readable(server.Descriptor(), 50);
  }
  EXPECT_EQ(server.Clients(), 1u);
  EXPECT_EQ(server.Write(Sealed({1, 0x03, 0x02, 0x00, 0x01})).status, platform::IoStatus::Ok);
  staying.Send(Request(3, 1, 6));
  EXPECT_EQ(NextFrame(server), Sealed({1, 0x03, 0x00, 0x06, 0x00, 0x01})) << "the leaver's second is gone";
  EXPECT_EQ(server.TakeDroppedFrames(), 2) << "the cut frame and the lying header";
}

}  // namespace
}  // namespace quorvel::test
