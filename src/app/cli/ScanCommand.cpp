// quorvel-cli scan: which slave ids answer on a line, and with --bauds at
// which baud rates. One line per device found on standard output, progress
// on standard error; each id waits at most --timeout, so the whole scan
// takes at most ids x timeout for each baud rate.

#include <ostream>

#include "app/DeviceScan.h"
#include "app/cli/PortArgs.h"
#include "platform/StopSignals.h"

namespace quorvel::cli {
namespace {

// How long past its time-out the port may take to report one; a port that
// takes longer has failed.
constexpr double kReportSlackMs = 2000;

struct ScanRun {
  clsCOM& port;
  const platform::Clock& clock;
  int stopFd;
  std::int32_t timeout;
};

// Asks every id of `scan` through the port; false when stopped or when the
// port failed (said on err).
bool AskEveryId(DeviceScan& scan, ScanRun& run, const std::string& where, Io& io) {
  int shownPercent = -10;
  while (!scan.Done()) {
    const int id = scan.CurrentId();
    bool answered = false;
    const auto sink = [&](bool timedOut, std::span<const std::uint8_t> answer) {
      answered = true;
      if (const auto hit = scan.Take(timedOut, answer)) {
        io.out << hit->id << where << ": " << hit->what << std::endl;
        io.err << "scan: found " << hit->id << "\n";
      }
    };
    // The port may still be finishing the last exchange (an RTU gap): give it that time.
    const double sendBy = run.clock.GetTimeMs() + kReportSlackMs;
    while (!run.port.SendFrame(scan.Message(), true, run.timeout, sink)) {
      if (run.clock.GetTimeMs() > sendBy) {
        io.err << "scan: the port does not take a request for id " << id << "\n";
        return false;
      }
      if (WaitOnPort(run.port, run.clock, run.stopFd, 5)) return false;
      run.port.Hit();
    }
    const double reportBy = run.clock.GetTimeMs() + run.timeout + kReportSlackMs;
    while (!answered) {
      if (run.clock.GetTimeMs() > reportBy) {
        io.err << "scan: no word from the port about id " << id << "\n";
        return false;
      }
      if (WaitOnPort(run.port, run.clock, run.stopFd, 1000)) return false;
      run.port.Hit();
    }
    if (scan.Percent() >= shownPercent + 10 || scan.Done()) {
      shownPercent = scan.Percent();
      io.err << "scan" << where << ": " << shownPercent << "% (" << scan.Hits().size() << " found)\n";
    }
  }
  return true;
}

}  // namespace

int RunScan(const Args& args, Io& io) {
  static constexpr const char* kScanOptions[] = {"--map", "--com",     "--line", "--timing",
                                                 "--ids", "--timeout", "--bauds"};
  Options options;
  std::string error;
  if (!SplitOptions(args, kScanOptions, options, error)) return UsageError(io, "scan", error);
  if (!options.positional.empty()) return UsageError(io, "scan", "unexpected '" + options.positional[0] + "'");
  PortEntry entry;
  PortChoice choice;
  if (const int status = ReadPortOptions("scan", options, choice, entry, io); status != kOk) return status;
  std::vector<int> ids;
  for (int id = 1; id <= 247; ++id) ids.push_back(id);
  if (const std::string* text = options.find("--ids")) {
    const auto parsed = ParseIdList(*text, error);
    if (!parsed) return UsageError(io, "scan", error);
    ids = *parsed;
  }
  std::int32_t timeout = 200;
  if (const int status = ReadTimeout("scan", options, 1, 60'000, timeout, io); status != kOk) return status;
  // Without --bauds the line's own rate, and the lines printed carry no rate.
  std::vector<std::uint32_t> bauds;
  if (const std::string* text = options.find("--bauds")) {
    for (std::size_t start = 0; start <= text->size();) {
      const std::size_t comma = std::min(text->find(',', start), text->size());
      const auto baud = ParseInteger(text->substr(start, comma - start), 50, 100'000'000);
      if (!baud) return UsageError(io, "scan", "baud rates are like 9600,19200; not '" + *text + "'");
      bauds.push_back(static_cast<std::uint32_t>(*baud));
      start = comma + 1;
    }
  }
  entry.Mode = kModeMaster;

  const platform::StopSignals stop;
  platform::SystemClock clock;
  std::size_t found = 0;
  for (std::size_t i = 0; i < std::max<std::size_t>(bauds.size(), 1); ++i) {
    std::string where;
    if (!bauds.empty()) {
      entry.dcb.BaudRate = bauds[i];
      where = " at " + std::to_string(bauds[i]) + " baud";
    }
    // A port of its own for each rate: it takes its line settings as it opens.
    LonePort lone(entry, clock, choice.map, io);
    std::int16_t com = choice.com;
    if (!lone.Port().OpenCOM(com)) return kFailed;
    DeviceScan scan(ids, entry.ASCII);
    ScanRun run{lone.Port(), clock, stop.fd(), timeout};
    const bool finished = AskEveryId(scan, run, where, io);
    found += scan.Hits().size();
    if (!finished) return kFailed;
  }
  if (found == 0) {
    io.err << "scan: no device answered\n";
    return kFailed;
  }
  return kOk;
}

}  // namespace quorvel::cli
