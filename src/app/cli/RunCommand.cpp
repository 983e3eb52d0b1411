// quorvel-cli run: a project opened headless as one device window, or a
// session with all of its windows, connected and driven by the frame's timers
// for a while, with values typed and user requests chosen on the way; then
// the windows' state as JSON.

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <functional>
#include <optional>
#include <ostream>

#include "app/CodePageSetting.h"
#include "app/DefaultPlacement.h"
#include "app/Session.h"
#include "app/Settings.h"
#include "app/cli/HeadlessFrame.h"
#include "app/cli/HexArgs.h"
#include "app/cli/PortArgs.h"
#include "platform/SettingsStore.h"
#include "serial/PortEntry.h"

namespace quorvel::cli {
namespace {

constexpr const char* kRunOptions[] = {"--map",          "--seconds", "--com",     "--mode",     "--id",
                                       "--timeout",      "--period",  "--line",    "--write",    "--user-request",
                                       "--save-session", "--timing",  "--traffic", "--codepage", "--log"};
constexpr const char* kRunFlags[] = {"--echo", "--log-every"};

// One window for the project, set up as the options say.
int OpenProjectWindow(frmQuorvelMain& frame, const std::string& file, const Options& options, Io& io) {
  std::int16_t com = 1;
  if (const std::string* text = options.find("--com")) {
    const auto value = ParseInteger(*text, 1, 16);
    if (!value) return UsageError(io, "run", "a port is 1 to 16, not '" + *text + "'");
    com = static_cast<std::int16_t>(*value);
  }
  std::int16_t mode = kMaster;
  if (const std::string* text = options.find("--mode")) {
    if (*text == "master")
      mode = kMaster;
    else if (*text == "slave")
      mode = kSlave;
    else if (*text == "monitor")
      mode = kMonitor;
    else
      return UsageError(io, "run", "mode is master, slave or monitor, not '" + *text + "'");
  }
  if (const std::string* text = options.find("--line"); text && !ApplyLine(*text, frame.Port(com)))
    return UsageError(io, "run", "a line is like 19200-8E1 or 9600-7E1-ascii, not '" + *text + "'");

  frmQuorvel* window = frame.OpenProject(file);
  if (!window) return kFailed;
  window->SetMode(mode);
  for (const auto& [name, setter] :
       {std::pair<const char*, void (frmQuorvel::*)(std::int32_t)>{"--timeout", &frmQuorvel::SetTimeout},
        {"--period", &frmQuorvel::SetPollingPeriod}}) {
    if (const std::string* text = options.find(name)) {
      const auto value = ParseInteger(*text, 0, 2147483647);
      if (!value) return UsageError(io, "run", std::string("not a number of milliseconds for ") + name);
      (window->*setter)(static_cast<std::int32_t>(*value));
    }
  }
  if (const std::string* text = options.find("--id")) {
    const auto value = ParseInteger(*text, 1, 247);
    if (!value) return UsageError(io, "run", "an ID is 1 to 247, not '" + *text + "'");
    window->SetID(static_cast<std::uint8_t>(*value));
  }
  window->SetCOM(com);
  return kOk;
}

// "W:LABEL=TEXT" or "LABEL=TEXT" (window 1); W counts from 1.
struct WindowAction {
  std::size_t window = 1;
  std::string label;
  std::string text;
};

std::optional<WindowAction> ParseAction(const std::string& arg, bool withText) {
  WindowAction action;
  std::string rest = arg;
  if (const auto colon = rest.find(':'); colon != std::string::npos && colon > 0) {
    if (const auto w = ParseInteger(rest.substr(0, colon), 1, 1000)) {
      action.window = static_cast<std::size_t>(*w);
      rest = rest.substr(colon + 1);
    }
  }
  if (withText) {
    const auto equals = rest.find('=');
    if (equals == std::string::npos || equals == 0) return std::nullopt;
    action.text = rest.substr(equals + 1);
    rest = rest.substr(0, equals);
  }
  if (rest.empty()) return std::nullopt;
  action.label = rest;
  return action;
}

// --timing and --echo over the ports the windows use: a project's one port,
// or every port of a session, whatever the session says.
void ApplyLineTiming(frmQuorvelMain& frame, std::optional<LineTiming> timing, bool echo) {
  for (const auto& window : frame.Devices()) {
    if (window->COM() == 0) continue;
    PortEntry& entry = frame.Port(window->COM());
    if (timing) entry.Timing = *timing;
    if (echo) entry.Echo = true;
  }
}

// The window's state with the timing of its port; none without a port.
nlohmann::ordered_json RunWindowState(frmQuorvelMain& frame, frmQuorvel& window) {
  nlohmann::ordered_json state = WindowState(window);
  if (window.COM() == 0) {
    state["timing"] = nullptr;
    state["echo"] = nullptr;
  } else {
    const PortEntry& entry = frame.Port(window.COM());
    state["timing"] = std::string(LineTimingName(entry.Timing));
    state["echo"] = entry.Echo;
  }
  return state;
}

// Every open port's traffic, a line a frame as it happens, to `out`; none
// after it (before `out` goes).
void WriteTraffic(frmQuorvelMain& frame, std::optional<std::reference_wrapper<std::ostream>> out) {
  for (int com = 1; com <= 16; ++com) {
    const std::shared_ptr<TrafficLog> log = frame.Port(com).Traffic;
    if (!log) continue;
    if (!out) {
      log->SetListener({});
      continue;
    }
    log->SetListener([log = log.get(), com, &stream = out->get()](const TrafficRecord& record) {
      stream << TrafficLine(*log, record, com) << "\n";
      stream.flush();
    });
  }
}

bool IsSession(const std::string& path) {
  return path.size() >= 4 && std::equal(path.end() - 4, path.end(), ".qvs", [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) == b;
         });
}

}  // namespace

