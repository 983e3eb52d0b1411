// What serving the ports costs the processor when there is little traffic,
// as user plus system CPU time over wall time:
//  - 16 Master windows (four on each of four ports) reading 10 holding
//    registers once a second from libmodbus servers over paced virtual
//    lines, driven by the headless loop, and, for comparison, by a fixed
//    1 ms tick as the loops were before; only the driving thread counts;
//  - the headless demo (quorvel-cli demo --headless) run as a child, the
//    whole process counted, its virtual line's thread with it.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "app/PollLoop.h"
#include "app/frmQuorvelMain.h"

namespace {

using namespace quorvel;
using namespace quorvel::bench;
using Steady = std::chrono::steady_clock;

constexpr int kBaud = 19200;
constexpr int kPorts = 4;
constexpr int kWindows = 16;
constexpr int kRegisters = 10;
constexpr int kPeriodMs = 1000;
constexpr double kLoopSeconds = 10;
constexpr double kTickSeconds = 5;
constexpr double kDemoSeconds = 8;

struct Usage {
  double wallSeconds = 0;
  double cpuSeconds = 0;
  int requests = -1;  // -1: not counted
  int failed = 0;
  double Percent() const { return wallSeconds > 0 ? 100 * cpuSeconds / wallSeconds : 0; }
};

double CpuSeconds(const rusage& r) {
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(r.ru_utime) + seconds(r.ru_stime);
}

double ThreadCpuSeconds() {
  rusage r{};
  getrusage(RUSAGE_THREAD, &r);
  return CpuSeconds(r);
}

double Seconds(Steady::duration d) { return std::chrono::duration<double>(d).count(); }

Usage RunPolling(const std::string& project, double seconds, bool fixedTick) {
  std::vector<std::unique_ptr<ServedLine>> lines;
  platform::PortMap ports;
  for (int com = 1; com <= kPorts; ++com) {
    lines.push_back(std::make_unique<ServedLine>(kBaud));
    ports.Set(com, lines.back()->ClientPath());
  }
  platform::SystemClock clock;
  frmQuorvelMain frame(clock, ports);
  std::vector<std::string> messages;
  frame.SetMsgBoxSink([&](const std::string& text) { messages.push_back(text); });
  frame.SetShowMsgSink([&](const std::string& text) { messages.push_back(text); });
  for (int com = 1; com <= kPorts; ++com) frame.Port(com).dcb.BaudRate = kBaud;
  for (int i = 0; i < kWindows; ++i) {
    frmQuorvel* window = frame.OpenProject(project);
    if (!window) throw std::runtime_error("the benchmark project did not load");
    window->SetMode(kMaster);
    window->SetCOM(static_cast<std::int16_t>(1 + i % kPorts));
    window->SetConnected(true);
  }
  frame.OpenCOM();
  if (!frame.PortsActive())
    throw std::runtime_error("the ports did not open: " + (messages.empty() ? "" : messages[0]));

  const double cpuBefore = ThreadCpuSeconds();
  const auto start = Steady::now();
  const auto end = start + std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(seconds));
  if (fixedTick) {
    for (auto now = start; now < end; now = Steady::now()) {
      frame.TimersTick();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  } else {
    PollLoop loop(frame, clock);
    for (auto now = start; now < end; now = Steady::now())
      loop.Run({}, std::chrono::duration<double, std::milli>(end - now).count());
  }
  Usage usage;
  usage.cpuSeconds = ThreadCpuSeconds() - cpuBefore;
  usage.wallSeconds = Seconds(Steady::now() - start);
  usage.requests = 0;
  for (const auto& window : frame.Devices()) {
    const MODBUS::TrafficCounters& c = window->Counters();
    usage.requests += c.RequestCount;
    usage.failed += c.TOErr + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr + c.Ex1 + c.Ex2 + c.Ex3 + c.Ex4;
  }
  for (const auto& text : messages) std::fprintf(stderr, "  message: %s\n", text.c_str());
  return usage;
}

Usage RunDemo(double seconds) {
  const std::string program = std::string(QUORVEL_BIN_DIR) + "/quorvel-cli";
  const std::string duration = std::to_string(seconds);
  const auto start = Steady::now();
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot start the demo");
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    execl(program.c_str(), program.c_str(), "demo", "--headless", "--seconds", duration.c_str(),
          static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  rusage r{};
  if (wait4(child, &status, 0, &r) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw std::runtime_error("the demo did not end normally: " + program);
  Usage usage;
  usage.wallSeconds = Seconds(Steady::now() - start);
  usage.cpuSeconds = CpuSeconds(r);
  return usage;
}

void PrintRow(const char* what, const Usage& u, const char* target) {
  std::printf("%-44s %7.1f %8.3f %7.2f%% %8s", what, u.wallSeconds, u.cpuSeconds, u.Percent(), target);
  if (u.requests >= 0) std::printf(" %9d %7d", u.requests, u.failed);
  std::printf("\n");
}

}  // namespace

int main() {
  try {
    const ScratchDir scratch;
    const std::string project = WriteReadProject(scratch.Path(), kRegisters, kPeriodMs);
    std::printf("%d Master windows on %d ports at %d baud, each reading %d registers every %d ms...\n", kWindows,
                kPorts, kBaud, kRegisters, kPeriodMs);
    std::fflush(stdout);
    const Usage loop = RunPolling(project, kLoopSeconds, false);
    const Usage tick = RunPolling(project, kTickSeconds, true);
    std::printf("quorvel-cli demo --headless --seconds %g...\n", kDemoSeconds);
    std::fflush(stdout);
    const Usage demo = RunDemo(kDemoSeconds);

    std::printf("\n%-44s %7s %8s %8s %8s %9s %7s\n", "CPU time over wall time", "wall s", "CPU s", "CPU", "target",
                "requests", "failed");
    PrintRow("16 windows polling, headless loop", loop, "< 1%");
    PrintRow("16 windows polling, fixed 1 ms tick", tick, "");
    PrintRow("demo --headless (whole process)", demo, "< 3%");
    if (loop.requests == 0 || loop.failed != 0) {
      std::fprintf(stderr, "cpu_bench: the headless loop did not poll cleanly\n");
      return 1;
    }
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "cpu_bench: %s\n", e.what());
    return 1;
  }
}
