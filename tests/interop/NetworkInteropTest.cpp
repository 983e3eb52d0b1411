// Network ports against other Modbus stacks, on loopback only, with every
// port chosen free at run time: our master polls a pymodbus Modbus TCP server
// and a pymodbus server taking RTU frames over TCP; mbpoll and a pymodbus
// client talk Modbus TCP to our slave on mbtcp-listen://; and the gateway
// carries mbpoll's and pymodbus' requests to our slave on a virtual serial
// line, answering exception 0x0B for a device that is not there.

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "InteropMap.h"
#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

constexpr const char* kDeviceId = "5";
constexpr const char* kSlaveId = "17";  // InteropSlave.json's

// Whether something accepts connections on 127.0.0.1:`port`.
bool Accepts(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(port));
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool ok = connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
  close(fd);
  return ok;
}

// A loopback port free a moment ago: the system's choice for a socket bound
// to port 0, which is closed again for the program under test to take.
int FreePort() {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof at;
  int port = 0;
  if (bind(fd, reinterpret_cast<const sockaddr*>(&at), sizeof at) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&at), &size) == 0)
    port = ntohs(at.sin_port);
  close(fd);
  return port;
}

// The number after `word` in the first line of `out` ("ready 40123",
// "Listening on 127.0.0.1:40123, ..."); 0 when there is none.
int PortIn(const std::string& out, const std::string& word) {
  const std::size_t at = out.find(word);
  if (at == std::string::npos) return 0;
  return std::atoi(out.c_str() + at + word.size());
}

// mbpoll's command for one step on 127.0.0.1:`port`: its options, then the values written (none for a read).
std::vector<std::string> Mbpoll(const std::string& mbpoll, int port, const std::string& unit,
                                const std::vector<std::string>& options, const std::vector<std::string>& writes = {}) {
  std::vector<std::string> argv = {mbpoll, "-m", "tcp", "-p", std::to_string(port), "-a", unit, "-0", "-1", "-o", "1"};
  argv.insert(argv.end(), options.begin(), options.end());
  argv.emplace_back("127.0.0.1");
  argv.insert(argv.end(), writes.begin(), writes.end());
  return argv;
}

nlohmann::json PymodbusOverTcp(const fs::path& dir, int port, const std::string& unit,
                               const std::vector<std::string>& steps) {
  std::string missing;
  const std::string python = PythonPeer(missing);
  EXPECT_FALSE(python.empty()) << missing;
  return PymodbusClient(python, dir, {"--tcp", "127.0.0.1:" + std::to_string(port), unit}, steps);
}

struct NetworkPeer {
  const char* name;
  const char* scheme;  // of our master's port
  bool rtu;            // the server takes RTU frames over TCP
};

void PrintTo(const NetworkPeer& peer, std::ostream* out) { *out << peer.name; }

class MasterOverNetwork : public testing::TestWithParam<NetworkPeer> {};

TEST_P(MasterOverNetwork, ShowsEveryValueWithoutAFailedTransaction) {
  const NetworkPeer& peer = GetParam();
  TempDir dir;
  std::string missing;
  const std::string python = PythonPeer(missing);
  ASSERT_FALSE(python.empty()) << missing;
  std::vector<std::string> serverArgv = {python, SourceFile("pymodbus_tcp_server.py")};
  if (peer.rtu) serverArgv.emplace_back("--rtu");
  serverArgv.emplace_back(kDeviceId);
  Child server(serverArgv, dir.path(), "server");
  ASSERT_TRUE(server.WaitForLines(1, 20s)) << Report(server);
  const int port = PortIn(server.Out(), "ready ");
  ASSERT_NE(port, 0) << Report(server);

  const fs::path project = Built(dir.path(), SourceFile("InteropMaster.json"), "master.qvc");
  ASSERT_FALSE(project.empty());
  const std::string path = std::string(peer.scheme) + "127.0.0.1:" + std::to_string(port);
  const auto run = RunToEnd(OurMaster(path, kDeviceId, {"--seconds", "2", "--line", "19200-8N1", project.string()}),
                            dir.path(), "master", 30s);
  ASSERT_EQ(run.status, 0) << run.err;
  nlohmann::json window = FirstWindow(run.out);
  ExpectNoFailures(window);
  EXPECT_GE(window["counters"]["RequestCount"].get<int>(), 8) << window;
  EXPECT_EQ(Shown(window), kExpectedTexts);
  EXPECT_TRUE(server.Running()) << Report(server);
}

INSTANTIATE_TEST_SUITE_P(NetworkInterop, MasterOverNetwork,
                         testing::Values(NetworkPeer{"PymodbusTcpServer", "mbtcp://", false},
                                         NetworkPeer{"PymodbusRtuOverTcpServer", "tcp://", true}),
                         [](const testing::TestParamInfo<NetworkPeer>& info) { return std::string(info.param.name); });

