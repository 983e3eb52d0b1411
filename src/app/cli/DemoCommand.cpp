// quorvel-cli demo: the sample meter emulated and polled on a virtual RS-485
// bus, with a Monitor listening on a third end, nothing to install and no
// serial port needed.

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <ostream>
#include <thread>

#include "app/DefaultPlacement.h"
#include "app/Session.h"
#include "app/Settings.h"
#include "app/Startup.h"
#include "app/cli/Cli.h"
#include "app/cli/HeadlessFrame.h"
#include "app/cli/HexArgs.h"
#include "platform/SettingsStore.h"
#include "platform/VirtualBus.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;

// The bus's ends are COM1 .. COM3: the session's master and slave, and the Monitor.
constexpr std::size_t kBusEnds = 3;
constexpr std::int16_t kMonitorCom = 3;

constexpr const char* kOptions[] = {"--seconds", "--session", "--baud"};
constexpr const char* kFlags[] = {"--headless"};

// The caption and statistics of a window, and with `values` its panel.
void PrintWindow(std::ostream& out, frmQuorvel& window, int second, bool values) {
  out << "[" << std::setw(4) << second << " s] " << window.Caption() << "\n";
  out << "         " << window.lblStatistic() << "\n";
  if (!values) return;
  const nlohmann::ordered_json state = WindowState(window);
  for (const auto& value : state["values"]) {
    out << "         " << std::left << std::setw(8) << value["label"].get<std::string>() << " " << std::setw(34)
        << value["tooltip"].get<std::string>() << std::right << " " << value["text"].get<std::string>() << "\n";
  }
}

frmQuorvel* FirstWindow(frmQuorvelMain& frame, std::int16_t mode) {
  for (const auto& window : frame.Devices())
    if (window->Mode() == mode) return window.get();
  return nullptr;
}

// A Monitor of the first Master's project and slave on COM3, with COM1's line,
// unless the session has a window there already. It only listens, so it sees
// the same values as the Master without adding a byte to the bus.
void AddMonitor(frmQuorvelMain& frame) {
  const frmQuorvel* master = FirstWindow(frame, kMaster);
  if (!master) return;
  for (const auto& window : frame.Devices())
    if (window->COM() == kMonitorCom) return;
  PortEntry& port = frame.Port(kMonitorCom);
  const PortEntry& polled = frame.Port(master->COM());
  port.dcb = polled.dcb;
  port.ASCII = polled.ASCII;
  port.ASCII8bits = polled.ASCII8bits;
  port.Timing = polled.Timing;
  port.Echo = polled.Echo;
  const std::string project = master->ProjectFile();
  const std::uint8_t id = master->ID();
  frmQuorvel* monitor = frame.OpenProject(project);
  if (!monitor) return;
  monitor->SetMode(kMonitor);
  monitor->SetID(id);
  monitor->SetCOM(kMonitorCom);
}