int RunRun(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kRunOptions, options, error, kRunFlags)) return UsageError(io, "run", error);
  if (options.positional.size() != 1)
    return UsageError(io, "run", options.positional.empty() ? "" : "one project or session only");
  const std::string& file = options.positional[0];
  const bool session = IsSession(file);
  if (session) {
    for (const char* name : {"--com", "--mode", "--id", "--timeout", "--period", "--line"})
      if (options.find(name))
        return UsageError(io, "run", std::string(name) + " is for a project; a session names its own");
  }

  // The user's port mapping and code page, then this run's overrides.
  platform::PortMap portMap;
  const CodePage* codePage = &CodePage::Default();
  if (const auto store = platform::OpenUserSettings()) {
    portMap = LoadPortMap(*store);
    codePage = &UserCodePage(*store);
  }
  if (const std::string* text = options.find("--codepage")) {
    std::string problem;
    codePage = ParseCodePage(*text, problem);
    if (!codePage) return UsageError(io, "run", problem);
  }
  std::vector<WindowAction> writes;
  std::vector<WindowAction> requests;
  std::vector<WindowAction> logs;
  for (const auto& [name, value] : options.named) {
    if (name == "--map") {
      if (const auto problem = portMap.ApplyOverride(value)) return UsageError(io, "run", *problem);
    } else if (name == "--write" || name == "--user-request") {
      const auto action = ParseAction(value, name == "--write");
      if (!action)
        return UsageError(io, "run", name + " wants " + (name == "--write" ? "[W:]LABEL=TEXT" : "[W:]LABEL"));
      (name == "--write" ? writes : requests).push_back(*action);
    } else if (name == "--log") {
      const auto action = ParseAction(value, false);
      if (!action) return UsageError(io, "run", "--log wants [W:]FILE.csv");
      logs.push_back(*action);
    }
  }
  double seconds = 5;
  if (const std::string* text = options.find("--seconds")) {
    const auto value = ParseDouble(*text);
    if (!value || *value < 0) return UsageError(io, "run", "not a number of seconds: '" + *text + "'");
    seconds = *value;
  }
  std::optional<LineTiming> timing;
  if (const std::string* text = options.find("--timing")) {
    timing = ParseLineTiming(*text);
    if (!timing) return UsageError(io, "run", "timing is classic, standard or fast, not '" + *text + "'");
  }

  // Blocked before anything else runs, so that a stop is never lost.
  const platform::StopSignals stop;
  platform::SystemClock clock;
  HeadlessFrame frame(clock, portMap, [&io](const std::string& text) { io.err << text << "\n"; });
  frame.SetCodePage(*codePage);
  if (session) {
    // A damaged session runs the windows it opened; the damage has been told.
    LoadSession(frame, file);
    if (frame.Devices().empty()) return kFailed;
  } else {
    const int result = OpenProjectWindow(frame, file, options, io);
    if (result != kOk) return result;
  }
  ApplyLineTiming(frame, timing, options.has("--echo"));
  for (const auto& action : writes)
    if (action.window > frame.Devices().size())
      return UsageError(io, "run", "there is no window " + std::to_string(action.window));
  for (const auto& action : requests)
    if (action.window > frame.Devices().size())
      return UsageError(io, "run", "there is no window " + std::to_string(action.window));
  for (const auto& action : logs) {
    if (action.window > frame.Devices().size())
      return UsageError(io, "run", "there is no window " + std::to_string(action.window));
    if (frame.Devices()[action.window - 1]->Mode() == kSlave)
      return UsageError(io, "run", "window " + std::to_string(action.window) + " is a Slave: it has no values to log");
  }
  if (options.has("--log-every") && logs.empty()) return UsageError(io, "run", "--log-every goes with --log");

  frame.Devices().front()->mnuConnectAll_Click();
  std::ofstream trafficFile;
  if (const std::string* target = options.find("--traffic")) {
    if (*target != "-") {
      trafficFile.open(*target, std::ios::out | std::ios::trunc);
      if (!trafficFile) return UsageError(io, "run", "cannot write the traffic log to " + *target);
    }
    WriteTraffic(frame, *target == "-" ? io.err : trafficFile);
  }
  // From the first answer on; a file that cannot be written has been told.
  for (const auto& action : logs)
    if (!frame.Devices()[action.window - 1]->StartValueLog(action.label, options.has("--log-every"), clock))
      return kFailed;
  // Typed and chosen once the windows are connected, as a user would. A
  // label that names nothing is a mistake in the command, so the run still
  // goes, to show what it can, but does not end as a success.
  int result = kOk;
  for (const auto& action : writes) {
    const Typed typed = TypeInto(*frame.Devices()[action.window - 1], action.label, action.text);
    if (!typed.refusal.empty()) frame.Tell(typed.refusal);
    if (!typed.found) result = kFailed;
  }
  for (const auto& action : requests)
    if (!ChooseUserRequest(*frame.Devices()[action.window - 1], action.label)) {
      frame.Tell("window " + std::to_string(action.window) + " has no user request " + action.label);
      result = kFailed;
    }

  frame.Drive(stop, seconds, [&frame] {
    for (const auto& window : frame.Devices()) window->ValueLogTick();
  });
  WriteTraffic(frame, std::nullopt);
  // Each log's last rows, flushed as its file closes.
  for (const auto& window : frame.Devices()) window->StopValueLog();

  if (const std::string* target = options.find("--save-session")) {
    // Without a screen nothing has a size; the desktop's defaults stand in.
    GiveDefaultPlacements(frame);
    if (!SaveSession(frame, *target)) result = kFailed;
  }
  nlohmann::ordered_json windows = nlohmann::ordered_json::array();
  for (const auto& window : frame.Devices()) windows.push_back(RunWindowState(frame, *window));
  nlohmann::ordered_json state = {{"windows", windows}, {"messages", frame.Messages()}};
  io.out << state.dump(2) << "\n";
  return result;
}

}  // namespace quorvel::cli
