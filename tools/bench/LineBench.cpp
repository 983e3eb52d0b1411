// Transactions per second on a paced virtual serial line: our master in each
// line timing, served by the program's own event loop (woken by its line or
// its next deadline), and a plain libmodbus client loop, each reading 10
// holding registers from a libmodbus RTU server, set against what the line
// itself can carry; then the same reads over Modbus TCP on loopback, our
// master against a libmodbus server and a libmodbus client against our slave.

#include <modbus.h>

#include <algorithm>
#include <array>
#include <atomic>
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
#include "app/PollLoop.h"
#include "app/frmQuorvelMain.h"
#include "serial/LineTiming.h"
#include "serial/PortEntry.h"

namespace {

using namespace quorvel;
using namespace quorvel::bench;
using Steady = std::chrono::steady_clock;

constexpr int kRegisters = 10;
constexpr int kRequestChars = 8;                    // address, function, start, count, CRC
constexpr int kResponseChars = 5 + 2 * kRegisters;  // address, function, byte count, data, CRC
constexpr double kBitsPerChar = 11;                 // start, 8 data, parity or second stop, stop

double Seconds(Steady::duration d) { return std::chrono::duration<double>(d).count(); }

// What the line allows: both frames and both silences back to back.
double LimitTps(int baud) {
  return 1000 / ((kRequestChars + kResponseChars) * CharacterMs(baud) + 2 * SilenceT35Ms(baud));
}

// What Classic timing was designed to give: both frames, and the 32 ms gap
// that ends the answer.
double ClassicBoundTps(int baud) { return 1000 / ((kRequestChars + kResponseChars) * CharacterMs(baud) + 32); }

struct Outcome {
  int good = 0;
  int failed = 0;
  double seconds = 0;
  double Tps() const { return seconds > 0 ? good / seconds : 0; }
};

// Our master on COM1 (mapped to `path`) with `timing`, until `seconds` have
// passed and the transaction then under way has ended.
Outcome RunOurMaster(const std::string& path, int baud, LineTiming timing, double seconds, const std::string& project) {
  platform::SystemClock clock;
  platform::PortMap ports;
  ports.Set(1, path);
  frmQuorvelMain frame(clock, ports);
  std::vector<std::string> messages;
  frame.SetMsgBoxSink([&](const std::string& text) { messages.push_back(text); });
  frame.SetShowMsgSink([&](const std::string& text) { messages.push_back(text); });
  frame.Port(1).dcb.BaudRate = static_cast<std::uint32_t>(baud);
  frame.Port(1).Timing = timing;

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
  PollLoop loop(frame, clock);
  auto now = start;
  while ((now < end || port.Busy) && now < giveUp) {
    loop.Run({}, std::chrono::duration<double, std::milli>(giveUp - now).count());
    now = Steady::now();
  }

  const MODBUS::TrafficCounters& c = window->Counters();
  const int completed = c.RequestCount - (port.Busy ? 1 : 0);
  Outcome outcome;
  outcome.failed = c.TOErr + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr + c.Ex1 + c.Ex2 + c.Ex3 + c.Ex4;
  outcome.good = completed - outcome.failed;
  outcome.seconds = Seconds(now - start);
  for (const auto& text : messages) std::cerr << "  message: " << text << "\n";
  if (outcome.failed > 0)
    std::cerr << "  " << LineTimingName(timing) << " at " << baud << " baud: time-outs " << c.TOErr << ", invalid "
              << c.DtErr << ", CRC " << c.CRCErr << ", frame " << c.FrErr << "\n";
  return outcome;
}

Outcome RunOurMaster(int baud, LineTiming timing, double seconds, const std::string& project) {
  ServedLine line(baud);
  return RunOurMaster(line.ClientPath(), baud, timing, seconds, project);
}

// The same reads with libmodbus as the master, one after the other.
Outcome RunLibmodbus(modbus_t* client, double seconds) {
  std::array<std::uint16_t, kRegisters> registers{};
  Outcome outcome;
  const auto start = Steady::now();
  const auto end = start + std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(seconds));
  auto now = start;
  while (now < end) {
    if (modbus_read_registers(client, 0, kRegisters, registers.data()) == kRegisters) {
      ++outcome.good;
    } else {
      ++outcome.failed;
    }
    now = Steady::now();
  }
  outcome.seconds = Seconds(now - start);
  return outcome;
}

