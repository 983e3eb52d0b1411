#pragma once

// A device window: one open project, i.e. one Modbus device as the user sees
// it. It holds the device's mode, slave address, port and timing, its requests
// and panel elements and the counters of its traffic, and keeps the shared
// port table's counts in step with its own settings. This is the window's
// core; a desktop view draws its panel and menus.

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "convert/AddressCode.h"
#include "device/AnswerWatcher.h"
#include "device/DeviceHost.h"
#include "device/DeviceMenus.h"
#include "device/EntryBox.h"
#include "device/MonitorPairing.h"
#include "device/ValueLog.h"
#include "modbus/MasterTransaction.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectLoader.h"
#include "serial/DeviceLink.h"

namespace quorvel {

inline constexpr std::int16_t kMaster = 1;
inline constexpr std::int16_t kSlave = 2;
inline constexpr std::int16_t kMonitor = 3;

// "Master", "Slave", "Monitor"; "" for any other value.
std::string ModeName(int mode);

// Where a window stands, in twips: a device window inside the frame, the
// frame on the screen.
struct WindowPlacement {
  float Left = 0;
  float Top = 0;
  float Width = 0;
  float Height = 0;
  bool operator==(const WindowPlacement&) const = default;
};

// Lowest and highest address covered by one table's elements.
struct AddressRange {
  std::int32_t lowest = 65535;
  std::int32_t highest = 0;
  bool Contains(std::int32_t first, std::int32_t last) const { return first >= lowest && last <= highest; }
};

class frmQuorvel : public DeviceLink {
 public:
  static constexpr std::int32_t kNever = 2147483647;
  static constexpr std::int32_t kAtOnce = -1000;

  explicit frmQuorvel(DeviceHost& host, const CodePage& codePage = CodePage::Default());
  frmQuorvel(const frmQuorvel&) = delete;
  frmQuorvel& operator=(const frmQuorvel&) = delete;

  // Properties. Setters with side effects on menus and the port table.
  bool WaitResponce() const override { return waitResponce_; }
  std::int32_t NextTime() const { return nextTime_; }
  void SetNextTime(std::int32_t v) { nextTime_ = v; }
  bool Connected() const override { return connected_; }
  void SetConnected(bool v);
  bool AutoEnable() const { return autoEnable_; }
  void SetAutoEnable(bool v);
  std::uint8_t ID() const override { return id_; }
  void SetID(std::uint8_t v) { id_ = v; }
  std::int16_t Mode() const { return mode_; }
  void SetMode(std::int16_t m);
  std::int16_t COM() const override { return com_; }
  void SetCOM(std::int16_t n);
  bool DirectWrite() const { return directWrite_; }
  std::int16_t Exeptions() const { return exeptions_; }
  std::int32_t LongDataType() const { return longDataType_; }
  std::int32_t Interval() const { return interval_; }
  void SetInterval(std::int32_t v) { interval_ = v; }
  std::int32_t PollingPeriod() const { return pollingPeriod_; }
  void SetPollingPeriod(std::int32_t v) { pollingPeriod_ = v; }
  std::int32_t Timeout() const { return timeout_; }
  void SetTimeout(std::int32_t v) { timeout_ = v; }
  const std::string& ProjectFile() const { return projectFile_; }
  // Loads the project; on failure the path goes back to "" and false comes back.
  bool SetProjectFile(const std::string& path);
  // Loads the project at `path` in place of the one shown: panel, elements
  // and requests are the new project's, while the port, slave id, mode,
  // counters and connection stay (a connected Master polls the new requests
  // from now on). A project that does not load leaves the window as it was
  // and false comes back.
  bool ReloadProject(const std::string& path);
  // The project has been saved as `path`: the caption and the session name
  // that file from now on; nothing is loaded again.
  void MoveProjectFile(const std::string& path);
  const std::string& ProjectTitle() const { return projectTitle_; }
  void SetProjectTitle(std::string v) { projectTitle_ = std::move(v); }
  std::int32_t ConnectTime() const { return connectTime_; }

  // Polling cycle: sends the next request of this window.
  void DoRequest();

