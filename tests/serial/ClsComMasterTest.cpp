// The port object as a master: the transmit time and response deadline, how
// the answer's length and gaps decide its result code, and a whole
// transaction against a port object emulating the slave.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"

namespace quorvel::test {
namespace {

using platform::End;

const Bytes kRequest = {0x01, 0x03, 0x00, 0x00, 0x00, 0x02, 0xC4, 0x0B};
const Bytes kAnswer = {0x01, 0x03, 0x04, 0x00, 0x0A, 0x00, 0x14, 0xDA, 0x3E};
const std::string kAsciiAnswer = ":010304000A0014DA\r\n";

void RunUntilAnswered(SerialBench& bench, const FakeWindow& window, std::size_t answers = 1) {
  for (int i = 0; i < 5000 && window.answers.size() < answers; ++i) bench.Tick();
  ASSERT_EQ(window.answers.size(), answers);
}

void SetMs(SerialBench& bench, double ms) { bench.clock.SetNs(static_cast<std::int64_t>(ms * 1e6)); }

TEST(ClsComMasterTest, DeadlineCountsFromTheEndOfTransmission) {
  struct Row {
    std::uint32_t baud;
    double transmitMs;  // round(8 characters * 11 bits / baud)
  };
  for (const Row row : {Row{9600, 9}, Row{300, 293}}) {
    SCOPED_TRACE(row.baud);
    SerialBench bench;
    bench.ports[1].dcb.BaudRate = row.baud;
    clsCOM* port = bench.Open(1);
    FakeWindow& window = bench.AddWindow(1, 1);
    auto peer = Peer(bench, static_cast<int>(row.baud));
    ASSERT_TRUE(bench.Send(window, ReadHolding(0, 2), 100));
    EXPECT_EQ(ReadAll(*peer), kRequest);
    EXPECT_TRUE(bench.ports[1].Busy);

    SetMs(bench, 1000 + row.transmitMs - 0.1);
    port->Hit();
    EXPECT_EQ(port->State(), clsCOM::kSending);
    SetMs(bench, 1000 + row.transmitMs);
    port->Hit();
    EXPECT_EQ(port->State(), clsCOM::kWaitingFirst);
    SetMs(bench, 1000 + row.transmitMs + 99.9);
    port->Hit();
    EXPECT_TRUE(window.answers.empty());
    SetMs(bench, 1000 + row.transmitMs + 100);
    port->Hit();
    ASSERT_EQ(window.answers.size(), 1U);
    EXPECT_EQ(window.answers[0].code, 8);
    EXPECT_FALSE(bench.ports[1].Busy);
  }
}

TEST(ClsComMasterTest, AnswerLengthAndGapsDecideTheCode) {
  struct Row {
    std::int32_t interval;  // asked for by the window
    double gapMs;           // between pieces of 4 bytes
    std::size_t sent;       // bytes of the answer sent, extra ones zero
    std::int32_t code, length;
  };
  const Row rows[] = {
      {0, 0, 7, 4, 7},   {0, 0, 11, 4, 11}, {5, 20, 9, 1, 9},  // 5 ms is raised to the port's 32 ms
      {5, 40, 9, 4, 4},                                        // and a 40 ms gap ends the frame
      {80, 60, 9, 1, 9},                                       // a longer gap asked for is kept
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.interval << " ms, gap " << row.gapMs << ", " << row.sent << " bytes");
    SerialBench bench;
    clsCOM* port = bench.Open(1);
    FakeWindow& window = bench.AddWindow(1, 1);
    auto peer = Peer(bench);
    ASSERT_TRUE(bench.Send(window, ReadHolding(0, 2), 100, row.interval));
    EXPECT_EQ(port->Timeouts().ReadIntervalTimeout, static_cast<std::uint32_t>(std::max(row.interval, 32)));
    bench.Run(12);
    bench.wire->SetTiming(End::B, {0, 4, row.gapMs, false});
    Bytes answer = kAnswer;
    answer.resize(row.sent);
    peer->Write(answer);
    RunUntilAnswered(bench, window);
    EXPECT_EQ(window.answers[0].code, row.code);
    EXPECT_EQ(window.answers[0].length, row.length);
    EXPECT_EQ(window.answers[0].frame, Bytes(answer.begin(), answer.begin() + row.length));
    EXPECT_EQ(window.answers[0].bufferSize, 299U);
  }
}

TEST(ClsComMasterTest, WholeTransactionWithAnEmulatedSlave) {
  for (const bool ascii : {false, true}) {
    SCOPED_TRACE(ascii ? "ASCII" : "RTU");
    SerialBench bench;
    bench.wire->SetTiming(End::A, {0, 0, 0, true});
    bench.wire->SetTiming(End::B, {0, 0, 0, true});
    bench.ports[1].ASCII = bench.ports[2].ASCII = ascii;
    bench.ports[2].Mode = kModeSlave;
    bench.Open(1);
    clsCOM* slavePort = bench.Open(2);
    ASSERT_NE(slavePort, nullptr);
    EXPECT_TRUE(bench.ports[2].Busy);
    FakeWindow& master = bench.AddWindow(1, 1);
    FakeWindow& slave = bench.AddWindow(2, 1);
    slave.onRequest = [&](std::span<std::uint8_t> buffer, std::int32_t) {
      const Bytes answer = {0x01, 0x03, 0x04, 0x00, 0x0A, 0x00, 0x14};
      std::copy(answer.begin(), answer.end(), buffer.begin());
      std::int32_t length = 7;
      bool sent = false;
      slavePort->SendResponce(length, sent);
      EXPECT_TRUE(sent);
    };
    for (std::size_t n = 1; n <= 2; ++n) {
      ASSERT_TRUE(bench.Send(master, ReadHolding(0, 2), 200));
      RunUntilAnswered(bench, master, n);
      EXPECT_EQ(master.answers.back().code, 1);
      EXPECT_EQ(master.answers.back().frame, ascii ? Text(kAsciiAnswer) : kAnswer);
      ASSERT_EQ(slave.requests.size(), n);
      EXPECT_EQ(slave.requests.back(), Bytes({0x01, 0x03, 0x00, 0x00, 0x00, 0x02}));
    }
  }
}

}  // namespace
}  // namespace quorvel::test