Outcome RunLibmodbus(int baud, double seconds) {
  ServedLine line(baud);
  ModbusContext client = ConnectRtu(line.ClientPath(), baud);
  return RunLibmodbus(client.get(), seconds);
}

// A libmodbus client reading from our Slave, served as a Modbus TCP server
// on a loopback port by the program's own event loop on a second thread.
Outcome RunOurSlaveOverTcp(double seconds, const std::string& project) {
  platform::SystemClock clock;
  platform::PortMap ports;
  const int port = FreeTcpPort();
  ports.Set(1, "mbtcp-listen://127.0.0.1:" + std::to_string(port));
  frmQuorvelMain frame(clock, ports);
  std::vector<std::string> messages;
  frame.SetMsgBoxSink([&](const std::string& text) { messages.push_back(text); });
  frame.SetShowMsgSink([&](const std::string& text) { messages.push_back(text); });
  frmQuorvel* window = frame.OpenProject(project);
  if (!window) throw std::runtime_error("the benchmark project did not load");
  window->SetMode(kSlave);
  window->SetID(kSlaveId);
  window->SetCOM(1);
  window->SetConnected(true);
  frame.OpenCOM();
  if (!frame.PortsActive())
    throw std::runtime_error("the server did not open: " + (messages.empty() ? "" : messages[0]));

  std::atomic<bool> stop{false};
  std::thread serving([&] {
    PollLoop loop(frame, clock);
    while (!stop) loop.Run({}, 50);
  });
  Outcome outcome;
  try {
    ModbusContext client = ConnectTcp(port);
    std::array<std::uint16_t, kRegisters> registers{};
    if (modbus_read_registers(client.get(), 0, kRegisters, registers.data()) != kRegisters ||
        registers[kRegisters - 1] != 0x1111 * (kRegisters - 1))
      throw std::runtime_error("our slave did not answer what its panel holds");
    outcome = RunLibmodbus(client.get(), seconds);
  } catch (...) {
    stop = true;
    serving.join();
    throw;
  }
  stop = true;
  serving.join();
  return outcome;
}

// Modbus TCP over loopback: our master against a libmodbus server in each
// timing, a libmodbus client against the same, and a libmodbus client
// against our slave. The line hands whole frames, so no silence is waited
// for; what is left is the program's own turn-around.
void RunTcp(double seconds, const std::string& master, const std::string& slave) {
  std::printf("\nModbus TCP over loopback, %d holding registers, %g s each: transactions a second\n", kRegisters,
              seconds);
  std::printf("%-40s %9s %s\n", "", "per s", "failed");
  const auto print = [](const char* what, const Outcome& o) {
    std::printf("%-40s %9.0f %d\n", what, o.Tps(), o.failed);
    if (o.good == 0) throw std::runtime_error(std::string("no transaction succeeded: ") + what);
  };
  for (const LineTiming timing : {LineTiming::Classic, LineTiming::Standard, LineTiming::Fast}) {
    ServedTcp server;
    const std::string what = "our master (" + std::string(LineTimingName(timing)) + ") -> libmodbus server";
    print(what.c_str(),
          RunOurMaster("mbtcp://127.0.0.1:" + std::to_string(server.Port()), 19200, timing, seconds, master));
  }
  {
    ServedTcp server;
    ModbusContext client = ConnectTcp(server.Port());
    print("libmodbus client -> libmodbus server", RunLibmodbus(client.get(), seconds));
  }
  print("libmodbus client -> our slave", RunOurSlaveOverTcp(seconds, slave));
}

struct Row {
  int baud;
  Outcome classic, standard, fast, library;
};