  // Value display and statistics.
  void ShowCaption();
  const std::string& Caption() const { return caption_; }
  void RefreshStatistics();
  const std::string& lblStatistic() const { return statistic_; }
  void StoreResponseData(std::span<const std::uint8_t> frame, std::int32_t length);
  // Whether the last answer to the request that reads `element` failed (a
  // time-out, a bad frame or an exception); a good answer clears it. The
  // value shown stays what the last good answer brought.
  bool Stale(const CtrlProp& element) const { return stale_.contains(&element); }
  // Stale values drawn grey, or in their own colours (the classic look).
  bool GreyStale() const { return menus.mnuGreyStale.Checked; }
  void SetGreyStale(bool v);
  void mnuGreyStale_Click() { SetGreyStale(!GreyStale()); }
  void ResetPanel();
  void ComputeAddressRanges();
  const AddressRange& Range(Table table) const { return ranges_[static_cast<int>(table)]; }
  const ElementCollection& ElementsOf(Table table) const;
  void EmulatedValueStep(CtrlProp& element);
  void mnuClearCounters_Click();
  // Every value with the label beside it, as tab-separated rows for a spreadsheet.
  void mnuCopyAllValues_Click();
  const MODBUS::TrafficCounters& Counters() const { return counters_; }

  // Traffic, called by the port object.
  void GetResponce(std::int32_t code, std::int32_t& length, std::span<std::uint8_t> buffer) override;
  void DoResponce(std::span<std::uint8_t> buffer, std::int32_t count) override;
  // A Monitor pairs requests with their answers and shows, on its panel and
  // in its counters, what those to and from its own slave address carry.
  void FrameHeard(std::span<const std::uint8_t> frame, bool answerShaped) override;
  void CountFrameError() override;
  // Frames a Monitor window heard, oldest first (the newest few hundred).
  const std::deque<std::vector<std::uint8_t>>& Heard() const { return heard_; }

  // Value entry: a double-click on value label `index` opens the edit box;
  // keys typed into it come to tbInput_KeyDown (Enter 13 writes, Escape 27 drops).
  void Tbd_DblClick(int index);
  void TBox_DblClick(int index) { Tbd_DblClick(index); }
  void tbInput_KeyDown(int key);
  EntryBox tbInput;
  std::shared_ptr<CtrlProp> EditElement;

  // Window commands.
  void mnuConnect_Click();
  void mnuConnectAll_Click() { ConnectAll(true); }
  void mnuDisconnectAll_Click() { ConnectAll(false); }
  void mnuCOM_Click(int index);
  // Probes the ports again and says why any port a window uses is missing.
  void mnuFindCOM_Click();
  void mnuCOMParameters_Click() { host_.ShowCOMSettings(com_); }
  void mnuMode_Click(int index);
  void mnuSettings_Click() { host_.ShowSettings(*this); }
  // Turns periodic requests on or off and reschedules.
  void mnuAutoEnable_Click();
  void mnuCascade_Click() { host_.Arrange(Arrangement::Cascade); }
  void mnuTileHorizontally_Click() { host_.Arrange(Arrangement::TileHorizontally); }
  void mnuTileVertically_Click() { host_.Arrange(Arrangement::TileVertically); }
  void mnuTileToFit_Click() { host_.Arrange(Arrangement::TileToFit); }
  // File and help commands belong to the frame; opening a project changes
  // the session, the others leave that to the frame.
  void mnuOpen_Click();
  void mnuRecentFile_Click(int index);
  void mnuRecentSession_Click(int index) { host_.RunFrameCommand(FrameCommand::RecentSession, index); }
  void mnuSaveSession_Click() { host_.RunFrameCommand(FrameCommand::SaveSession, 0); }
  void mnuQuickStart_Click() { host_.RunFrameCommand(FrameCommand::QuickStart, 0); }
  void mnuOnTheWeb_Click() { host_.RunFrameCommand(FrameCommand::OnTheWeb, 0); }
  void mnuAbout_Click() { host_.RunFrameCommand(FrameCommand::About, 0); }

  // User request menus: built from the requests after loading; choosing an
  // item queues its request or hands it to the user write dialog.
  void SetupUserMenu();
  void mnuUser1_Click(int index);
  void mnuUser2_Click(int index);

