// Transactions per second on a paced virtual serial line: our master, driven
// by the frame's two timers, and a plain libmodbus client loop, each reading
// 10 holding registers from a libmodbus RTU server, set against what the line
// itself can carry.

#include <modbus.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "app/frmQuorvelMain.h"
#include "serial/PortEntry.h"

namespace {

using namespace quorvel;
using namespace quorvel::bench;
using Steady = std::chrono::steady_clock;

constexpr int kRegisters = 10;
constexpr int kRequestChars = 8;                    // address, function, start, count, CRC
constexpr int kResponseChars = 5 + 2 * kRegisters;  // address, function, byte count, data, CRC
constexpr int kSilenceChars = 7;                    // 3.5 characters after each frame
constexpr double kBitsPerChar = 11;                 // start, 8 data, parity or second stop, stop

double Seconds(Steady::duration d) { return std::chrono::duration<double>(d).count(); }

// What the line allows: both frames and both silences back to back.
double LimitTps(int baud) { return baud / (kBitsPerChar * (kRequestChars + kResponseChars + kSilenceChars)); }

struct Outcome {
  int good = 0;
  int failed = 0;
  double seconds = 0;
  double busySeconds = 0;  // our master: time the port spent in transactions
  double Tps() const { return seconds > 0 ? good / seconds : 0; }
};

// Our master on COM1, ticking both timers until `seconds` have passed and the
// transaction then under way has ended. With `realTick` it waits 1 ms between
// ticks as the program's timers do; without, it ticks as fast as it can.
Outcome RunOurMaster(int baud, double seconds, bool realTick, const std::string& project) {
  ServedLine line(baud);
  platform::SystemClock clock;
  platform::PortMap ports;
  ports.Set(1, line.ClientPath());
  frmQuorvelMain frame(clock, ports);
  std::vector<std::string> messages;
  frame.SetMsgBoxSink([&](const std::string& text) { messages.push_back(text); });
  frame.SetShowMsgSink([&](const std::string& text) { messages.push_back(text); });
  frame.Port(1).dcb.BaudRate = static_cast<std::uint32_t>(baud);

  frmQuorvel* window = frame.OpenProject(project);
  if (!window) throw std::runtime_error("the benchmark project did not load");
  window->SetMode(kMaster);
  window->SetCOM(1);
  window->SetConnected(true);
  frame.OpenCOM();
  if (!frame.PortsActive()) throw std::runtime_error("COM1 did not open: " + (messages.empty() ? "" : messages[0]));

  const PortEntry& port = frame.Port(1);
  const auto start = Steady::now();
  const auto end = start + std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(seconds));
  // A transaction ends within its time-out plus a read's total limit; a port
  // still busy well after that is stuck, and the run ends anyway.
  const auto giveUp = end + std::chrono::seconds(3);
  auto now = start;
  // The port's busy time splits a transaction into what the line and the
  // end-of-frame gap take and what the ticks add around them.
  std::optional<Steady::time_point> sentAt;
  Steady::duration busy{};
  while ((now < end || port.Busy) && now < giveUp) {
    if (frame.PollingTimerEnabled()) frame.PollingTimer_Timer();
    if (port.Busy && !sentAt) sentAt = Steady::now();
    if (frame.CheckTimerEnabled()) frame.CheckTimer_Timer();
    if (sentAt && !port.Busy) {
      busy += Steady::now() - *sentAt;
      sentAt.reset();
    }
    if (realTick) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    now = Steady::now();
  }

  const MODBUS::TrafficCounters& c = window->Counters();
  const int completed = c.RequestCount - (port.Busy ? 1 : 0);
  Outcome outcome;
  outcome.failed = c.TOErr + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr + c.Ex1 + c.Ex2 + c.Ex3 + c.Ex4;
  outcome.good = completed - outcome.failed;
  outcome.seconds = Seconds(now - start);
  outcome.busySeconds = Seconds(busy);
  for (const auto& text : messages) std::cerr << "  message: " << text << "\n";
  return outcome;
}

