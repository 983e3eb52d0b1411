// quorvel-cli monitor: listens on a port and prints every frame heard as it
// comes, one line each: as text, or as one JSON object a line for scripts.
// It never sends. Requests are paired with the answers that follow them, so
// that an answer is printed with the address of the block it carries.

#include <nlohmann/json.hpp>

#include <chrono>
#include <ostream>

#include "app/cli/PortArgs.h"
#include "device/MonitorPairing.h"
#include "modbus/FrameDecode.h"
#include "platform/StopSignals.h"

namespace quorvel::cli {
namespace {

constexpr const char* kMonitorOptions[] = {"--map", "--com", "--line", "--seconds", "--timing"};
constexpr const char* kMonitorFlags[] = {"--json"};

nlohmann::ordered_json FrameJson(double seconds, std::span<const std::uint8_t> bytes, const MODBUS::DecodedFrame& f) {
  nlohmann::ordered_json j = {{"time", seconds}, {"bytes", MODBUS::HexBytes(bytes)}, {"ok", f.Ok()}};
  if (f.slave >= 0) j["slave"] = f.slave;
  if (f.function >= 0) j["function"] = f.function;
  j["kind"] = std::string(MODBUS::RoleName(f.role));
  if (f.role == MODBUS::FrameRole::Exception) j["exception"] = f.exception;
  if (f.Ok() && f.address >= 0) {
    j["address"] = f.address;
    j["count"] = f.count;
    if (!f.values.empty()) j["values"] = f.values;
  }
  return j;
}

}  // namespace

int RunMonitor(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kMonitorOptions, options, error, kMonitorFlags)) return UsageError(io, "monitor", error);
  if (!options.positional.empty()) return UsageError(io, "monitor", "no file or bytes: it only listens");
  PortEntry entry;
  PortChoice choice;
  if (const int status = ReadPortOptions("monitor", options, choice, entry, io); status != kOk) return status;
  double seconds = 0;
  if (const int status = ReadSeconds("monitor", options, seconds, io); status != kOk) return status;
  const bool json = options.has("--json");
  entry.Mode = kModeMonitor;

  const platform::StopSignals stop;
  platform::SystemClock clock;
  LonePort lone(entry, clock, choice.map, io);
  std::int16_t com = choice.com;
  if (!lone.Port().OpenCOM(com)) return kFailed;

  const double startMs = clock.GetTimeMs();
  const std::int64_t startUs = clock.Nanoseconds() / 1000;
  MonitorPairing pairing;
  entry.Traffic->SetListener([&](const TrafficRecord& r) {
    const MonitorPairing::Heard heard = pairing.Take(r.bytes, r.ascii, r.response);
    if (json) {
      io.out << FrameJson(static_cast<double>(r.timeUs - startUs) / 1e6, r.bytes, heard.frame).dump() << "\n";
    } else {
      io.out << LocalTime(entry.Traffic->WallUs(r.timeUs)) << " COM" << com << " " << VerdictName(r.verdict, r.ascii)
             << " | " << MODBUS::HexBytes(r.bytes) << " | " << MODBUS::Summary(heard.frame) << "\n";
    }
    io.out.flush();
  });
  const double endMs = startMs + seconds * 1000;
  while (seconds == 0 || clock.GetTimeMs() < endMs) {
    const double left = seconds == 0 ? 1000 : endMs - clock.GetTimeMs();
    if (WaitOnPort(lone.Port(), clock, stop.fd(), left)) break;
    lone.Port().Hit();
  }
  entry.Traffic->SetListener({});
  return kOk;
}

}  // namespace quorvel::cli
