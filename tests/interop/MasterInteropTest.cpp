// Our master polls devices built on other Modbus stacks: a libmodbus RTU
// server and a pymodbus ASCII server, both serving the same fixed map, over a
// paced pseudo-terminal cable. Every value must arrive decoded as the map
// says, without a single failed transaction.

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

constexpr int kBaud = 19200;
constexpr const char* kDeviceId = "5";

struct Peer {
  const char* name;
  const char* line;  // our side's line settings
  // The command that runs the device on a tty; empty with the reason in `missing`.
  std::vector<std::string> (*command)(const std::string& tty, std::string& missing);
};

void PrintTo(const Peer& peer, std::ostream* out) { *out << peer.name; }

std::vector<std::string> LibmodbusRtu(const std::string& tty, std::string& missing) {
  const std::string server = RtuServer(missing);
  if (server.empty()) return {};
  return {server, tty, std::to_string(kBaud), kDeviceId};
}

std::vector<std::string> PymodbusAscii(const std::string& tty, std::string& missing) {
  const std::string python = PythonPeer(missing);
  if (python.empty()) return {};
  return {python, SourceFile("pymodbus_ascii_server.py"), tty, std::to_string(kBaud), kDeviceId};
}

// The servers' map (modbus_rtu_server.cpp) as InteropMaster.json's elements
// show it, worked out by hand.
const std::map<std::string, std::string> kExpectedTexts = {
    {"HR0000", "-1 234"},          // FB2E as a signed Integer
    {"HR0001", "64 302"},          // FB2E Unsigned
    {"HR0002", "3.25"},            // Float 0x40500000, registers 0000 4050
    {"HR0004", "-1.50"},           // Float 0xBFC00000 Swapped, registers BFC0 0000
    {"HR0006", "BEEFh"},           // Hex
    {"HR0007", "-1 234 567 890"},  // Long 0xB669FD2E, registers FD2E B669
    {"HR0009", "25.0"},            // 250 scaled by 0.1
    {"IR0000", "2 023"},           // 07E7
    {"IR0001", "1234h"},           // Hex input register
    {"C 0000", "1"},               // coils 0..7 are A5: 1 0 1 0 0 1 0 1
    {"C 0001", "0"},
    {"C 0002", "1"},
    {"C 0007", "1"},
    {"DI0000", "0"},  // discrete inputs 0..1: 0 1
    {"DI0001", "1"},
};

class MasterInterop : public testing::TestWithParam<Peer> {};

TEST_P(MasterInterop, ShowsEveryValueOfTheDeviceWithoutAFailedTransaction) {
  const Peer& peer = GetParam();
  const TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  std::string missing;
  const auto device_command = peer.command((dir.path() / "COM2").string(), missing);
  ASSERT_FALSE(device_command.empty()) << missing;
  const NullModemCable cable(dir.path(), kBaud);
  ASSERT_TRUE(cable.Ready()) << cable.Problem();

  const fs::path project = dir.path() / "master.qvc";
  const auto built = RunToEnd({QuorvelCli(), "build", SourceFile("InteropMaster.json"), "-o", project.string()},
                              dir.path(), "build", 30s);
  ASSERT_TRUE(built && built->status == 0) << (built ? built->err : "build did not end");

  Child device(device_command, dir.path(), "device");
  ASSERT_TRUE(device.WaitForLines(1, 20s)) << Report(device);
  ASSERT_EQ(device.Out(), "ready\n") << Report(device);

  const auto run = RunToEnd({QuorvelCli(), "run", "--map", "COM1=" + cable.Com1().string(), "--seconds", "2", "--id",
                             kDeviceId, "--line", peer.line, project.string()},
                            dir.path(), "master", 30s);
  ASSERT_TRUE(run) << "quorvel-cli run did not end";
  ASSERT_EQ(run->status, 0) << run->err;
  EXPECT_TRUE(device.Running()) << Report(device);

  // Not const: a missing member then reads as null instead of being undefined.
  auto state = nlohmann::json::parse(run->out, nullptr, false);
  ASSERT_FALSE(state.is_discarded()) << run->out;
  EXPECT_EQ(state["messages"], nlohmann::json::array()) << run->out;
  auto& window = state["windows"][0];
  auto& counters = window["counters"];
  for (const char* failure : {"TOErr", "DtErr", "PtyErr", "CRCErr", "FrErr", "Ex1", "Ex2", "Ex3", "Ex4"}) {
    EXPECT_EQ(counters[failure], 0) << failure << " in " << run->out;
  }
  // Four requests every 200 ms for 2 s: each at least twice, whatever the load.
  EXPECT_GE(counters["RequestCount"].get<int>(), 8) << run->out;
  EXPECT_NE(window["statistics"].get<std::string>().find("Err:0"), std::string::npos) << window["statistics"];

  std::map<std::string, std::string> shown;
  for (const auto& value : window["values"]) shown[value.value("label", "")] = value.value("text", "");
  EXPECT_EQ(shown, kExpectedTexts);
}

INSTANTIATE_TEST_SUITE_P(Peers, MasterInterop,
                         testing::Values(Peer{"LibmodbusRtuServer", "19200-8N1", LibmodbusRtu},
                                         Peer{"PymodbusAsciiServer", "19200-8N1-ascii", PymodbusAscii}),
                         [](const testing::TestParamInfo<Peer>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace quorvel::interop
