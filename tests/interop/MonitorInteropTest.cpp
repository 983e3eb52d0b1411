// Our listeners on a virtual RS-485 bus where a pymodbus RTU client polls a
// pymodbus RTU server: a Monitor window of the master project shows the
// device's map on its panel exactly as our master would, with nothing counted
// but the requests it heard, and `quorvel-cli monitor --json` pairs every
// request with its answer, values and exceptions decoded. `quorvel-cli send`
// asks the same server through the bus by hand.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "InteropMap.h"
#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

constexpr int kBaud = 19200;
constexpr const char* kLine = "19200-8N1";
constexpr const char* kDeviceId = "5";
constexpr int kRounds = 3;

// The four blocks that InteropMaster.json polls, as the client asks for them,
// and what the server's map holds there (see InteropMap.h).
struct Block {
  const char* step;
  int function;
  std::vector<int> values;
};

const Block kBlocks[] = {
    {"read_holding 0 10", 3, {0xFB2E, 0xFB2E, 0x0000, 0x4050, 0xBFC0, 0x0000, 0xBEEF, 0xFD2E, 0xB669, 0x00FA}},
    {"read_input 0 2", 4, {0x07E7, 0x1234}},
    {"read_coils 0 8", 1, {1, 0, 1, 0, 0, 1, 0, 1}},
    {"read_discrete 0 2", 2, {0, 1}},
};

// The server has ten holding registers: this one is refused with exception 2.
constexpr const char* kMissingRegister = "read_holding 100 1";

std::vector<std::string> ReadsOfTheMap(int rounds) {
  std::vector<std::string> steps;
  for (int round = 0; round < rounds; ++round)
    for (const Block& block : kBlocks) steps.emplace_back(block.step);
  return steps;
}

// A bus of three ends with the pymodbus RTU server on end 2; the client goes
// on end 1 and our listener or sender on end 3.
class MonitorInterop : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.path().empty());
    std::string missing;
    python_ = PythonPeer(missing);
    ASSERT_FALSE(python_.empty()) << missing;
    bus_ = std::make_unique<VirtualBus>(dir_.path(), 3, kBaud);
    ASSERT_TRUE(bus_->Ready()) << bus_->Problem();
    server_ = std::make_unique<Child>(std::vector<std::string>{python_, SourceFile("pymodbus_ascii_server.py"), "--rtu",
                                                               bus_->End(2).string(), std::to_string(kBaud), kDeviceId},
                                      dir_.path(), "server");
    ASSERT_TRUE(server_->WaitForLines(1, 20s)) << Report(*server_);
    ASSERT_EQ(server_->Out(), "ready\n") << Report(*server_);
  }

  // The pymodbus client on end 1, run to its end; what it got, step by step.
  nlohmann::json Client(const std::vector<std::string>& steps) {
    return PymodbusClient(python_, dir_.path(),
                          {"--rtu", "--gap", "20", bus_->End(1).string(), std::to_string(kBaud), kDeviceId}, steps);
  }

  // `argv` with our port on end 3.
  std::vector<std::string> OnOurPort(std::vector<std::string> argv) const {
    argv.insert(argv.end(), {"--map", "COM3=" + bus_->End(3).string(), "--com", "3", "--line", kLine});
    return argv;
  }

  TempDir dir_;
  std::string python_;
  std::unique_ptr<VirtualBus> bus_;
  std::unique_ptr<Child> server_;
};

TEST_F(MonitorInterop, MonitorWindowShowsTheMapAsOurMasterWouldAndCountsWhatItHeard) {
  const fs::path project = Built(dir_.path(), SourceFile("InteropMaster.json"), "master.qvc");
  ASSERT_FALSE(project.empty());
  const fs::path traffic = dir_.path() / "traffic.txt";
  Child monitor(OnOurPort({QuorvelCli(), "run", project.string(), "--mode", "monitor", "--id", kDeviceId, "--seconds",
                           "0", "--traffic", traffic.string()}),
                dir_.path(), "monitor");
  ASSERT_TRUE(monitor.WaitForPort(bus_->Device(3), 10s)) << Report(monitor);

  const nlohmann::json answers = Client(ReadsOfTheMap(kRounds));
  for (const auto& answer : answers) EXPECT_FALSE(answer.contains("error")) << answer;
  // A line for each request and each answer once the Monitor has heard them all.
  const std::size_t frames = 2 * kRounds * std::size(kBlocks);
  EXPECT_TRUE(WaitForFileLines(traffic, frames, 10s)) << Report(monitor);
  ASSERT_EQ(monitor.Stop(), 0) << Report(monitor);

  auto window = FirstWindow(monitor.Out());
  EXPECT_EQ(Shown(window), kExpectedTexts);
  EXPECT_EQ(window["counters"]["RequestCount"], kRounds * std::size(kBlocks)) << window;
  ExpectNoFailures(window);
}