// The same reads with libmodbus as the master, one after the other.
Outcome RunLibmodbus(int baud, double seconds) {
  ServedLine line(baud);
  ModbusContext client = ConnectRtu(line.ClientPath(), baud);
  std::array<std::uint16_t, kRegisters> registers{};
  Outcome outcome;
  const auto start = Steady::now();
  const auto end = start + std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(seconds));
  auto now = start;
  while (now < end) {
    if (modbus_read_registers(client.get(), 0, kRegisters, registers.data()) == kRegisters) {
      ++outcome.good;
    } else {
      ++outcome.failed;
    }
    now = Steady::now();
  }
  outcome.seconds = Seconds(now - start);
  return outcome;
}

struct Row {
  int baud;
  Outcome ticked, busy, library;
};

void PrintTable(const std::vector<Row>& rows) {
  std::printf("\nReading %d holding registers over the paced null modem (%g bits a character)\n", kRegisters,
              kBitsPerChar);
  std::printf("  limit: %d + %d characters and two 3.5-character silences a transaction\n", kRequestChars,
              kResponseChars);
  std::printf("%8s %12s %12s %12s %9s %12s %12s %12s  %s\n", "baud", "ours tps", "ours busy", "libmodbus", "limit",
              "ours/limit", "busy/limit", "libm./limit", "failed (ours, busy, libmodbus)");
  for (const Row& r : rows) {
    const double limit = LimitTps(r.baud);
    std::printf("%8d %12.1f %12.1f %12.1f %9.1f %11.0f%% %11.0f%% %11.0f%%  %d, %d, %d\n", r.baud, r.ticked.Tps(),
                r.busy.Tps(), r.library.Tps(), limit, 100 * r.ticked.Tps() / limit, 100 * r.busy.Tps() / limit,
                100 * r.library.Tps() / limit, r.ticked.failed, r.busy.failed, r.library.failed);
  }
  std::printf(
      "\nms a transaction: ours with the 1 ms tick (port busy), ours busy tick (port busy), libmodbus, limit\n");
  for (const Row& r : rows) {
    const auto ms = [](const Outcome& o, double s) { return o.good > 0 ? 1000 * s / o.good : 0.0; };
    std::printf("%8d %8.2f (%6.2f) %8.2f (%6.2f) %8.2f %8.2f\n", r.baud, ms(r.ticked, r.ticked.seconds),
                ms(r.ticked, r.ticked.busySeconds), ms(r.busy, r.busy.seconds), ms(r.busy, r.busy.busySeconds),
                ms(r.library, r.library.seconds), 1000 / LimitTps(r.baud));
  }
}

}  // namespace

int main() {
  try {
    const ScratchDir scratch;
    const std::string project = WriteReadProject(scratch.Path(), kRegisters, 0);
    // Slow lines get longer runs, so that both give a few hundred transactions
    // or more; the whole run stays under 30 s.
    const std::array<std::pair<int, double>, 2> lines = {{{9600, 5.0}, {115200, 3.0}}};
    std::vector<Row> rows;
    for (const auto& [baud, seconds] : lines) {
      std::printf("%d baud, %g s each: our master with the 1 ms tick, with a busy tick, libmodbus...\n", baud, seconds);
      std::fflush(stdout);
      Row row{baud, RunOurMaster(baud, seconds, true, project), RunOurMaster(baud, seconds, false, project),
              RunLibmodbus(baud, seconds)};
      rows.push_back(row);
    }
    PrintTable(rows);
    for (const Row& r : rows) {
      if (r.ticked.good == 0 || r.busy.good == 0 || r.library.good == 0) {
        std::fprintf(stderr, "no transaction succeeded at %d baud\n", r.baud);
        return 1;
      }
    }
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "line_bench: %s\n", e.what());
    return 1;
  }
}