// Our slave emulating InteropSlave.json as a Modbus TCP server.
TEST(NetworkInterop, MbpollAndPymodbusTalkModbusTcpToOurSlave) {
  std::string missing;
  const std::string mbpoll = FindPeer("mbpoll", missing);
  ASSERT_FALSE(mbpoll.empty()) << missing;
  TempDir dir;
  const fs::path project = Built(dir.path(), SourceFile("InteropSlave.json"), "slave.qvc");
  ASSERT_FALSE(project.empty());
  // A port free a moment ago may be taken meanwhile: another one then.
  std::optional<Child> slave;
  int port = 0;
  for (int attempt = 0; attempt < 3 && port == 0; ++attempt) {
    const int candidate = FreePort();
    slave.emplace(OurSlave("mbtcp-listen://127.0.0.1:" + std::to_string(candidate), kSlaveId, {project.string()}),
                  dir.path(), "slave");
    for (int i = 0; i < 100 && slave->Running() && !Accepts(candidate); ++i) std::this_thread::sleep_for(50ms);
    if (slave->Running() && Accepts(candidate)) port = candidate;
  }
  ASSERT_NE(port, 0) << Report(*slave);

  const auto read =
      RunToEnd(Mbpoll(mbpoll, port, kSlaveId, {"-t", "4", "-r", "0", "-c", "5"}), dir.path(), "mbpoll", 15s);
  EXPECT_EQ(read.status, 0) << read.err;
  EXPECT_EQ(MbpollOutcome(read.out), "1234 65534 0 16464 40000") << read.out;
  const auto write =
      RunToEnd(Mbpoll(mbpoll, port, kSlaveId, {"-t", "4", "-r", "0"}, {"4321"}), dir.path(), "mbpoll", 15s);
  EXPECT_EQ(write.status, 0) << write.err;

  const nlohmann::json results = PymodbusOverTcp(dir.path(), port, kSlaveId, {"read_holding 0 2", "read_input 0 1"});
  ASSERT_TRUE(results.is_array()) << results;
  ASSERT_EQ(results.size(), 2u) << results;
  EXPECT_EQ(results[0]["registers"], nlohmann::json::array({4321, 65534})) << results;
  EXPECT_EQ(results[1]["registers"], nlohmann::json::array({321})) << results;

  EXPECT_EQ(slave->Stop(), 0) << Report(*slave);
  nlohmann::json window = FirstWindow(slave->Out());
  ExpectNoFailures(window);
  EXPECT_EQ(window["counters"]["SlaveRequestCount"], 4) << window;
}

// mbpoll and pymodbus -> gateway (Modbus TCP) -> virtual serial line -> our slave.
TEST(NetworkInterop, GatewayCarriesRequestsToASerialSlaveAndAnswers0x0BForNoDevice) {
  std::string missing;
  const std::string mbpoll = FindPeer("mbpoll", missing);
  ASSERT_FALSE(mbpoll.empty()) << missing;
  TempDir dir;
  const NullModemCable cable(dir.path(), 19200);
  ASSERT_TRUE(cable.Ready()) << cable.Problem();
  const fs::path project = Built(dir.path(), SourceFile("InteropSlave.json"), "slave.qvc");
  ASSERT_FALSE(project.empty());
  Child slave(OurSlave(cable.Com2().string(), kSlaveId, {"--line", "19200-8N1", project.string()}), dir.path(),
              "slave");
  ASSERT_TRUE(slave.WaitForOpen(cable.Device(cable.Com2()), 10s)) << Report(slave);
  Child gateway({QuorvelCli(), "gateway", "--listen", "127.0.0.1:0", "--map", "COM1=" + cable.Com1().string(), "--com",
                 "1", "--line", "19200-8N1", "--timeout", "300", "--verbose"},
                dir.path(), "gateway");
  ASSERT_TRUE(gateway.WaitForLines(1, 10s)) << Report(gateway);
  const int port = PortIn(gateway.Out(), "127.0.0.1:");
  ASSERT_NE(port, 0) << Report(gateway);
  std::this_thread::sleep_for(200ms);  // both ports past their set-up

  const auto read =
      RunToEnd(Mbpoll(mbpoll, port, kSlaveId, {"-t", "4", "-r", "0", "-c", "5"}), dir.path(), "mbpoll", 15s);
  EXPECT_EQ(read.status, 0) << read.err << Report(gateway);
  EXPECT_EQ(MbpollOutcome(read.out), "1234 65534 0 16464 40000") << read.out;

  const nlohmann::json results = PymodbusOverTcp(dir.path(), port, kSlaveId, {"read_input 0 1"});
  ASSERT_EQ(results.size(), 1u) << results;
  EXPECT_EQ(results[0]["registers"], nlohmann::json::array({321})) << results;
  // Nobody answers to 18 on the line.
  const nlohmann::json absent = PymodbusOverTcp(dir.path(), port, "18", {"read_holding 0 1"});
  ASSERT_EQ(absent.size(), 1u) << absent;
  EXPECT_EQ(absent[0]["exception"], 11) << absent << Report(gateway);
  const auto none = RunToEnd(Mbpoll(mbpoll, port, "18", {"-t", "4", "-r", "0"}), dir.path(), "mbpoll", 15s);
  EXPECT_NE(none.status, 0) << none.out;
  EXPECT_NE(none.err.find("arget"), std::string::npos) << none.err;

  EXPECT_EQ(gateway.Stop(), 0) << Report(gateway);
  const std::string out = gateway.Out();
  EXPECT_NE(out.find("unit 17 function 3: answered"), std::string::npos) << out;
  EXPECT_NE(out.find("unit 18 function 3: no answer, exception 0x0B sent"), std::string::npos) << out;
  EXPECT_EQ(slave.Stop(), 0) << Report(slave);
}

}  // namespace
}  // namespace quorvel::interop