TEST_F(MonitorInterop, JsonLinesPairEveryRequestWithItsAnswer) {
  Child monitor(OnOurPort({QuorvelCli(), "monitor", "--json", "--seconds", "0"}), dir_.path(), "monitor");
  ASSERT_TRUE(monitor.WaitForPort(bus_->Device(3), 10s)) << Report(monitor);

  std::vector<std::string> steps = ReadsOfTheMap(1);
  steps.emplace_back(kMissingRegister);
  const nlohmann::json answers = Client(steps);
  ASSERT_EQ(answers.size(), steps.size()) << answers;
  EXPECT_EQ(answers.back().value("exception", 0), 2) << answers.back();
  EXPECT_TRUE(monitor.WaitForLines(2 * steps.size(), 10s)) << Report(monitor);
  monitor.Stop();

  std::vector<nlohmann::json> lines;
  std::istringstream out(monitor.Out());
  for (std::string text; std::getline(out, text);) {
    lines.push_back(nlohmann::json::parse(text, nullptr, false));
    ASSERT_FALSE(lines.back().is_discarded()) << text;
  }
  ASSERT_EQ(lines.size(), 2 * steps.size()) << monitor.Out();
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (const char* key : {"time", "bytes", "ok", "slave", "function", "kind"})
      EXPECT_TRUE(lines[i].contains(key)) << key << " missing in " << lines[i];
    EXPECT_EQ(lines[i]["ok"], true) << lines[i];
    EXPECT_EQ(lines[i]["slave"], 5) << lines[i];
  }

  for (std::size_t b = 0; b < std::size(kBlocks); ++b) {
    const Block& block = kBlocks[b];
    SCOPED_TRACE(block.step);
    const auto& request = lines[2 * b];
    const auto& response = lines[2 * b + 1];
    EXPECT_EQ(request["kind"], "request");
    EXPECT_EQ(response["kind"], "response");
    for (const auto& line : {request, response}) {  // the answer carries the address of the request it answers
      EXPECT_EQ(line["function"], block.function) << line;
      EXPECT_EQ(line["address"], 0) << line;
      EXPECT_EQ(line["count"], block.values.size()) << line;
    }
    EXPECT_EQ(response["values"], nlohmann::json(block.values));
    EXPECT_LT(request["time"].get<double>(), response["time"].get<double>());
  }

  const auto& refused = lines[lines.size() - 2];
  const auto& exception = lines.back();
  EXPECT_EQ(refused["kind"], "request");
  EXPECT_EQ(refused["address"], 100);
  EXPECT_EQ(exception["kind"], "exception");
  EXPECT_EQ(exception["function"], 3);
  EXPECT_EQ(exception["exception"], 2);
  EXPECT_FALSE(exception.contains("values")) << exception;
}

// A hand-made frame to the server, and one to a slave nobody on the bus is.
struct SendCase {
  const char* name;
  const char* frame;
  int status;
  const char* printed;
};

void PrintTo(const SendCase& c, std::ostream* out) { *out << c.name; }

class SendOnTheBus : public MonitorInterop, public testing::WithParamInterface<SendCase> {};

TEST_P(SendOnTheBus, PrintsTheAnswerOrTimeout) {
  const auto run =
      RunToEnd(OnOurPort({QuorvelCli(), "send", GetParam().frame, "--timeout", "500"}), dir_.path(), "send", 30s);
  EXPECT_EQ(run.status, GetParam().status) << run.out << run.err;
  EXPECT_EQ(run.out, GetParam().printed) << run.err;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SendOnTheBus,
    testing::Values(SendCase{"InputRegistersOfTheServer", "05 04 00 00 00 02", 0,
                             "05 04 04 07 E7 12 34 02 70\n5 Read Input Registers 0 x2: 2023 4660\n"},
                    SendCase{"SlaveNobodyIs", "09 04 00 00 00 02", 1, "Timeout!\n"}),
    [](const testing::TestParamInfo<SendCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace quorvel::interop