  // Value logging: choosing "Log values..." asks the host where to log
  // (it then calls StartValueLog), and while logging stops the log.
  void mnuLogValues_Click();
  void mnuTrend_Click() { host_.OpenTrend(*this); }
  // Logs the values to `path` from now on, a row for each answer that
  // changed one or with `everyAnswer` for each answer; false, and told in a
  // message box, when the file cannot be written. Times come from `clock`.
  bool StartValueLog(const std::string& path, bool everyAnswer, const platform::Clock& clock);
  // Ends the log, its last rows flushed; nothing when there is none.
  void StopValueLog();
  const ValueLog* Log() const { return valueLog_.get(); }
  // Called often by the frame's timer: the log is flushed once a second; a
  // log whose file failed (a full disk) is stopped and the user told why.
  void ValueLogTick();
  // Watchers of the answers (a trend chart); they must leave before they go.
  void AddWatcher(AnswerWatcher& watcher) { watchers_.push_back(&watcher); }
  void RemoveWatcher(AnswerWatcher& watcher) { std::erase(watchers_, &watcher); }

  // Leaves the port table as if the window had never been there.
  void Form_Unload();

  // The project's content.
  ElementCollection HoldingElements;
  ElementCollection CoilElements;
  ElementCollection InputRegElements;
  ElementCollection DiscreteElements;
  ElementCollection PictureElements;
  std::vector<std::shared_ptr<ReqProp>> Requests;
  std::deque<std::shared_ptr<ReqProp>> PendingRequests;
  std::shared_ptr<ReqProp> CurrentRequest;
  std::shared_ptr<ReqProp> LastRequest;
  // User menu captions as the project gives them.
  std::array<std::string, 3> UserMenuCaption{};

  DeviceMenus menus;
  WindowPlacement Placement;
  Panel& panel() { return *panel_; }
  const Panel& panel() const { return *panel_; }
  const CodePage& codePage() const { return codePage_; }
  DeviceHost& host() { return host_; }

 private:
  void UpdateModeMenus();
  void ConnectAll(bool connected);
  // Each port the windows use, explained once when it is not available.
  void ExplainWindowsPorts();
  void ScheduleAll(bool enable);
  // After a periodic request has had its turn: due again a period on, and
  // the window due when its earliest request is.
  void ScheduleAfter(ReqProp& request);
  // A request that cannot be laid out is said in the message window instead
  // of going out; a periodic one only the first time.
  void ReportUnsent(const ReqProp& request, const char* why);
  void QueueEntryWrite(const CtrlProp& element, double value);
  void UserMenuChosen(const std::string& caption, std::int32_t sendAsIs, std::int32_t typeFirst);
  // The elements whose values `request` reads.
  std::vector<CtrlProp*> ReadBy(const ReqProp& request) const;
  void MarkStale(CtrlProp& element, bool stale);
  // Tells the log and the watchers of an answer to `request`.
  void TellWatchers(const ReqProp& request, bool ok);

  DeviceHost& host_;
  const CodePage& codePage_;
  std::unique_ptr<Panel> panel_;

  bool waitResponce_ = false;
  std::int32_t nextTime_ = 0;
  bool connected_ = false;
  bool autoEnable_ = true;
  std::uint8_t id_ = 1;
  std::int16_t mode_ = kMaster;
  std::int16_t com_ = 0;
  bool directWrite_ = false;
  std::int16_t exeptions_ = 0;
  std::int32_t longDataType_ = 0;
  std::int32_t interval_ = 0;
  std::int32_t pollingPeriod_ = 0;
  std::int32_t timeout_ = 0;
  std::string projectFile_;
  std::string projectTitle_;
  std::int32_t connectTime_ = 0;

  MODBUS::TrafficCounters counters_;
  std::string caption_;
  std::string statistic_ = " rQ: 0000 Err: 0000";
  std::array<AddressRange, 4> ranges_{};
  std::deque<std::vector<std::uint8_t>> heard_;
  MonitorPairing monitor_;
  // The Monitor's side of FrameHeard: an answer heard to a request heard.
  void ShowHeardAnswer(const MODBUS::DecodedFrame& request, std::span<const std::uint8_t> frame, bool ascii);
  std::set<const ReqProp*> unsentReported_;
  std::set<const CtrlProp*> stale_;
  std::unique_ptr<ValueLog> valueLog_;
  std::vector<AnswerWatcher*> watchers_;
};

}  // namespace quorvel
