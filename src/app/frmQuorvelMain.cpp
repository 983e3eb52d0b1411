#include "app/frmQuorvelMain.h"

#include <algorithm>
#include <iostream>
#include <limits>

#include "app/FileCommands.h"
#include "app/RecentLists.h"
#include "platform/SerialProbe.h"
#include "serial/NetworkLines.h"
#include "serial/clsCOM.h"

namespace quorvel {

frmQuorvelMain::frmQuorvelMain(platform::Clock& clock, platform::PortMap portMap, LineFactory lines)
    : clock_(clock), portMap_(std::move(portMap)), lines_(std::move(lines)) {
  if (!lines_) {
    lines_ = [this](int com) -> std::unique_ptr<platform::SerialLine> { return LineForPath(portMap_.Path(com)); };
  }
  SetDefaultPortSettings();
}

frmQuorvelMain::~frmQuorvelMain() {
  // Windows first, then the ports they used, as the frame unloads.
  forms_.clear();
  for (PortEntry& entry : globals_.Ports) entry.Port.reset();
}

void frmQuorvelMain::SetDefaultPortSettings() {
  for (PortEntry& entry : globals_.Ports) entry.dcb = DCB{};
}

frmQuorvel* frmQuorvelMain::OpenProject(const std::string& path) {
  auto window = std::make_unique<frmQuorvel>(*this, *codePage_);
  if (!window->SetProjectFile(path)) return nullptr;
  forms_.push_back(std::move(window));
  frmQuorvel* opened = forms_.back().get();
  // The statistics line keeps its first text until there is traffic to show.
  opened->ShowCaption();
  SetMenus();
  return opened;
}

void frmQuorvelMain::CloseDevice(frmQuorvel& window) {
  const auto it = std::find_if(forms_.begin(), forms_.end(), [&](const auto& form) { return form.get() == &window; });
  if (it == forms_.end()) return;
  // A project enters the recent list as its window closes.
  AddRecentFile(globals_, (*it)->ProjectFile());
  (*it)->Form_Unload();
  quickPolls_.erase(it->get());
  forms_.erase(it);
}

QuickPollSource* frmQuorvelMain::QuickPollOf(const frmQuorvel& window) {
  const auto found = quickPolls_.find(&window);
  return found == quickPolls_.end() ? nullptr : &found->second;
}

std::vector<frmQuorvel*> frmQuorvelMain::DeviceWindows() {
  std::vector<frmQuorvel*> windows;
  for (const auto& form : forms_) windows.push_back(form.get());
  return windows;
}

void frmQuorvelMain::RunFrameCommand(FrameCommand command, int index) {
  if (command == FrameCommand::RecentFile) mnuRecentFile_Click(*this, index);
  if (command == FrameCommand::RecentSession) mnuRecentSession_Click(*this, index);
}

void frmQuorvelMain::Unload() {
  while (!forms_.empty()) CloseDevice(*forms_.back());
  for (PortEntry& entry : globals_.Ports) entry.Port.reset();
  portsActive_ = false;
  pollingEnabled_ = false;
  checkEnabled_ = false;
}

void frmQuorvelMain::FindPorts() {
  for (int com = 1; com <= 16; ++com) {
    PortEntry& entry = Port(com);
    if (entry.State == PortEntry::kOpen) continue;
    const platform::OpenFailure failure = platform::ProbeSerialLine(portMap_.Path(com));
    entry.State = failure ? PortEntry::kNotAvailable : PortEntry::kClosed;
    problems_[static_cast<std::size_t>(com)] = failure ? platform::OpenFailureText(com, failure) : std::string();
  }
  SetMenus();
}

std::string frmQuorvelMain::PortProblem(int com) const {
  if (com < 1 || com > 16 || Port(com).State != PortEntry::kNotAvailable) return {};
  const std::string& problem = problems_[static_cast<std::size_t>(com)];
  return problem.empty() ? platform::OpenFailureText(com, {}) : problem;
}

void frmQuorvelMain::ExplainPort(int com) {
  if (com < 1 || com > 16 || reported_[static_cast<std::size_t>(com)]) return;
  if (const std::string problem = PortProblem(com); !problem.empty()) ShowMsg(problem);
}

void frmQuorvelMain::SetPortPath(int com, const std::string& path) {
  if (!portMap_.Set(com, path)) return;
  // The old reason named the old path; the next probe or open finds the new one.
  problems_[static_cast<std::size_t>(com)].clear();
  if (Port(com).State == PortEntry::kNotAvailable) Port(com).State = PortEntry::kClosed;
  SetMenus();
}

void frmQuorvelMain::OpenCOM() {
  reported_.fill(false);
  for (std::int16_t com = 1; com <= 16; ++com) {
    PortEntry& entry = Port(com);
    if (entry.State == PortEntry::kClosed && entry.Connections != 0) {
      const auto slot = static_cast<std::size_t>(com);
      auto port = std::make_unique<clsCOM>(entry, *this, clock_, lines_, [this, slot](const std::string& text) {
        problems_[slot] = text;
        reported_[slot] = true;
        MsgBox(text);
      });
      std::int16_t number = com;
      if (port->OpenCOM(number)) {
        entry.State = PortEntry::kOpen;
        entry.Port = std::move(port);
      } else {
        entry.State = PortEntry::kNotAvailable;
      }
    }
    if (entry.State == PortEntry::kOpen && entry.Connections == 0) {
      entry.State = PortEntry::kClosed;
      entry.Port.reset();
    }
  }
  const bool wasActive = portsActive_;
  portsActive_ = std::any_of(globals_.Ports.begin() + 1, globals_.Ports.end(),
                             [](const PortEntry& entry) { return entry.State == PortEntry::kOpen; });
  if (!wasActive) checkEnabled_ = portsActive_;
  pollingEnabled_ = portsActive_;
}

std::array<frmQuorvel*, 17> frmQuorvelMain::PollingCandidates() const {
  std::array<frmQuorvel*, 17> best{};
  for (const auto& form : forms_) {
    const std::int16_t com = form->COM();
    if (com == 0) continue;
    const PortEntry& entry = Port(com);
    if (!entry.Busy && entry.State == PortEntry::kOpen && form->Connected() && form->Mode() == kMaster) {
      // Strictly less: ties go to the window loaded first, and a window that
      // is never due is never a candidate.
      const std::int32_t bestTime = best[com] ? best[com]->NextTime() : frmQuorvel::kNever;
      if (form->NextTime() < bestTime) best[com] = form.get();
    }
  }
  return best;
}

bool frmQuorvelMain::Due(const frmQuorvel& form, std::int32_t now) const {
  const std::int32_t time = form.NextTime();
  if (Port(form.COM()).Timing == LineTiming::Classic) return time < now;
  return time != frmQuorvel::kNever && time <= now;
}

void frmQuorvelMain::PollingTimer_Timer() {
  const std::array<frmQuorvel*, 17> best = PollingCandidates();
  const std::int32_t now = clock_.GetTickCount();
  for (int com = 1; com <= 16; ++com) {
    if (best[com] && !Port(com).Busy && Due(*best[com], now)) best[com]->DoRequest();
  }
}

void frmQuorvelMain::SendOnFreedPorts() {
  const std::array<frmQuorvel*, 17> best = PollingCandidates();
  const std::int32_t now = clock_.GetTickCount();
  for (int com = 1; com <= 16; ++com) {
    if (best[com] && Port(com).Timing != LineTiming::Classic && !Port(com).Busy && Due(*best[com], now))
      best[com]->DoRequest();
  }
}

void frmQuorvelMain::CheckTimer_Timer() {
  if (!portsActive_) {
    checkEnabled_ = false;
    return;
  }
  for (int com = 1; com <= 16; ++com) {
    PortEntry& entry = Port(com);
    if (entry.Busy && entry.State == PortEntry::kOpen && entry.Connections != 0 && entry.Port) entry.Port->Hit();
  }
}

double frmQuorvelMain::WhenTickPasses(std::int32_t time, double nowMs, bool reached) const {
  if (time == frmQuorvel::kNever) return std::numeric_limits<double>::infinity();
  // The tick count is the low 32 bits of the clock's whole milliseconds, read
  // as signed: sampled with the nanoseconds inside one millisecond, the two
  // tell when the count next turns. Read again if it turned in between.
  std::int32_t tick = clock_.GetTickCount();
  std::int64_t ns = clock_.Nanoseconds();
  if (const std::int32_t again = clock_.GetTickCount(); again != tick) {
    tick = again;
    ns = clock_.Nanoseconds();
  }
  // A plain signed comparison, as the handler makes it: a time set past the
  // wrap into negative numbers is due at once, and one that the count has
  // wrapped under is due only when the count comes round again.
  const std::int64_t ahead = std::int64_t{time} + (reached ? 0 : 1) - tick;
  if (ahead <= 0) return nowMs;
  const std::int64_t intoTickNs = ((ns % 1'000'000) + 1'000'000) % 1'000'000;
  return nowMs + static_cast<double>(ahead) - static_cast<double>(intoTickNs) / 1e6;
}

frmQuorvelMain::Wake frmQuorvelMain::NextWake() const {
  const double nowMs = clock_.GetTimeMs();
  Wake wake{std::numeric_limits<double>::infinity(), {}};
  if (checkEnabled_) {
    // The check handler turns itself off once no port is open.
    if (!portsActive_) wake.AtMs = nowMs;
    for (int com = 1; com <= 16; ++com) {
      const PortEntry& entry = Port(com);
      if (!(entry.Busy && entry.State == PortEntry::kOpen && entry.Connections != 0 && entry.Port)) continue;
      const clsCOM& port = *entry.Port;
      wake.AtMs = std::min(wake.AtMs, port.NextDeadlineMs());
      const int fd = port.Descriptor();
      if (fd < 0) {
        // Nothing tells of its bytes (or of a line that comes back).
        wake.AtMs = std::min(wake.AtMs, nowMs + kTimeServiceMs);
      } else if (port.WantsBytes()) {
        wake.Descriptors.push_back(fd);
      }
    }
  }
  if (pollingEnabled_) {
    for (const frmQuorvel* form : PollingCandidates())
      if (form)
        wake.AtMs = std::min(wake.AtMs,
                             WhenTickPasses(form->NextTime(), nowMs, Port(form->COM()).Timing != LineTiming::Classic));
  }
  return wake;
}

void frmQuorvelMain::MsgBox(const std::string& text) {
  if (msgBox_) {
    msgBox_(text);
  } else {
    std::cerr << text << "\n";
  }
}

void frmQuorvelMain::ShowMsg(const std::string& text) {
  if (showMsg_) {
    showMsg_(text);
  } else {
    std::cerr << text << "\n";
  }
}

void frmQuorvelMain::SetMenus() {
  for (const auto& form : forms_) {
    form->ShowCaption();
    bool anyVisible = false;
    for (int com = 1; com <= 16; ++com) {
      MenuItem& item = form->menus.mnuCOM[com];
      const PortEntry& entry = Port(com);
      item.Visible = entry.State != PortEntry::kNotAvailable;
      const std::string problem = PortProblem(com);
      form->menus.mnuCOMToolTip[static_cast<std::size_t>(com)] = problem.empty() ? portMap_.Path(com) : problem;
      if (item.Visible) item.Enabled = entry.Mode == 0 || entry.Mode == form->Mode();
      anyVisible = anyVisible || item.Visible;
    }
    form->menus.mnuConnection1.Visible = anyVisible;
  }
}

}  // namespace quorvel