double Percent(double part, double whole) { return whole > 0 ? 100 * part / whole : 0; }

// Whether every figure meets its target; prints the table.
bool PrintTable(const std::vector<Row>& rows) {
  std::printf("\nReading %d holding registers over the paced null modem (%g bits a character), transactions a second\n",
              kRegisters, kBitsPerChar);
  std::printf("  limit: %d + %d characters and two t3.5 silences; Classic's bound: both frames and its 32 ms gap\n",
              kRequestChars, kResponseChars);
  std::printf("%8s %9s %9s %9s %9s %9s %9s  %-14s %-14s %-14s %s\n", "baud", "Classic", "Standard", "Fast", "libmodbus",
              "limit", "bound", "Classic/bound", "Standard/limit", "Fast/libmodbus", "failed (C, S, F, l)");
  bool met = true;
  for (const Row& r : rows) {
    const double limit = LimitTps(r.baud);
    const double bound = ClassicBoundTps(r.baud);
    const double classic = Percent(r.classic.Tps(), bound);
    const double standard = Percent(r.standard.Tps(), limit);
    const double fast = Percent(r.fast.Tps(), r.library.Tps());
    const double standardTarget = r.baud <= 19200 ? 95 : 90;
    const auto mark = [&met](double value, double target) {
      met = met && value >= target;
      return value >= target ? ' ' : '!';
    };
    std::printf(
        "%8d %9.1f %9.1f %9.1f %9.1f %9.1f %9.1f  %6.1f%% %c      %6.1f%% %c      %6.1f%% %c      %d, %d, %d, %d\n",
        r.baud, r.classic.Tps(), r.standard.Tps(), r.fast.Tps(), r.library.Tps(), limit, bound, classic,
        mark(classic, 95), standard, mark(standard, standardTarget), fast, mark(fast, 95), r.classic.failed,
        r.standard.failed, r.fast.failed, r.library.failed);
  }
  std::printf(
      "targets: Classic >= 95%% of its bound; Standard >= 95%% of the limit up to 19200 baud, >= 90%% above;\n"
      "Fast >= 95%% of libmodbus; '!' marks a miss\n");
  return met;
}

}  // namespace

// `line_bench [serial|tcp]`: both parts, or the one named.
int main(int argc, char** argv) {
  const std::string only = argc > 1 ? argv[1] : "";
  try {
    const ScratchDir scratch;
    const std::string project = WriteReadProject(scratch.Path(), kRegisters, 0);
    if (only == "tcp") {
      RunTcp(2.0, project, WriteReadProject(scratch.Path(), kRegisters, 0, true));
      return 0;
    }
    // Slow lines get longer runs, so that each gives a hundred transactions or
    // more; the whole run stays under a minute.
    const std::array<std::pair<int, double>, 3> lines = {{{9600, 4.0}, {19200, 3.0}, {115200, 2.0}}};
    std::vector<Row> rows;
    for (const auto& [baud, seconds] : lines) {
      std::printf("%d baud, %g s each: our master Classic, Standard, Fast; libmodbus...\n", baud, seconds);
      std::fflush(stdout);
      Row row{baud, RunOurMaster(baud, LineTiming::Classic, seconds, project),
              RunOurMaster(baud, LineTiming::Standard, seconds, project),
              RunOurMaster(baud, LineTiming::Fast, seconds, project), RunLibmodbus(baud, seconds)};
      rows.push_back(row);
    }
    const bool met = PrintTable(rows);
    if (only != "serial") RunTcp(2.0, project, WriteReadProject(scratch.Path(), kRegisters, 0, true));
    for (const Row& r : rows) {
      for (const Outcome* o : {&r.classic, &r.standard, &r.fast, &r.library}) {
        if (o->good == 0) {
          std::fprintf(stderr, "no transaction succeeded at %d baud\n", r.baud);
          return 1;
        }
      }
    }
    if (!met) std::printf("some figures missed their targets\n");
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "line_bench: %s\n", e.what());
    return 1;
  }
}
