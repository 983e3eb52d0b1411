#pragma once

// The desktop frame: the frame's core drawn as a multiple-document window,
// with one sub-window per device window, the menu bar of the active one, the
// ports' service (a single-shot timer for the frame's next deadline and a
// notifier for each line that waits for bytes), the settings, the exit prompt
// and the first copy's link.

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <QMainWindow>
#include <QTimer>

#include "app/WakePacer.h"
#include "app/frmQuorvelMain.h"
#include "app/qt/MenuBar.h"
#include "platform/InstanceLink.h"
#include "platform/SettingsStore.h"

class QMdiArea;
class QMdiSubWindow;
class QSocketNotifier;

namespace quorvel {

class DeviceWindow;
class MessageWindow;
class TrafficWindow;
class TrendWindow;

class MainWindow : public QMainWindow, public frmQuorvelMain {
  Q_OBJECT
 public:
  MainWindow(platform::Clock& clock, platform::PortMap portMap, platform::SettingsStore& store);
  ~MainWindow() override;

  // The frame's load: title, settings and recent lists, place on the screen,
  // the file of the command line and the port probe.
  void Load(const std::string& commandLine);
  // Later copies hand their files to this copy through `link`.
  void ServeLink(std::unique_ptr<platform::InstanceServer> link);

  // Runs a command of a menu, then brings the screen in line with the core.
  void Command(const std::function<void()>& run);
  void SaveSessionMain();

  // Makes `window`'s sub-window the active one.
  void Activate(frmQuorvel& window);
  // The device windows on screen, in the core's order.
  std::vector<DeviceWindow*> Views() const;
  QMdiArea& Area() const { return *area_; }
  MenuBar& Menus() { return menus_; }
  // The polling handler is on: the core says so and a wake-up is armed.
  bool PollingTimerActive() const { return pollingOn_ && wake_.isActive(); }
  // Brings views, timers, captions and menus in line with the core.
  void SyncView();

  // Frame commands that need the screen.
  void ShowUserWrite(frmQuorvel& window, const ElementCollection& elements, std::shared_ptr<ReqProp> request) override;
  void ShowCOMSettings(int com) override;
  void ShowSettings(frmQuorvel& window) override;
  void Arrange(Arrangement how) override;
  void CopyText(const std::string& text) override;
  void RunFrameCommand(FrameCommand command, int index) override;
  void OpenCOM() override;
  // The Traffic window of port `com`, opened or brought to the front.
  TrafficWindow* OpenTraffic(int com);
  // "Log values...": the dialog (or ChooseValueLogFile), then the log.
  void ChooseValueLog(frmQuorvel& window) override;
  // The trend window of `window`, opened or brought to the front; it goes
  // with the device window.
  void OpenTrend(frmQuorvel& window) override;
  TrendWindow* Trend(const frmQuorvel* window) const;
  // Also kept in the settings for the next run and for quorvel-cli.
  void SetPortPath(int com, const std::string& path) override;

  // How the desktop asks a yes/no/cancel question and picks files; tests
  // replace them.
  std::function<int(const QString& text, const QString& title)> AskYesNoCancel;
  std::function<QString()> ChooseOpenFile;
  std::function<QString()> ChooseSaveFile;
  // Where a window's values are logged, and whether every answer makes a
  // row; an empty file when the user cancels.
  struct ValueLogChoice {
    QString file;
    bool everyAnswer = false;
  };
  std::function<ValueLogChoice(frmQuorvel& window)> ChooseValueLogFile;
  // Hands a file to the program the desktop opens its type with; false when
  // there is none.
  std::function<bool(const QString& path)> OpenDocument;

  // The desktop session ends (logout, SIGTERM, SIGHUP): closes as File >
  // Exit does, settings and recent lists saved, but asks nothing.
  void EndSession();

  // The code page of project and session texts, kept in the settings.
  void ChooseCodePage(int number);

 protected:
  void closeEvent(QCloseEvent* event) override;
  // Sees every input event of the program, to re-arm the wake-up after it.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void SyncWindows();
  // Turns the handlers on or off as the core says, and arms the wake-up
  // and the notifiers for what the core waits for now.
  void SyncTimers();
  // Runs the enabled handlers: the deadline came, or `fd` has bytes.
  void Serve();
  void StopService();
  void ActiveChanged();
  // The core of the active sub-window; nullptr when none is active.
  frmQuorvel* ActiveCore() const;
  QMdiSubWindow* AddView(frmQuorvel& window);
  void OpenCompanion(const std::string& file);
  // Places in twips follow the screen and the screen follows the core: a
  // place the core changed (a session loaded) is applied, otherwise the
  // place on screen is recorded for the next session file.
  void SyncPlacements();
  QRect ToPixels(const WindowPlacement& place) const;
  // `wanted` made to fit the screen's available area, moved before shrunk.
  QRect FitScreen(const QRect& wanted) const;
  WindowPlacement ToTwips(const QRect& rect) const;

  platform::SettingsStore& store_;
  QMdiArea* area_;
  MenuBar menus_;
  WakePacer pacer_;
  QTimer wake_;
  std::map<int, QSocketNotifier*> notifiers_;  // by descriptor, enabled while wanted
  bool pollingOn_ = false;
  bool checkOn_ = false;
  bool rearmPosted_ = false;
  QTimer refresh_;
  std::map<frmQuorvel*, QMdiSubWindow*> views_;
  std::map<frmQuorvel*, WindowPlacement> placed_;
  bool endingSession_ = false;
  WindowPlacement framePlaced_;
  std::vector<std::string> shownRecent_;
  MessageWindow* message_ = nullptr;
  std::map<int, TrafficWindow*> traffic_;             // by port, kept once opened
  std::map<const frmQuorvel*, TrendWindow*> trends_;  // by device window, while it is open
  // A device window is going: its trend goes first.
  void DropTrend(frmQuorvel* window);
  std::unique_ptr<platform::InstanceServer> link_;
  QSocketNotifier* linkNotifier_ = nullptr;
  bool closing_ = false;
};

}  // namespace quorvel
