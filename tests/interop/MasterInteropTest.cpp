// Our master polls devices built on other Modbus stacks: a libmodbus RTU
// server and a pymodbus ASCII server, both serving the same fixed map, over a
// paced pseudo-terminal cable, in each line timing. Every value must arrive
// decoded as the map says, without a single failed transaction. Over a cable
// whose ends hear themselves (two-wire RS-485 adapters without echo
// cancelling), our master with echo removal polls our own slave emulating the
// same map, and the libmodbus server taught to drop its own echo; one case
// shows that without echo removal that cable does break the transactions.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "InteropMap.h"
#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

constexpr const char* kDeviceId = "5";

// How one case sets up the line.
struct Line {
  const char* timing;  // our side's, for --timing, as the run's state names it; the peers have no such setting
  int baud;
  bool echoingCable;  // each end hears its own bytes
  bool removeEcho;    // our side (and a peer that can) expects its echo and drops it
};

struct Peer {
  const char* name;
  const char* framing;  // our side's line settings after the baud rate
  // The command that runs the device on a tty; empty with the reason in `missing`.
  std::vector<std::string> (*command)(const std::string& tty, const Line& line, const fs::path& dir,
                                      std::string& missing);
  bool saysReady;  // prints "ready" once it listens; else it is ready once it holds the tty open
};

struct Case {
  Peer peer;
  Line line;
};

std::string OurLine(const Peer& peer, const Line& line) { return std::to_string(line.baud) + "-" + peer.framing; }

void PrintTo(const Case& c, std::ostream* out) { *out << c.peer.name << "_" << c.line.timing; }

std::vector<std::string> LibmodbusRtu(const std::string& tty, const Line& line, const fs::path&, std::string& missing) {
  const std::string server = RtuServer(missing);
  if (server.empty()) return {};
  std::vector<std::string> argv = {server, tty, std::to_string(line.baud), kDeviceId};
  if (line.removeEcho) argv.emplace_back("--echo");
  return argv;
}

std::vector<std::string> PymodbusAscii(const std::string& tty, const Line& line, const fs::path&,
                                       std::string& missing) {
  const std::string python = PythonPeer(missing);
  if (python.empty()) return {};
  return {python, SourceFile("pymodbus_ascii_server.py"), tty, std::to_string(line.baud), kDeviceId};
}

// Our slave emulating the same map (InteropDevice.json), with our side's line settings.
std::vector<std::string> QuorvelSlave(const std::string& tty, const Line& line, const fs::path& dir, std::string&) {
  std::vector<std::string> argv =
      OurSlave(tty, kDeviceId, {"--line", std::to_string(line.baud) + "-8N1", "--timing", line.timing});
  if (line.removeEcho) argv.emplace_back("--echo");
  argv.push_back(Built(dir, SourceFile("InteropDevice.json"), "device.qvc").string());
  return argv;
}

constexpr Peer kLibmodbusRtu = {"LibmodbusRtuServer", "8N1", LibmodbusRtu, true};
constexpr Peer kPymodbusAscii = {"PymodbusAsciiServer", "8N1-ascii", PymodbusAscii, true};
constexpr Peer kQuorvelSlave = {"QuorvelSlave", "8N1", QuorvelSlave, false};

// Standard and Fast at 4800 baud: the virtual cable, like a serial driver or
// a USB adapter, holds bytes back now and then inside a frame, and on a
// machine loaded by a parallel test run such a hole can outlast t3.5 and the
// allowance for it (2 + 20 ms at 19200 baud). At 4800 the two give 28 ms,
// about what Classic's 32 ms gap tolerates at 19200.
constexpr Line kClassic = {"Classic", 19200, false, false};
constexpr Line kStandard = {"Standard", 4800, false, false};
constexpr Line kFast = {"Fast", 4800, false, false};

constexpr Line Echoing(Line line, bool removeEcho) {
  line.echoingCable = true;
  line.removeEcho = removeEcho;
  return line;
}

// Each peer in each timing over a plain cable.
std::vector<Case> EveryTiming(std::initializer_list<Peer> peers) {
  std::vector<Case> cases;
  for (const Peer& peer : peers)
    for (const Line& line : {kClassic, kStandard, kFast}) cases.push_back({peer, line});
  return cases;
}

