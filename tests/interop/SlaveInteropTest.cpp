// Masters built on other Modbus stacks talk to our slave emulation of
// InteropSlave.json over a paced pseudo-terminal cable: mbpoll (libmodbus, RTU)
// and a pymodbus ASCII client read values, write values and read them back,
// and get the exception answers that the project's mask allows.
//
// InteropSlave.json, slave ID 17, all elements constant (Period 0):
//   HR0 Integer 1234, HR1 Integer -2, HR2..3 Float 3.25 (registers 0000 4050),
//   HR4 Unsigned 40000, IR0 321, coils 0..3 = 1 0 1 1, no discrete inputs.
//   "Exeptions" 47 = 1+2+4+8 (exception answers 1..4) + 32 (function 16);
//   functions 15, 22 and 23 are not served (exception 1).

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

constexpr int kBaud = 19200;
// The Standard cases split requests by their length, not by gaps; at 4800
// baud the allowance for bytes held back inside a request (t3.5 + 20 ms =
// 28 ms) outlasts what a machine loaded by a parallel test run leaves.
constexpr int kStandardBaud = 4800;
constexpr const char* kSlaveId = "17";

class SlaveInterop : public testing::Test {
 protected:
  // Our slave on COM2 of a cable of its own, listening before this returns.
  // `framing` is the line after the baud rate ("8N1", "8N1-ascii").
  void StartSlave(const std::string& framing, const std::string& timing = "classic", int baud = kBaud) {
    ASSERT_FALSE(dir_.path().empty());
    const std::string line = std::to_string(baud) + "-" + framing;
    cable_.emplace(dir_.path(), baud);
    ASSERT_TRUE(cable_->Ready()) << cable_->Problem();
    const fs::path project = Built(dir_.path(), SourceFile("InteropSlave.json"), "slave.qvc");
    ASSERT_FALSE(project.empty());
    slave_.emplace(OurSlave(cable_->Com2().string(), kSlaveId, {"--line", line, "--timing", timing, project.string()}),
                   dir_.path(), "slave");
    ASSERT_TRUE(slave_->WaitForPort(cable_->Device(cable_->Com2()), 10s)) << Report(*slave_);
  }

  // Ends our slave as a user would (SIGTERM) and returns its window's state.
  nlohmann::json StopSlave() {
    EXPECT_EQ(slave_->Stop(), 0) << Report(*slave_);
    return FirstWindow(slave_->Out());
  }

  // The window's failure counters are all zero, and it answered `requests`
  // requests; `cut` of them may have been cut off as the master stopped.
  static void ExpectAllAnswered(nlohmann::json& window, int requests, int cut = 0) {
    ExpectNoFailures(window);
    const int answered = window["counters"]["SlaveRequestCount"].get<int>();
    EXPECT_LE(answered, requests) << window;
    EXPECT_GE(answered, requests - cut) << window;
  }

  TempDir dir_;
  std::optional<NullModemCable> cable_;
  std::optional<Child> slave_;
};

struct MbpollStep {
  std::vector<std::string> options;
  std::vector<std::string> writes;  // values written; none for a read
  std::string expect;               // the values read, blank-separated; mbpoll's report; or its exception text
  bool refused;
};

// mbpoll's options for our slave on COM1, up to the ones that say what to do.
std::vector<std::string> MbpollLine(const std::string& mbpoll, int baud = kBaud) {
  return {mbpoll, "-m", "rtu", "-b", std::to_string(baud), "-d", "8", "-s", "1", "-P", "none", "-a", kSlaveId, "-0"};
}

