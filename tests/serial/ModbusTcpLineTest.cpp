// A master port on a Modbus TCP line: requests leave as MBAP frames, answers
// are handed over whole at once, answers to other transactions are dropped and
// counted, and a connection that ends mid-frame loses the line.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"
#include "modbus/MasterTransaction.h"
#include "modbus/MbapCodec.h"
#include "serial/ModbusTcpLine.h"

namespace quorvel::test {
namespace {

using platform::End;

const Bytes kAnswerPdu = {0x03, 0x04, 0x00, 0x0A, 0x00, 0x14};

class ModbusTcpMaster : public testing::TestWithParam<LineTiming> {
 protected:
  void SetUp() override {
    PortEntry& entry = bench.ports[1];
    entry.Timing = GetParam();
    entry.Port = std::make_unique<clsCOM>(
        entry, bench, bench.clock,
        [this](int) -> std::unique_ptr<platform::SerialLine> {
          return std::make_unique<ModbusTcpLine>(std::make_unique<platform::MemoryLine>(bench.wire, End::A));
        },
        [this](const std::string& text) { bench.messages.push_back(text); });
    std::int16_t com = 1;
    ASSERT_TRUE(entry.Port->OpenCOM(com));
    peer = Peer(bench);
    ASSERT_TRUE(peer);
  }

  // Sends the window's request and returns the MBAP frame the server got.
  MODBUS::MbapFrame Ask() {
    EXPECT_TRUE(bench.Send(window, ReadHolding(0, 2), 200, 50));
    bench.Run(10);  // the request's time on a 9600 baud wire
    MODBUS::MbapReader reader;
    reader.Feed(ReadAll(*peer));
    const std::optional<MODBUS::MbapFrame> frame = reader.Next();
    EXPECT_TRUE(frame.has_value());
    return frame.value_or(MODBUS::MbapFrame{});
  }

  void Answer(std::uint16_t tid, const Bytes& pdu = kAnswerPdu) {
    const Bytes mbap = MODBUS::EncodeMbap({{tid, 0, window.id}, pdu});
    ASSERT_EQ(peer->Write(mbap).count, mbap.size());
  }

  SerialBench bench;
  FakeWindow& window = bench.AddWindow(1, 1);
  std::unique_ptr<platform::MemoryLine> peer;
};

TEST_P(ModbusTcpMaster, AnswerIsHandedOverWholeWithoutWaitingForSilence) {
  const MODBUS::MbapFrame request = Ask();
  EXPECT_EQ(request.header.transaction, 1);
  EXPECT_EQ(request.header.unit, 1);
  EXPECT_EQ(request.pdu, (Bytes{0x03, 0x00, 0x00, 0x00, 0x02}));
  Answer(1);
  // Far less than the 50 ms character gap a serial read would wait out.
  for (int i = 0; i < 3 && window.answers.empty(); ++i) bench.Tick();
  ASSERT_EQ(window.answers.size(), 1u);
  EXPECT_EQ(window.answers[0].code, MODBUS::kFrameComplete);
  EXPECT_EQ(window.answers[0].frame, Sealed({0x01, 0x03, 0x04, 0x00, 0x0A, 0x00, 0x14}));
  EXPECT_EQ(window.frameErrors, 0);
}

// A network line has no baud rate: no transmission time to wait out before
// the answer is listened for, whatever the port's line settings say.
TEST_P(ModbusTcpMaster, ListensFromTheMomentTheRequestIsWritten) {
  ASSERT_TRUE(bench.Send(window, ReadHolding(0, 2), 200, 50));
  const clsCOM& port = *bench.ports[1].Port;
  EXPECT_TRUE(port.WantsBytes());
  EXPECT_GE(port.NextDeadlineMs(), bench.clock.GetTimeMs() + 199) << "the answer's deadline, nothing sooner";
}

TEST_P(ModbusTcpMaster, AnswerToAnotherTransactionIsDroppedAndCounted) {
  Ask();
  Answer(1);
  bench.Run(5);
  ASSERT_EQ(window.answers.size(), 1u);
  const MODBUS::MbapFrame second = Ask();
  EXPECT_EQ(second.header.transaction, 2);
  Answer(1);  // the first answer once more, late
  Answer(7);  // an id never sent
  bench.Run(5);
  EXPECT_EQ(window.answers.size(), 1u) << "no stray answer reaches the window";
  Answer(2);
  bench.Run(5);
  ASSERT_EQ(window.answers.size(), 2u);
  EXPECT_EQ(window.answers[1].code, MODBUS::kFrameComplete);
  EXPECT_EQ(window.frameErrors, 2);
}

TEST_P(ModbusTcpMaster, ConnectionEndingMidFrameLosesTheLineAndCountsTheFrame) {
  Ask();
  const Bytes whole = MODBUS::EncodeMbap({{1, 0, 1}, kAnswerPdu});
  peer->Write(std::span(whole).first(9));
  bench.Tick();
  bench.wire->Unplug(End::A);
  bench.Run(300);
  ASSERT_EQ(window.answers.size(), 1u);
  EXPECT_EQ(window.answers[0].code, MODBUS::kTimeout);
  EXPECT_EQ(window.frameErrors, 1);
  EXPECT_FALSE(bench.wire->IsOpen(End::A)) << "closed, to be connected again";
  // Connected again by the next request once a second has passed since the loss, not before.
  bench.wire->Plug(End::A);
  const int opens = bench.wire->OpenCount(End::A);
  bench.Send(window, ReadHolding(0, 2), 200, 50);
  EXPECT_EQ(bench.wire->OpenCount(End::A), opens);
  bench.Run(800);
  bench.Send(window, ReadHolding(0, 2), 200, 50);
  EXPECT_EQ(bench.wire->OpenCount(End::A), opens + 1);
  EXPECT_TRUE(bench.wire->IsOpen(End::A));
}

INSTANTIATE_TEST_SUITE_P(ModbusTcpLine, ModbusTcpMaster,
                         testing::Values(LineTiming::Classic, LineTiming::Standard, LineTiming::Fast),
                         [](const testing::TestParamInfo<LineTiming>& info) {
                           return std::string(LineTimingName(info.param));
                         });

}  // namespace
}  // namespace quorvel::test