// Runs the device on COM2 of a cable of its own and our master on COM1 for 2 s,
// leaving our master's window (and our slave's, when the device is ours).
class MasterPolling : public testing::Test {
 protected:
  void Poll(const Case& c) {
    ASSERT_FALSE(dir_.path().empty());
    std::string missing;
    const auto device_command = c.peer.command((dir_.path() / "COM2").string(), c.line, dir_.path(), missing);
    ASSERT_FALSE(device_command.empty()) << missing;
    const NullModemCable cable(dir_.path(), c.line.baud, c.line.echoingCable);
    ASSERT_TRUE(cable.Ready()) << cable.Problem();

    const fs::path project = Built(dir_.path(), SourceFile("InteropMaster.json"), "master.qvc");
    ASSERT_FALSE(project.empty());

    Child device(device_command, dir_.path(), "device");
    if (c.peer.saysReady) {
      ASSERT_TRUE(device.WaitForLines(1, 20s)) << Report(device);
      ASSERT_EQ(device.Out(), "ready\n") << Report(device);
    } else {
      ASSERT_TRUE(device.WaitForPort(cable.Device(cable.Com2()), 10s)) << Report(device);
    }

    std::vector<std::string> master =
        OurMaster(cable.Com1().string(), kDeviceId,
                  {"--seconds", "2", "--line", OurLine(c.peer, c.line), "--timing", c.line.timing});
    if (c.line.removeEcho) master.emplace_back("--echo");
    master.push_back(project.string());
    const auto run = RunToEnd(master, dir_.path(), "master", 30s);
    ASSERT_EQ(run.status, 0) << run.err;
    master_ = FirstWindow(run.out);
    EXPECT_EQ(master_["timing"], c.line.timing) << run.out;
    EXPECT_EQ(master_["echo"], c.line.removeEcho) << run.out;

    if (c.peer.saysReady) {
      EXPECT_TRUE(device.Running()) << Report(device);
    } else {
      EXPECT_EQ(device.Stop(), 0) << Report(device);  // our slave prints its state as it ends
      device_ = FirstWindow(device.Out());
    }
  }

  static int Failures(nlohmann::json& window) {
    int failures = 0;
    for (const char* failure : kFailureCounters) failures += window["counters"][failure].get<int>();
    return failures;
  }

  TempDir dir_;
  nlohmann::json master_ = nlohmann::json::object();
  nlohmann::json device_;  // null unless the device is our slave
};

class MasterInterop : public MasterPolling, public testing::WithParamInterface<Case> {};

TEST_P(MasterInterop, ShowsEveryValueOfTheDeviceWithoutAFailedTransaction) {
  ASSERT_NO_FATAL_FAILURE(Poll(GetParam()));
  ExpectNoFailures(master_);
  auto& counters = master_["counters"];
  // Four requests every 200 ms for 2 s: each at least twice, whatever the load.
  EXPECT_GE(counters["RequestCount"].get<int>(), 8) << master_;
  EXPECT_NE(master_["statistics"].get<std::string>().find("Err:0"), std::string::npos) << master_["statistics"];
  EXPECT_EQ(Shown(master_), kExpectedTexts);

  if (!device_.is_null()) {
    // Our slave heard every request once, and only requests: its own answers coming back are not taken for more.
    ExpectNoFailures(device_);
    // The request our master sent as it stopped may still be on its way when our slave is stopped.
    const int requests = counters["RequestCount"].get<int>();
    const int heard = device_["counters"]["SlaveRequestCount"].get<int>();
    EXPECT_TRUE(heard == requests || heard == requests - 1) << requests << " sent, " << device_;
  }
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
  return std::string(info.param.peer.name) + "_" + info.param.line.timing;
}

INSTANTIATE_TEST_SUITE_P(Peers, MasterInterop, testing::ValuesIn(EveryTiming({kLibmodbusRtu, kPymodbusAscii})),
                         CaseName);

// Both ends hear themselves and both remove their echo. pymodbus is not among
// them: its server has no echo removal, and its framers take the answer coming
// back for a new request.
INSTANTIATE_TEST_SUITE_P(EchoingCable, MasterInterop,
                         testing::Values(Case{kQuorvelSlave, Echoing(kClassic, true)},
                                         Case{kQuorvelSlave, Echoing(kStandard, true)},
                                         Case{kLibmodbusRtu, Echoing(kStandard, true)}),
                         CaseName);

// The same cable without echo removal on our side: our master takes its own
// request, heard back ahead of the answer, for part of the answer. Proves
// that the cases above depend on the setting.
using EchoingCable = MasterPolling;

TEST_F(EchoingCable, FailsTransactionsWithoutEchoRemoval) {
  ASSERT_NO_FATAL_FAILURE(Poll({kQuorvelSlave, Echoing(kClassic, false)}));
  EXPECT_GT(Failures(master_), 0) << master_;
}

}  // namespace
}  // namespace quorvel::interop