TEST_F(SlaveInterop, MbpollRtuReadsWritesAndGetsExceptionAnswers) {
  std::string missing;
  const std::string mbpoll = FindPeer("mbpoll", missing);
  ASSERT_FALSE(mbpoll.empty()) << missing;
  ASSERT_NO_FATAL_FAILURE(StartSlave("8N1"));

  const MbpollStep steps[] = {
      {{"-t", "4", "-r", "0", "-c", "5"}, {}, "1234 65534 0 16464 40000", false},
      {{"-t", "0", "-r", "0", "-c", "4"}, {}, "1 0 1 1", false},
      {{"-t", "3", "-r", "0"}, {}, "321", false},
      {{"-t", "4", "-r", "0"}, {"4321"}, "Written 1 references.", false},  // function 6
      {{"-t", "4", "-r", "0"}, {}, "4321", false},
      {{"-t", "4", "-r", "2"}, {"0", "16576"}, "Written 2 references.", false},  // function 16: 0x40C00000
      {{"-t", "4:float", "-r", "2"}, {}, "6", false},  // least significant word first, as mbpoll reads floats
      {{"-t", "0", "-r", "1"}, {"1"}, "Written 1 references.", false},  // function 5
      {{"-t", "0", "-r", "0", "-c", "4"}, {}, "1 1 1 1", false},
      {{"-t", "4", "-r", "10"}, {}, "Illegal data address", true},     // beyond HR0..HR4
      {{"-t", "0", "-r", "0"}, {"1", "0"}, "Illegal function", true},  // function 15 not served
      {{"-t", "1", "-r", "0"}, {}, "Illegal function", true},          // no discrete inputs
  };
  for (const MbpollStep& step : steps) {
    std::vector<std::string> argv = MbpollLine(mbpoll);
    argv.insert(argv.end(), {"-1", "-o", "1"});
    argv.insert(argv.end(), step.options.begin(), step.options.end());
    argv.push_back(cable_->Com1().string());
    argv.insert(argv.end(), step.writes.begin(), step.writes.end());
    std::string line;
    for (const auto& arg : argv) line += arg + " ";
    const auto run = RunToEnd(argv, dir_.path(), "mbpoll", 15s);
    if (step.refused) {
      EXPECT_NE(run.status, 0) << line << "\n" << run.out;
      EXPECT_NE(run.err.find(step.expect), std::string::npos) << line << "\n" << run.err;
    } else {
      EXPECT_EQ(run.status, 0) << line << "\n" << run.err;
      EXPECT_EQ(MbpollOutcome(run.out), step.expect) << line << "\n" << run.out;
    }
  }

  auto window = StopSlave();
  EXPECT_EQ(window["counters"]["SlaveRequestCount"], std::size(steps));
  EXPECT_EQ(window["counters"]["Ex1"], 2);
  EXPECT_EQ(window["counters"]["Ex2"], 1);
  const auto shown = Shown(window);
  EXPECT_EQ(shown.at("HR0000"), "4 321");
  EXPECT_EQ(shown.at("HR0002"), "6.00");
  EXPECT_EQ(shown.at("C 0001"), "1");
}

TEST_F(SlaveInterop, PymodbusAsciiClientReadsWritesAndGetsExceptionAnswers) {
  std::string missing;
  const std::string python = PythonPeer(missing);
  ASSERT_FALSE(python.empty()) << missing;
  ASSERT_NO_FATAL_FAILURE(StartSlave("8N1-ascii"));

  const std::pair<const char*, const char*> steps[] = {
      {"read_holding 0 5", R"({"registers": [1234, 65534, 0, 16464, 40000]})"},
      {"read_input 0 1", R"({"registers": [321]})"},
      {"read_coils 0 4", R"({"bits": [1, 0, 1, 1]})"},
      {"write_register 4 12345", R"({"written": true})"},       // function 6
      {"write_registers 0 100,65535", R"({"written": true})"},  // function 16: HR1 becomes -1
      {"read_holding 0 5", R"({"registers": [100, 65535, 0, 16464, 12345]})"},
      {"write_coil 3 0", R"({"written": true})"},  // function 5
      {"read_coils 0 4", R"({"bits": [1, 0, 1, 0]})"},
      {"read_holding 10 1", R"({"exception": 2})"},   // beyond HR0..HR4
      {"write_coil 9 1", R"({"exception": 2})"},      // beyond coils 0..3
      {"read_holding 0 126", R"({"exception": 3})"},  // more than 125 registers
      {"read_coils 0 2001", R"({"exception": 3})"},   // more than 2000 coils
      {"write_coils 0 1,0", R"({"exception": 1})"},   // function 15 not served
      {"mask_write 0 255 0", R"({"exception": 1})"},  // function 22 not served
      {"read_discrete 0 1", R"({"exception": 1})"},   // no discrete inputs
  };
  std::vector<std::string> names;
  for (const auto& [step, expect] : steps) names.push_back(step);
  const auto results =
      PymodbusClient(python, dir_.path(), {cable_->Com1().string(), std::to_string(kBaud), kSlaveId}, names);
  ASSERT_EQ(results.size(), std::size(steps)) << results;
  for (std::size_t i = 0; i < std::size(steps); ++i) {
    auto expected = nlohmann::json::parse(steps[i].second);
    expected["step"] = steps[i].first;
    EXPECT_EQ(results[i], expected) << steps[i].first;
  }

  auto window = StopSlave();
  EXPECT_EQ(window["counters"]["SlaveRequestCount"], std::size(steps));
  EXPECT_EQ(window["counters"]["Ex1"], 3);
  EXPECT_EQ(window["counters"]["Ex2"], 2);
  EXPECT_EQ(window["counters"]["Ex3"], 2);
  EXPECT_EQ(Shown(window).at("HR0004"), "12 345");
  EXPECT_EQ(Shown(window).at("C 0003"), "0");
}

