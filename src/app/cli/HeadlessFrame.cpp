#include "app/cli/HeadlessFrame.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "app/PollLoop.h"
#include "dialogs/frmUserWrite.h"

namespace quorvel::cli {

HeadlessFrame::HeadlessFrame(platform::Clock& clock, platform::PortMap portMap,
                             std::function<void(const std::string&)> tell)
    : frmQuorvelMain(clock, std::move(portMap)), tell_(std::move(tell)) {
  const auto sink = [this](const std::string& text) { Tell(text); };
  SetMsgBoxSink(sink);
  SetShowMsgSink(sink);
}

void HeadlessFrame::Tell(const std::string& text) {
  messages_.push_back(text);
  if (tell_) tell_(text);
}

void HeadlessFrame::ShowUserWrite(frmQuorvel& window, const ElementCollection& elements,
                                  std::shared_ptr<ReqProp> request) {
  frmUserWrite dialog(window, elements, window.PendingRequests, std::move(request));
  if (dialog.cmdOK_Click()) return;
  for (const UserWriteRow& row : dialog.Rows())
    if (!row.Refusal.empty()) Tell(dialog.Caption() + ": " + row.Refusal);
}

void HeadlessFrame::Drive(const platform::StopSignals& stop, double seconds, const std::function<void()>& everySecond) {
  using Clock = std::chrono::steady_clock;
  // A run longer than the clock can count (some 290 years) runs until stopped.
  constexpr double kLongestSeconds = 1e9;
  if (seconds >= kLongestSeconds) seconds = 0;
  const auto start = Clock::now();
  const auto end = start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  auto nextReport = start + std::chrono::seconds(1);
  PollLoop loop(*this, clock());
  const int stopFd[] = {stop.fd()};
  for (;;) {
    const auto now = Clock::now();
    if (seconds != 0 && now >= end) break;
    if (everySecond && now >= nextReport) {
      everySecond();
      nextReport += std::chrono::seconds(1);
    }
    auto until = everySecond ? nextReport : Clock::time_point::max();
    if (seconds != 0) until = std::min(until, end);
    const double maxMs = until == Clock::time_point::max()
                             ? std::numeric_limits<double>::infinity()
                             : std::chrono::duration<double, std::milli>(until - now).count();
    if (loop.Run(stopFd, maxMs).ready[0]) break;
  }
}

namespace {

// The value elements of a window with their table, in panel order: the
// order in which their boxes were made.
template <typename Visit>
void ForEachValue(frmQuorvel& window, Visit visit) {
  for (const auto& control : window.panel().Controls()) {
    if (control->Name() != "TBox") continue;
    const std::string key = std::to_string(control->Index());
    for (Table table : {Table::Holding, Table::InputReg, Table::Coil, Table::Discrete})
      for (const auto& filed : window.ElementsOf(table))
        if (filed.key == key) visit(*control, *filed.element);
  }
}

}  // namespace

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
                                     {"Ex4", c.Ex4},
                                     {"Unsent", c.Unsent}};
  nlohmann::ordered_json values = nlohmann::ordered_json::array();
  ForEachValue(window, [&](const PanelControl& box, const CtrlProp& element) {
    values.push_back({{"label", element.AddressCaption()},
                      {"tooltip", box.ToolTipText()},
                      {"text", element.rCtrl() ? element.rCtrl()->Caption() : ""}});
  });
  return {{"project", window.ProjectFile()},
          {"mode", ModeName(window.Mode())},
          {"caption", window.Caption()},
          {"statistics", window.lblStatistic()},
          {"counters", counters},
          {"values", values}};
}

Typed TypeInto(frmQuorvel& window, const std::string& label, const std::string& text) {
  int index = -1;
  ForEachValue(window, [&](const PanelControl& box, const CtrlProp& element) {
    if (index < 0 && (element.AddressCaption() == label || box.ToolTipText() == label)) index = box.Index();
  });
  if (index < 0) return {false, "no value element " + label};
  window.Tbd_DblClick(index);
  if (!window.tbInput.Visible) return {true, label + " cannot be written in " + ModeName(window.Mode()) + " mode here"};
  window.tbInput.Text = text;
  window.tbInput_KeyDown(13);
  if (!window.tbInput.Visible) return {};
  std::string why = window.tbInput.Refusal.empty() ? "refused" : window.tbInput.Refusal;
  window.tbInput_KeyDown(27);
  return {true, label + "=" + text + ": " + why};
}

bool ChooseUserRequest(frmQuorvel& window, const std::string& caption) {
  for (int menu : {1, 2}) {
    // A menu the window does not show (a slave's, say) cannot be chosen.
    if (!window.menus.mnuUserMain[menu].Visible) continue;
    const auto& items = menu == 1 ? window.menus.mnuUser1 : window.menus.mnuUser2;
    for (std::size_t i = 1; i < items.size(); ++i) {
      if (!items[i].Visible || items[i].Caption != caption) continue;
      if (menu == 1)
        window.mnuUser1_Click(static_cast<int>(i));
      else
        window.mnuUser2_Click(static_cast<int>(i));
      return true;
    }
  }
  return false;
}

}  // namespace quorvel::cli
