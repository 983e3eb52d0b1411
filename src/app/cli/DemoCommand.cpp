// quorvel-cli demo: the sample meter emulated and polled over a virtual
// null-modem line, with nothing to install and no serial port needed.

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <ostream>
#include <thread>

#include "app/Session.h"
#include "app/Settings.h"
#include "app/Startup.h"
#include "app/cli/Cli.h"
#include "app/cli/HeadlessFrame.h"
#include "app/cli/HexArgs.h"
#include "platform/NullModem.h"
#include "platform/SettingsStore.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;
using platform::End;

constexpr const char* kOptions[] = {"--seconds", "--session", "--baud"};
constexpr const char* kFlags[] = {"--headless"};

void PrintWindow(std::ostream& out, frmQuorvel& window, int second) {
  out << "[" << std::setw(4) << second << " s] " << window.Caption() << "\n";
  out << "         " << window.lblStatistic() << "\n";
  const nlohmann::ordered_json state = WindowState(window);
  for (const auto& value : state["values"]) {
    out << "         " << std::left << std::setw(8) << value["label"].get<std::string>() << " " << std::setw(34)
        << value["tooltip"].get<std::string>() << std::right << " " << value["text"].get<std::string>() << "\n";
  }
  out << std::flush;
}

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
int RunDesktop(const std::string& program, const std::string& session, const platform::NullModem& modem, Io& io) {
  char linkDir[] = "/tmp/quorvel-demo-XXXXXX";
  if (!mkdtemp(linkDir)) {
    io.err << "quorvel-cli demo: no folder for the program's link\n";
    return kFailed;
  }
  const std::string ports = "COM1=" + modem.Path(End::A) + ";COM2=" + modem.Path(End::B);
  const pid_t child = fork();
  if (child == 0) {
    setenv("QUORVEL_PORTS", ports.c_str(), 1);
    setenv("QUORVEL_CONNECT_ALL", "1", 1);
    setenv("QUORVEL_LINK_DIR", linkDir, 1);
    // The stop signals are blocked here; the program takes its own.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execl(program.c_str(), program.c_str(), session.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  if (child > 0) waitpid(child, &status, 0);
  std::error_code ec;
  fs::remove_all(linkDir, ec);
  // Ended by Ctrl+C with the demo is a normal end too.
  if (child < 0 || (WIFEXITED(status) && WEXITSTATUS(status) != 0)) {
    io.err << "quorvel-cli demo: the desktop program did not end normally\n";
    return kFailed;
  }
  return kOk;
}

}  // namespace

int RunDemo(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kOptions, options, error, kFlags)) return UsageError(io, "demo", error);
  const bool headless = options.has("--headless");
  if (!options.positional.empty()) return UsageError(io, "demo", "unexpected argument '" + options.positional[0] + "'");
  double seconds = 0;
  if (const std::string* text = options.find("--seconds")) {
    const auto value = ParseDouble(*text);
    if (!value || *value < 0) return UsageError(io, "demo", "not a number of seconds: '" + *text + "'");
    seconds = *value;
  }
  platform::NullModemOptions line;
  line.baudRate = 19200;  // the sample session's rate: the demo shows real line timing
  if (const std::string* text = options.find("--baud")) {
    const auto value = ParseDouble(*text);
    if (!value || *value < 0 || *value > 4'000'000) return UsageError(io, "demo", "not a baud rate: '" + *text + "'");
    line.baudRate = static_cast<int>(*value);
  }
  const std::string* chosen = options.find("--session");
  const std::string session = chosen ? *chosen : ProgramDirectory() + "Coriolis.qvs";

  // Blocked before the line's thread starts, so that every thread has them blocked.
  const platform::StopSignals stop;
  std::unique_ptr<platform::NullModem> modem;
  try {
    modem = std::make_unique<platform::NullModem>(line);
  } catch (const std::exception& failure) {
    io.err << "quorvel-cli demo: no virtual line: " << failure.what() << "\n";
    return kFailed;
  }
  std::thread forwarding([&modem] { modem->Run(); });
  platform::PortMap portMap;
  if (const auto store = platform::OpenUserSettings()) portMap = LoadPortMap(*store);
  portMap.ApplyOverride("COM1=" + modem->Path(End::A));
  portMap.ApplyOverride("COM2=" + modem->Path(End::B));
  io.out << "Virtual null-modem line: COM1 = " << modem->Path(End::A) << ", COM2 = " << modem->Path(End::B) << "\n"
         << "Session: " << session << " (Ctrl+C ends the demo)\n"
         << std::flush;

  int result = kOk;
  if (const std::string desktop = DesktopProgram(headless); !desktop.empty()) {
    io.out << "Starting " << desktop << "; closing its window ends the demo.\n" << std::flush;
    result = RunDesktop(desktop, session, *modem, io);
  } else {
    platform::SystemClock clock;
    HeadlessFrame frame(clock, portMap, [&io](const std::string& text) { io.err << text << "\n"; });
    if (LoadSession(frame, session) && !frame.Devices().empty()) {
      frame.Devices().front()->mnuConnectAll_Click();
      frmQuorvel* master = nullptr;
      for (const auto& window : frame.Devices())
        if (!master && window->Mode() == kMaster) master = window.get();
      int second = 0;
      frame.Drive(stop, seconds, [&] {
        ++second;
        if (master) PrintWindow(io.out, *master, second);
      });
    } else {
      result = kFailed;
    }
  }
  modem->Stop();
  forwarding.join();
  return result;
}

}  // namespace quorvel::cli