// In Standard timing a request is taken as soon as its length is complete, so
// a master may follow each answer with its next request at once. mbpoll polls
// at most every 10 ms (it refuses less); the pymodbus client waits 5 ms.
TEST_F(SlaveInterop, StandardTimingAnswersMbpollPollingEvery10Ms) {
  std::string missing;
  const std::string mbpoll = FindPeer("mbpoll", missing);
  ASSERT_FALSE(mbpoll.empty()) << missing;
  ASSERT_NO_FATAL_FAILURE(StartSlave("8N1", "standard", kStandardBaud));

  auto argv = MbpollLine(mbpoll, kStandardBaud);
  argv.insert(argv.end(), {"-l", "10", "-t", "4", "-r", "0", "-c", "5", cable_->Com1().string()});
  Child poller(argv, dir_.path(), "mbpoll");
  // 13 lines of settings, then 6 for each poll; 40 polls, then Ctrl-C as a user stops it.
  constexpr std::size_t kPolls = 40;
  ASSERT_TRUE(poller.WaitForLines(13 + 6 * kPolls, 30s)) << Report(poller);
  kill(poller.pid(), SIGINT);
  ASSERT_EQ(poller.Wait(10s), 0) << Report(poller);

  const std::string out = poller.Out();
  int sent = -1, answered = -1, errors = -1;
  const auto summary = out.find(" poll statistics ---\n");
  ASSERT_NE(summary, std::string::npos) << out;
  ASSERT_EQ(std::sscanf(out.c_str() + summary, " poll statistics ---\n%d frames transmitted, %d received, %d errors",
                        &sent, &answered, &errors),
            3)
      << out;
  EXPECT_EQ(errors, 0) << out;
  // Only the poll under way at Ctrl-C may have gone without its answer.
  EXPECT_GE(answered, sent - 1) << out;
  EXPECT_GE(answered, static_cast<int>(kPolls)) << out;
  std::string every;
  for (int i = 0; i < answered; ++i) every += std::string(every.empty() ? "" : " ") + "1234 65534 0 16464 40000";
  EXPECT_EQ(MbpollOutcome(out), every);

  auto window = StopSlave();
  ExpectAllAnswered(window, sent, sent - answered);
}

TEST_F(SlaveInterop, StandardTimingAnswersPymodbusRtuPollingEvery5Ms) {
  std::string missing;
  const std::string python = PythonPeer(missing);
  ASSERT_FALSE(python.empty()) << missing;
  ASSERT_NO_FATAL_FAILURE(StartSlave("8N1", "standard", kStandardBaud));

  constexpr int kPolls = 60;
  const auto results = PymodbusClient(
      python, dir_.path(), {"--rtu", "--gap", "5", cable_->Com1().string(), std::to_string(kStandardBaud), kSlaveId},
      std::vector<std::string>(kPolls, "read_holding 0 5"));
  const nlohmann::json expected = {{"step", "read_holding 0 5"}, {"registers", {1234, 65534, 0, 16464, 40000}}};
  EXPECT_EQ(std::count(results.begin(), results.end(), expected), kPolls) << results;

  auto window = StopSlave();
  ExpectAllAnswered(window, kPolls);
}

}  // namespace
}  // namespace quorvel::interop
