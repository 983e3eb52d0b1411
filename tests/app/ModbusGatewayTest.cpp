// The gateway between a Modbus TCP client on loopback and a device on an
// in-memory serial line: what goes back for an answer, a damaged answer, no
// answer, and a broadcast, and that the requests queue behind each other.

#include <gtest/gtest.h>
#include <poll.h>

#include "../serial/LoopbackClient.h"
#include "../serial/SerialTestSupport.h"
#include "app/ModbusGateway.h"
#include "modbus/MbapCodec.h"

namespace quorvel::test {
namespace {

struct GatewayCase {
  const char* name;
  std::uint8_t unit;
  Bytes deviceAnswer;  // what the device on the line sends; nothing: it is silent
  Bytes expected;      // the PDU the client gets back; nothing: no answer at all
};

class GatewayAnswers : public testing::TestWithParam<GatewayCase> {};

TEST_P(GatewayAnswers, ToTheClientThatAsked) {
  const GatewayCase& c = GetParam();
  SerialBench bench;
  clsCOM* port = bench.Open(1);
  ASSERT_NE(port, nullptr);
  auto device = Peer(bench);
  ModbusTcpServerLine server("mbtcp-listen://127.0.0.1:0");
  ASSERT_FALSE(server.Open({}));
  std::vector<std::string> report;
  ModbusGateway gateway(server, *port, false, 100, [&](const std::string& line) { report.push_back(line); });
  LoopbackClient client(server.Port());
  const Bytes pdu = {0x03, 0x00, 0x00, 0x00, 0x01};
  ASSERT_TRUE(client.Send(MODBUS::EncodeMbap({{0x0102, 0, c.unit}, pdu})));
  ASSERT_TRUE(client.Send(MODBUS::EncodeMbap({{0x0103, 0, 1}, pdu})));  // queued behind the first

  // Until the first request is on the line.
  for (int i = 0; i < 200 && gateway.Idle(); ++i) {
    gateway.Service();
    pollfd p{server.Descriptor(), POLLIN, 0};
    if (gateway.Idle()) poll(&p, 1, 10);
  }
  ASSERT_FALSE(gateway.Idle());
  bench.Run(10);
  EXPECT_EQ(ReadAll(*device), Sealed({c.unit, 0x03, 0x00, 0x00, 0x00, 0x01}));
  if (!c.deviceAnswer.empty()) device->Write(c.deviceAnswer);
  for (int i = 0; i < 300 && !gateway.Idle(); ++i) bench.Tick();
  ASSERT_TRUE(gateway.Idle());
  ASSERT_EQ(report.size(), 1u);

  // A broadcast's silence is checked for a moment only: nothing was sent at all.
  const Bytes got = client.Receive(c.expected.empty() ? 20 : 2000);
  if (c.expected.empty())
    EXPECT_TRUE(got.empty()) << report[0];
  else
    EXPECT_EQ(got, MODBUS::EncodeMbap({{0x0102, 0, c.unit}, c.expected})) << report[0];
  // The second request goes out only now.
  gateway.Service();
  EXPECT_FALSE(gateway.Idle());
  bench.Run(10);
  EXPECT_EQ(ReadAll(*device), Sealed({1, 0x03, 0x00, 0x00, 0x00, 0x01}));
}

INSTANTIATE_TEST_SUITE_P(
    ModbusGateway, GatewayAnswers,
    testing::Values(GatewayCase{"Answered", 1, Sealed({1, 0x03, 0x02, 0x12, 0x34}), {0x03, 0x02, 0x12, 0x34}},
                    GatewayCase{"ExceptionPassedOn", 1, Sealed({1, 0x83, 0x02}), {0x83, 0x02}},
                    GatewayCase{"Silent", 1, {}, {0x83, 0x0B}},
                    GatewayCase{"Damaged", 1, {1, 0x03, 0x02, 0x12, 0x34, 0x00, 0x00}, {0x83, 0x0B}},
                    GatewayCase{"Broadcast", 0, {}, {}}),
    [](const testing::TestParamInfo<GatewayCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace quorvel::test