// A scratch folder of the demo's, removed with what it holds.
class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/quorvel-demo-XXXXXX";
    if (mkdtemp(pattern)) path_ = pattern;
  }
  ~ScratchDir() {
    std::error_code ec;
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// The desktop program beside this one, when there is a display to show it on.
std::string DesktopProgram(bool headless) {
  if (headless) return {};
  const char* x11 = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  if ((!x11 || !*x11) && (!wayland || !*wayland)) return {};
  const fs::path program = fs::path(ProgramDirectory()) / "quorvel";
  return access(program.c_str(), X_OK) == 0 ? program.string() : std::string();
}

// Runs the desktop program on the session until its frame closes. It gets a
// link of its own, so that a copy the user already runs does not take the
// session over (and ignore it, as a running copy ignores sessions).
int RunDesktop(const std::string& program, const std::string& session, const std::string& ports,
               const fs::path& linkDir, Io& io) {
  const pid_t child = fork();
  if (child == 0) {
    setenv("QUORVEL_PORTS", ports.c_str(), 1);
    setenv("QUORVEL_CONNECT_ALL", "1", 1);
    setenv("QUORVEL_TILE_TO_FIT", "1", 1);
    setenv("QUORVEL_LINK_DIR", linkDir.c_str(), 1);
    // The stop signals are blocked here; the program takes its own.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execl(program.c_str(), program.c_str(), session.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  if (child > 0) waitpid(child, &status, 0);
  // Ended by Ctrl+C with the demo is a normal end too.
  if (child < 0 || (WIFEXITED(status) && WEXITSTATUS(status) != 0)) {
    io.err << "quorvel-cli demo: the desktop program did not end normally\n";
    return kFailed;
  }
  return kOk;
}

// The desktop program on a copy of the frame's session, Monitor included,
// written into `scratch`, with the program's link beside it.
int ShowOnDesktop(const std::string& desktop, frmQuorvelMain& frame, const fs::path& name, const fs::path& scratch,
                  const std::string& ports, Io& io) {
  const std::string session = (scratch / name).string();
  const fs::path linkDir = scratch / "link";
  GiveDefaultPlacements(frame);
  std::error_code ec;
  if (!fs::create_directory(linkDir, ec) || !SaveSession(frame, session)) {
    io.err << "quorvel-cli demo: cannot write the session with the Monitor in " << scratch.string() << "\n";
    return kFailed;
  }
  io.out << "Starting " << desktop << "; closing its window ends the demo.\n" << std::flush;
  return RunDesktop(desktop, session, ports, linkDir, io);
}

// Without a screen: the Master's panel and statistics and the Monitor's
// statistics, once a second.
void PrintWhileRunning(HeadlessFrame& frame, const platform::StopSignals& stop, double seconds, Io& io) {
  frame.Devices().front()->mnuConnectAll_Click();
  frmQuorvel* master = FirstWindow(frame, kMaster);
  frmQuorvel* monitor = FirstWindow(frame, kMonitor);
  int second = 0;
  frame.Drive(stop, seconds, [&] {
    ++second;
    if (master) PrintWindow(io.out, *master, second, true);
    if (monitor) PrintWindow(io.out, *monitor, second, false);
    io.out << std::flush;
  });
}

}  // namespace

int RunDemo(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kOptions, options, error, kFlags)) return UsageError(io, "demo", error);
  const bool headless = options.has("--headless");
  if (!options.positional.empty()) return UsageError(io, "demo", "unexpected argument '" + options.positional[0] + "'");
  double seconds = 0;
  if (const int status = ReadSeconds("demo", options, seconds, io); status != kOk) return status;
  platform::VirtualBusOptions line;
  line.ends = kBusEnds;
  line.baudRate = 19200;  // the sample session's rate: the demo shows real line timing
  if (const std::string* text = options.find("--baud")) {
    const auto value = ParseDouble(*text);
    if (!value || *value < 0 || *value > 4'000'000) return UsageError(io, "demo", "not a baud rate: '" + *text + "'");
    line.baudRate = static_cast<int>(*value);
  }
  const std::string* chosen = options.find("--session");
  const std::string session = chosen ? *chosen : ProgramDirectory() + "Coriolis.qvs";
  const ScratchDir scratch;
  if (scratch.path().empty()) {
    io.err << "quorvel-cli demo: no scratch folder in /tmp\n";
    return kFailed;
  }

  // Blocked before the bus's thread starts, so that every thread has them blocked.
  const platform::StopSignals stop;
  std::unique_ptr<platform::VirtualBus> bus;
  try {
    bus = std::make_unique<platform::VirtualBus>(line);
  } catch (const std::exception& failure) {
    io.err << "quorvel-cli demo: no virtual bus: " << failure.what() << "\n";
    return kFailed;
  }
  std::thread forwarding([&bus] { bus->Run(); });
  platform::PortMap portMap;
  if (const auto store = platform::OpenUserSettings()) portMap = LoadPortMap(*store);
  std::string ports;
  io.out << "Virtual RS-485 bus:";
  for (std::size_t end = 0; end < kBusEnds; ++end) {
    const std::string mapping = "COM" + std::to_string(end + 1) + "=" + bus->Path(end);
    portMap.ApplyOverride(mapping);
    ports += (end ? ";" : "") + mapping;
    io.out << (end ? ", " : " ") << "COM" << end + 1 << " = " << bus->Path(end);
  }
  io.out << "\nSession: " << session << ", with a Monitor on COM" << kMonitorCom << " (Ctrl+C ends the demo)\n"
         << std::flush;

  platform::SystemClock clock;
  HeadlessFrame frame(clock, portMap, [&io](const std::string& text) { io.err << text << "\n"; });
  int result = kFailed;
  if (LoadSession(frame, session) && !frame.Devices().empty()) {
    AddMonitor(frame);
    if (const std::string desktop = DesktopProgram(headless); !desktop.empty()) {
      result = ShowOnDesktop(desktop, frame, fs::path(session).filename(), scratch.path(), ports, io);
    } else {
      PrintWhileRunning(frame, stop, seconds, io);
      result = kOk;
    }
  }
  bus->Stop();
  forwarding.join();
  return result;
}

}  // namespace quorvel::cli
