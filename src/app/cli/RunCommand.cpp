// quorvel-cli run: a project opened headless as one device window, connected
// and driven by the frame's timers for a while; then its state as JSON.

#include <nlohmann/json.hpp>

#include <chrono>
#include <ostream>

#include "app/Settings.h"
#include "app/cli/HexArgs.h"
#include "app/frmQuorvelMain.h"
#include "platform/SettingsStore.h"
#include "platform/StopSignals.h"
#include "serial/PortEntry.h"

namespace quorvel::cli {
namespace {

constexpr const char* kRunOptions[] = {"--map", "--seconds", "--com",    "--mode",
                                       "--id",  "--timeout", "--period", "--line"};

std::optional<std::int64_t> ParseInteger(const std::string& text, std::int64_t lo, std::int64_t hi) {
  const auto value = ParseDouble(text);
  if (!value || *value != static_cast<double>(static_cast<std::int64_t>(*value))) return std::nullopt;
  const auto n = static_cast<std::int64_t>(*value);
  if (n < lo || n > hi) return std::nullopt;
  return n;
}

// "19200-8E1" or "9600-7E1-ascii": baud, data bits, parity N/O/E/M/S, stop bits 1/1.5/2, framing.
bool ApplyLine(const std::string& text, PortEntry& entry) {
  const auto dash = text.find('-');
  if (dash == std::string::npos) return false;
  const auto baud = ParseInteger(text.substr(0, dash), 50, 100'000'000);
  std::string rest = text.substr(dash + 1);
  bool ascii = false;
  if (const auto framing = rest.find('-'); framing != std::string::npos) {
    const std::string kind = rest.substr(framing + 1);
    if (kind != "ascii" && kind != "rtu") return false;
    ascii = kind == "ascii";
    rest = rest.substr(0, framing);
  }
  if (!baud || rest.size() < 3 || (rest[0] != '7' && rest[0] != '8')) return false;
  static const std::string kParities = "NOEMS";
  const auto parity = kParities.find(static_cast<char>(std::toupper(static_cast<unsigned char>(rest[1]))));
  const std::string stop = rest.substr(2);
  if (parity == std::string::npos || (stop != "1" && stop != "1.5" && stop != "2")) return false;
  entry.dcb.BaudRate = static_cast<std::uint32_t>(*baud);
  entry.dcb.ByteSize = static_cast<std::uint8_t>(rest[0] - '0');
  entry.dcb.Parity = static_cast<std::uint8_t>(parity);
  entry.dcb.StopBits = stop == "1" ? 0 : (stop == "1.5" ? 1 : 2);
  entry.ASCII = ascii;
  entry.ASCII8bits = rest[0] == '8';
  return true;
}

nlohmann::ordered_json WindowState(frmQuorvel& window) {
  const auto& c = window.Counters();
  nlohmann::ordered_json counters = {{"RequestCount", c.RequestCount},
                                     {"SlaveRequestCount", c.SlaveRequestCount},
                                     {"TOErr", c.TOErr},
                                     {"DtErr", c.DtErr},
                                     {"PtyErr", c.PtyErr},
                                     {"CRCErr", c.CRCErr},
                                     {"FrErr", c.FrErr},
                                     {"Ex1", c.Ex1},
                                     {"Ex2", c.Ex2},
                                     {"Ex3", c.Ex3},
                                     {"Ex4", c.Ex4}};
  // Value elements in panel order: the order in which their boxes were made.
  nlohmann::ordered_json values = nlohmann::ordered_json::array();
  for (const auto& control : window.panel().Controls()) {
    if (control->Name() != "TBox") continue;
    const std::string key = std::to_string(control->Index());
    for (Table table : {Table::Holding, Table::InputReg, Table::Coil, Table::Discrete}) {
      for (const auto& filed : window.ElementsOf(table)) {
        if (filed.key != key) continue;
        const CtrlProp& element = *filed.element;
        values.push_back({{"label", element.AddressCaption()},
                          {"tooltip", control->ToolTipText()},
                          {"text", element.rCtrl() ? element.rCtrl()->Caption() : ""}});
      }
    }
  }
  return {{"project", window.ProjectFile()},
          {"caption", window.Caption()},
          {"statistics", window.lblStatistic()},
          {"counters", counters},
          {"values", values}};
}

}  // namespace

int RunRun(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kRunOptions, options, error)) return UsageError(io, "run", error);
  if (options.positional.size() != 1)
    return UsageError(io, "run", options.positional.empty() ? "" : "one project only");

  // The user's port mapping, then this run's overrides.
  platform::PortMap portMap;
  if (const auto store = platform::OpenUserSettings()) portMap = LoadPortMap(*store);
  for (const auto& [name, value] : options.named) {
    if (name != "--map") continue;
    if (const auto problem = portMap.ApplyOverride(value)) return UsageError(io, "run", *problem);
  }
  double seconds = 5;
  if (const std::string* text = options.find("--seconds")) {
    const auto value = ParseDouble(*text);
    if (!value || *value < 0) return UsageError(io, "run", "not a number of seconds: '" + *text + "'");
    seconds = *value;
  }
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

  platform::SystemClock clock;
  frmQuorvelMain frame(clock, portMap);
  nlohmann::ordered_json messages = nlohmann::ordered_json::array();
  const auto tell = [&](const std::string& text) {
    io.err << text << "\n";
    messages.push_back(text);
  };
  frame.SetMsgBoxSink(tell);
  frame.SetShowMsgSink(tell);
  if (const std::string* text = options.find("--line"); text && !ApplyLine(*text, frame.Port(com)))
    return UsageError(io, "run", "a line is like 19200-8E1 or 9600-7E1-ascii, not '" + *text + "'");

  frmQuorvel* window = frame.OpenProject(options.positional[0]);
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
  window->SetConnected(true);
  frame.OpenCOM();
  window->ShowCaption();

  // The two 1 ms timers, until the time is up or a stop signal arrives.
  const platform::StopSignals stop;
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (seconds == 0 || std::chrono::steady_clock::now() < end) {
    if (frame.PollingTimerEnabled()) frame.PollingTimer_Timer();
    if (frame.CheckTimerEnabled()) frame.CheckTimer_Timer();
    if (stop.Wait(1)) break;
  }

  nlohmann::ordered_json state = {{"windows", nlohmann::ordered_json::array({WindowState(*window)})},
                                  {"messages", messages}};
  io.out << state.dump(2) << "\n";
  return kOk;
}

}  // namespace quorvel::cli
