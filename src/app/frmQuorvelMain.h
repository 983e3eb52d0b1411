#pragma once

// The main frame's core: the device windows in load order, the port table,
// opening and closing ports, and the two timer handlers that drive all
// traffic. The desktop frame and the headless runner both sit on top of it and
// call the handlers when NextWake says there is work, or a watched line has
// bytes.

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/PublicVeriables.h"
#include "device/frmQuorvel.h"
#include "platform/Clock.h"
#include "platform/PortMap.h"
#include "platform/SerialLine.h"
#include "project/QuickPoll.h"
#include "serial/DeviceLink.h"
#include "serial/clsCOM.h"  // the port table owns the open ports

namespace quorvel {

class frmQuorvelMain : public DeviceHost, public DeviceDirectory {
 public:
  using LineFactory = std::function<std::unique_ptr<platform::SerialLine>(int com)>;
  using MessageSink = std::function<void(const std::string&)>;

  // `lines` makes the line of a COM port; by default a termios line on the
  // port's mapped path.
  frmQuorvelMain(platform::Clock& clock, platform::PortMap portMap = {}, LineFactory lines = {});
  ~frmQuorvelMain() override;

  PublicVeriables& Globals() { return globals_; }
  const PublicVeriables& Globals() const { return globals_; }
  const platform::PortMap& PortMap() const { return portMap_; }
  const platform::Clock& clock() const { return clock_; }

  // Where message boxes and message-window texts go.
  void SetMsgBoxSink(MessageSink sink) { msgBox_ = std::move(sink); }
  void SetShowMsgSink(MessageSink sink) { showMsg_ = std::move(sink); }

  // The code page of project and session texts; projects opened from now
  // on read theirs in it.
  void SetCodePage(const CodePage& codePage) { codePage_ = &codePage; }
  const CodePage& ProjectCodePage() const { return *codePage_; }

  // A new device window for the project; nullptr when it does not load.
  frmQuorvel* OpenProject(const std::string& path);
  void CloseDevice(frmQuorvel& window);
  const std::vector<std::unique_ptr<frmQuorvel>>& Devices() const { return forms_; }
  // What a quick poll window was made from, kept while it is open; nullptr
  // for any other window (one opened from a project file, even the file a
  // quick poll was saved to).
  QuickPollSource* QuickPollOf(const frmQuorvel& window);
  void KeepQuickPoll(const frmQuorvel& window, QuickPollSource source) { quickPolls_[&window] = std::move(source); }

  // Unload: every device window from the last opened to the first, then the
  // ports, then the timers.
  void Unload();

  // The frame's own place on the screen; a minimised frame keeps the last
  // place it had.
  WindowPlacement Placement;
  bool Minimized = false;

  // Marks ports that cannot be opened, or are no serial line, as not available,
  // and keeps the reason for each.
  void FindPorts() override;
  // Why port `com` is not available ("Can not open COM3" and the cause); empty
  // while it is.
  std::string PortProblem(int com) const;
  void ExplainPort(int com) override;
  std::string PortPath(int com) const override { return portMap_.Path(com); }
  // Takes effect when the port is next probed or opened.
  void SetPortPath(int com, const std::string& path) override;
  // Fills every port record with the default line settings.
  void SetDefaultPortSettings();

  void PollingTimer_Timer();
  void CheckTimer_Timer();
  // Each enabled handler once, as a loop without a toolkit's timers runs
  // them when it wakes.
  void TimersTick() {
    if (pollingEnabled_) PollingTimer_Timer();
    if (checkEnabled_) CheckTimer_Timer();
    if (pollingEnabled_) SendOnFreedPorts();
  }
  // After the check handler: a port with the Standard or Fast timing whose
  // answer has just come in sends its next due request in the same turn
  // instead of on the next tick; the port keeps whatever silence its timing
  // wants before the request. Classic ports wait for the next tick as ever.
  void SendOnFreedPorts();
  // When the handlers next have work if nothing else happens: the clock's
  // milliseconds (GetTimeMs) by which they must run, +infinity when none is
  // timed; and the lines whose arriving bytes must run them at once. A change
  // made from outside the handlers (a command, a queued request, Connect)
  // moves it: a loop asks again after each.
  struct Wake {
    double AtMs;
    std::vector<int> Descriptors;
  };
  Wake NextWake() const;
  // A busy line with no descriptor is looked at this often.
  static constexpr double kTimeServiceMs = 1;

  bool PortsActive() const { return portsActive_; }
  bool PollingTimerEnabled() const { return pollingEnabled_; }
  bool CheckTimerEnabled() const { return checkEnabled_; }

  // DeviceHost
  PortEntry& Port(int com) override { return globals_.Ports.at(static_cast<std::size_t>(com)); }
  const PortEntry& Port(int com) const { return globals_.Ports.at(static_cast<std::size_t>(com)); }
  void OpenCOM() override;
  std::int32_t GetTickCount() override { return clock_.GetTickCount(); }
  void MsgBox(const std::string& text) override;
  void ShowMsg(const std::string& text) override;
  void SetMenus() override;
  void MarkSessionChanged() override { globals_.SessionChanged = true; }
  std::vector<frmQuorvel*> DeviceWindows() override;
  // The recent-list commands run here; the ones that need a screen (file
  // dialogs, help, about) are the desktop's, and do nothing headless.
  void RunFrameCommand(FrameCommand command, int index) override;

  // DeviceDirectory
  std::size_t DeviceCount() const override { return forms_.size(); }
  DeviceLink& Device(std::size_t index) override { return *forms_.at(index); }

 private:
  // Per port, the connected Master window the polling handler would serve
  // next: the one with the smallest NextTime (the first loaded on a tie), on
  // an open port that is not busy; null where there is none.
  std::array<frmQuorvel*, 17> PollingCandidates() const;
  // When the tick count will have passed `time` as the polling handler
  // compares them, in the clock's milliseconds.
  // `reached`: the time itself is enough (a port that is not Classic).
  double WhenTickPasses(std::int32_t time, double nowMs, bool reached) const;
  // Whether `form`'s NextTime has come, as the handler judges it for its port.
  bool Due(const frmQuorvel& form, std::int32_t now) const;

  platform::Clock& clock_;
  platform::PortMap portMap_;
  LineFactory lines_;
  // Per port, the reason its last probe or open failed.
  std::array<std::string, 17> problems_{};
  // Per port, whether the current OpenCOM has shown its failure already.
  std::array<bool, 17> reported_{};
  MessageSink msgBox_;
  MessageSink showMsg_;
  PublicVeriables globals_;
  std::vector<std::unique_ptr<frmQuorvel>> forms_;
  std::map<const frmQuorvel*, QuickPollSource> quickPolls_;
  bool portsActive_ = false;
  bool pollingEnabled_ = false;
  bool checkEnabled_ = false;
  const CodePage* codePage_ = &CodePage::Default();
};

}  // namespace quorvel
