// quorvel-cli gateway: a Modbus TCP server in front of a serial line. Each
// request that comes over TCP goes out on the port as its master would send
// it, and the answer goes back to the client; a request the line leaves
// unanswered gets exception 0x0B. It runs until stopped (or --seconds).

#include <poll.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <ostream>

#include "app/ModbusGateway.h"
#include "app/cli/PortArgs.h"
#include "platform/NetAddress.h"
#include "platform/StopSignals.h"
#include "serial/ModbusTcpServerLine.h"
#include "serial/TrafficLog.h"

namespace quorvel::cli {
namespace {

constexpr const char* kGatewayOptions[] = {"--listen", "--map",     "--com",    "--line",
                                           "--timing", "--timeout", "--seconds"};
constexpr const char* kGatewayFlags[] = {"--verbose"};

// Sleeps until the port or the server has something to do, `maxMs` have
// passed, or the stop came; true for the stop.
bool WaitOnGateway(const clsCOM& port, const ModbusTcpServerLine& server, bool idle, const platform::Clock& clock,
                   int stopFd, double maxMs) {
  const double waitMs = std::clamp(std::min(port.NextDeadlineMs() - clock.GetTimeMs(), maxMs), 0.0, 1000.0);
  const auto ns = static_cast<std::int64_t>(std::ceil(waitMs * 1e6));
  const timespec timeout{static_cast<time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
  // The server is listened to between requests only: the next one waits its turn.
  pollfd fds[3] = {{stopFd, POLLIN, 0},
                   {port.WantsBytes() ? port.Descriptor() : -1, POLLIN, 0},
                   {idle ? server.Descriptor() : -1, POLLIN, 0}};
  const timespec tick{0, 1'000'000};
  ppoll(fds, 3, port.Descriptor() < 0 && waitMs > 1 ? &tick : &timeout, nullptr);
  return (fds[0].revents & POLLIN) != 0;
}

}  // namespace

int RunGateway(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kGatewayOptions, options, error, kGatewayFlags)) return UsageError(io, "gateway", error);
  if (!options.positional.empty()) return UsageError(io, "gateway", "no file or bytes: it serves clients");
  const std::string* listen = options.find("--listen");
  if (listen == nullptr) return UsageError(io, "gateway", "--listen HOST:PORT is needed");
  const std::optional<platform::NetAddress> address =
      platform::ParseHostPort(*listen, platform::NetKind::ModbusTcpListen);
  if (!address) return UsageError(io, "gateway", "an address is like 127.0.0.1:502, not '" + *listen + "'");
  PortEntry entry;
  PortChoice choice;
  if (const int status = ReadPortOptions("gateway", options, choice, entry, io); status != kOk) return status;
  std::int32_t timeout = 1000;
  if (const int status = ReadTimeout("gateway", options, 1, 600'000, timeout, io); status != kOk) return status;
  double seconds = 0;
  if (const int status = ReadSeconds("gateway", options, seconds, io); status != kOk) return status;
  entry.Mode = kModeMaster;

  const platform::StopSignals stop;
  platform::SystemClock clock;
  LonePort lone(entry, clock, choice.map, io);
  std::int16_t com = choice.com;
  if (!lone.Port().OpenCOM(com)) return kFailed;
  const std::string path = "mbtcp-listen://" + *listen;
  ModbusTcpServerLine server(path);
  if (const platform::OpenFailure failure = server.Open({})) {
    // Worded as a port's failure, without the port: "PATH: cause."
    const std::string text = platform::OpenFailureText(0, failure);
    io.err << "Can not listen on " << *listen << "\n" << text.substr(text.find(" is ") + 4) << "\n";
    return kFailed;
  }
  // The port actually taken, which the caller needs when it asked for port 0.
  io.out << "Listening on " << address->host << ":" << server.Port() << ", forwarding to COM" << com << "\n";
  io.out.flush();

  ModbusGateway::Report report;
  if (options.has("--verbose"))
    report = [&](const std::string& line) {
      io.out << LocalTime(entry.Traffic->WallUs(clock.Nanoseconds() / 1000)) << " " << line << "\n";
      io.out.flush();
    };
  ModbusGateway gateway(server, lone.Port(), entry.ASCII, timeout, report);
  const double endMs = clock.GetTimeMs() + seconds * 1000;
  while (seconds == 0 || clock.GetTimeMs() < endMs) {
    const double left = seconds == 0 ? 1000 : endMs - clock.GetTimeMs();
    if (WaitOnGateway(lone.Port(), server, gateway.Idle(), clock, stop.fd(), left)) break;
    lone.Port().Hit();
    gateway.Service();
  }
  return kOk;
}

}  // namespace quorvel::cli
