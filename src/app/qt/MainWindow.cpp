#include "app/qt/MainWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSocketNotifier>
#include <QUrl>
#include <algorithm>
#include <cmath>

#include "app/CodePageSetting.h"
#include "app/FileCommands.h"
#include "app/Settings.h"
#include "app/Startup.h"
#include "app/TileToFit.h"
#include "app/qt/DeviceWindow.h"
#include "app/qt/QuickPollCommands.h"
#include "app/qt/TrafficWindow.h"
#include "app/qt/ValueLogDialog.h"
#include "device/qt/TrendWindow.h"
#include "device/qt/Twips.h"
#include "dialogs/frmCOMSettings.h"
#include "dialogs/frmSlaveAddress.h"
#include "dialogs/frmUserWrite.h"
#include "dialogs/qt/AboutDialog.h"
#include "dialogs/qt/COMSettingsDialog.h"
#include "dialogs/qt/MessageWindow.h"
#include "dialogs/qt/SlaveAddressDialog.h"
#include "dialogs/qt/UserWriteDialog.h"
#include "platform/BoundedRead.h"

namespace quorvel {
namespace {

// The longest the ports' service sleeps while on: a change the frame was not
// told of is served this late at worst.
constexpr double kWakeCapMs = 100;

// Exceptions must not cross Qt's event loop: a failed command is reported and
// the program goes on.
template <typename Run>
void Guarded(MainWindow& main, Run run) {
  try {
    run();
  } catch (const std::exception& failure) {
    main.MsgBox(failure.what());
  }
}

}  // namespace

MainWindow::MainWindow(platform::Clock& clock, platform::PortMap portMap, platform::SettingsStore& store)
    : frmQuorvelMain(clock, std::move(portMap)),
      store_(store),
      area_(new QMdiArea),
      menus_(*menuBar(), *this),
      pacer_(*this, clock, kWakeCapMs) {
  setCentralWidget(area_);
  area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  area_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  connect(area_, &QMdiArea::subWindowActivated, this, [this] { ActiveChanged(); });
  wake_.setTimerType(Qt::PreciseTimer);
  wake_.setSingleShot(true);
  connect(&wake_, &QTimer::timeout, this, [this] { Serve(); });
  qApp->installEventFilter(this);
  // Values arrive on the panels as they come; captions, the statistics line
  // and the menus are caught up with a few times a second.
  refresh_.setInterval(100);
  connect(&refresh_, &QTimer::timeout, this, [this] { SyncView(); });
  refresh_.start();
  SetMsgBoxSink([this](const std::string& text) {
    // Every box here reports something that went wrong.
    QMessageBox::warning(this, QString::fromStdString(Globals().ProgramTitle), QString::fromStdString(text));
  });
  SetShowMsgSink([this](const std::string& text) {
    if (!message_) message_ = new MessageWindow(this);
    message_->ShowMsg(text);
  });
  AskYesNoCancel = [this](const QString& text, const QString& title) {
    return QMessageBox::question(this, title, text, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
  };
  ChooseOpenFile = [this] {
    return QFileDialog::getOpenFileName(this, "Open", QString::fromStdString(Globals().LastPath),
                                        "Project,Session (*.qvc *.qvs);;Project (*.qvc);;Session (*.qvs)");
  };
  OpenDocument = [](const QString& path) { return QDesktopServices::openUrl(QUrl::fromLocalFile(path)); };
  ChooseSaveFile = [this] {
    QFileDialog dialog(this, "Save Session", QString::fromStdString(Globals().LastPath), "Session(*.qvs)");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix("qvs");
    if (!Globals().CurrentSession.empty()) dialog.selectFile(QString::fromStdString(Globals().CurrentSession));
    return dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty() ? dialog.selectedFiles().front()
                                                                                   : QString();
  };
  ChooseValueLogFile = [this](frmQuorvel& window) {
    // Beside the project, named for it: "Coriolis-values.csv".
    QString suggested = QString::fromStdString(window.ProjectFile());
    if (suggested.endsWith(".qvc", Qt::CaseInsensitive)) suggested.chop(4);
    ValueLogDialog dialog(suggested.isEmpty() ? QString() : suggested + "-values.csv", this);
    ValueLogChoice choice;
    if (dialog.exec() == QDialog::Accepted) choice = {dialog.File(), dialog.EveryAnswer()};
    return choice;
  };
  menus_.Build(nullptr);
}

MainWindow::~MainWindow() {
  // Sub-windows going away activate others; the menus are not rebuilt over
  // views half gone.
  area_->disconnect(this);
  // The trends and panels watch their windows' cores: they go first.
  for (auto& [core, trend] : trends_) delete trend;
  trends_.clear();
  for (auto& [core, view] : views_) {
    view->disconnect(this);
    delete view;
  }
  views_.clear();
  // The Traffic windows read the port table, which goes before the frame's children.
  for (auto& [com, traffic] : traffic_) delete traffic;
}

void MainWindow::Load(const std::string& commandLine) {
  setWindowTitle(QString::fromStdString(Globals().ProgramTitle));
  Globals().AppPath = ProgramDirectory();
  const QScreen* shown = screen();
  const Twips twips = Twips::ForScreen(shown);
  const QRect available = shown ? shown->availableGeometry() : QRect(0, 0, 1024, 768);
  LoadStartupSettings(
      store_, *this,
      {static_cast<float>(twips.ToTwips(available.width())), static_cast<float>(twips.ToTwips(available.height()))});
  // Saved on a larger screen, or a screen since unplugged: kept on this one.
  setGeometry(FitScreen(ToPixels(Placement)));
  Placement = ToTwips(geometry());
  framePlaced_ = Placement;
  SetCodePage(UserCodePage(store_));
  Guarded(*this, [&] { OpenCommandLine(*this, commandLine); });
  FindPorts();
  SyncView();
}

void MainWindow::ServeLink(std::unique_ptr<platform::InstanceServer> link) {
  link_ = std::move(link);
  if (!link_) return;
  linkNotifier_ = new QSocketNotifier(link_->fd(), QSocketNotifier::Read, this);
  connect(linkNotifier_, &QSocketNotifier::activated, this, [this] {
    // A message box while opening runs a nested event loop; the link waits
    // for this hand-off to end before it is served again.
    linkNotifier_->setEnabled(false);
    link_->Service([this](const std::string& name) {
      Guarded(*this, [&] { Form_LinkOpen(*this, name); });
      SyncView();
    });
    linkNotifier_->setEnabled(true);
  });
}

void MainWindow::Command(const std::function<void()>& run) {
  Guarded(*this, run);
  SyncView();
}

QRect MainWindow::FitScreen(const QRect& wanted) const {
  const QScreen* shown = screen();
  if (!shown) return wanted;
  const QRect room = shown->availableGeometry();
  QRect fitted(wanted.topLeft(), wanted.size().boundedTo(room.size()));
  fitted.moveLeft(std::clamp(fitted.left(), room.left(), room.right() - fitted.width() + 1));
  fitted.moveTop(std::clamp(fitted.top(), room.top(), room.bottom() - fitted.height() + 1));
  return fitted;
}

QRect MainWindow::ToPixels(const WindowPlacement& place) const {
  const Twips twips = Twips::ForScreen(screen());
  return twips.ToRect(static_cast<std::int32_t>(place.Left), static_cast<std::int32_t>(place.Top),
                      static_cast<std::int32_t>(place.Width), static_cast<std::int32_t>(place.Height));
}

WindowPlacement MainWindow::ToTwips(const QRect& rect) const {
  const Twips twips = Twips::ForScreen(screen());
  return {static_cast<float>(twips.ToTwips(rect.x())), static_cast<float>(twips.ToTwips(rect.y())),
          static_cast<float>(twips.ToTwips(rect.width())), static_cast<float>(twips.ToTwips(rect.height()))};
}

void MainWindow::SyncPlacements() {
  if (!isMinimized()) {
    if (Placement != framePlaced_) {
      // A session gives the frame's size; it stays where it is.
      const QRect wanted = ToPixels(Placement);
      resize(FitScreen(QRect(pos(), wanted.size())).size());
    } else {
      Placement = ToTwips(geometry());
    }
    framePlaced_ = Placement;
  }
  for (auto& [core, sub] : views_) {
    if (sub->isMinimized() || sub->isMaximized()) continue;
    auto placed = placed_.find(core);
    if (placed == placed_.end() || core->Placement != placed->second) {
      if (core->Placement.Width > 0 && core->Placement.Height > 0) sub->setGeometry(ToPixels(core->Placement));
    } else {
      core->Placement = ToTwips(sub->geometry());
    }
    placed_[core] = core->Placement;
  }
}

void MainWindow::SyncView() {
  SyncWindows();
  SyncPlacements();
  SyncTimers();
  for (DeviceWindow* view : Views()) view->Refresh();
  // Logs reach their files at least once a second.
  for (const auto& core : Devices()) core->ValueLogTick();
  // The recent lists show in the File menu: a change rebuilds the bar.
  std::vector<std::string> recent = Globals().RecentFiles;
  recent.insert(recent.end(), Globals().RecentSessions.begin(), Globals().RecentSessions.end());
  if (recent != shownRecent_ || ActiveCore() != menus_.Window()) {
    shownRecent_ = recent;
    menus_.Build(ActiveCore());
  } else {
    menus_.Refresh();
  }
}

std::vector<DeviceWindow*> MainWindow::Views() const {
  std::vector<DeviceWindow*> views;
  for (const auto& core : Devices()) {
    const auto found = views_.find(core.get());
    if (found != views_.end()) views.push_back(static_cast<DeviceWindow*>(found->second->widget()));
  }
  return views;
}

QMdiSubWindow* MainWindow::AddView(frmQuorvel& window) {
  auto* view = new DeviceWindow(window);
  QMdiSubWindow* sub = area_->addSubWindow(view);
  sub->setAttribute(Qt::WA_DeleteOnClose);
  frmQuorvel* core = &window;
  // Only a quick poll's values have a menu; other windows' boxes keep none.
  view->Panel().OnValueMenu([this, core](int box, const QPoint& at) {
    const std::unique_ptr<QMenu> menu = ValueMenu(*this, *core, box);
    if (menu) menu->exec(at);
    return menu != nullptr;
  });
  // Closed by the user: the view is gone (its panel with it), then the core.
  connect(sub, &QObject::destroyed, this, [this, core] {
    views_.erase(core);
    placed_.erase(core);
    DropTrend(core);
    if (closing_) return;
    CloseDevice(*core);
    SyncView();
  });
  // At the size its panel needs, caption and borders included. A window
  // that a session placed is moved to its place afterwards and keeps it.
  const QSize wanted = sub->sizeHint();
  const bool placed = window.Placement.Width > 0 && window.Placement.Height > 0;
  QSize room = area_->viewport()->size();
  if (!placed && isVisible() && !isMaximized() && !isFullScreen() &&
      (wanted.width() > room.width() || wanted.height() > room.height())) {
    // The frame grows as far as the screen lets it, rather than the panel
    // scrolling; the area grows with it (the desktop may say so only later).
    const QSize before = size();
    resize(FitScreen(QRect(pos(), before + (wanted - room).expandedTo(QSize(0, 0)))).size());
    room += size() - before;
  }
  sub->resize(wanted.boundedTo(room.expandedTo(QSize(320, 240))));
  // Showing activates it: the frame must know whose view it is by then, or
  // the menu bar is built for no window.
  views_[core] = sub;
  sub->show();
  return sub;
}

void MainWindow::Activate(frmQuorvel& window) {
  const auto found = views_.find(&window);
  if (found != views_.end()) area_->setActiveSubWindow(found->second);
}

frmQuorvel* MainWindow::ActiveCore() const {
  const QMdiSubWindow* active = area_->activeSubWindow();
  for (const auto& [window, sub] : views_)
    if (sub == active) return window;
  return nullptr;
}

void MainWindow::SyncWindows() {
  for (const auto& core : Devices())
    if (!views_.count(core.get())) AddView(*core);
  for (auto it = views_.begin(); it != views_.end();) {
    const bool alive =
        std::any_of(Devices().begin(), Devices().end(), [&](const auto& core) { return core.get() == it->first; });
    if (alive) {
      ++it;
      continue;
    }
    QMdiSubWindow* sub = it->second;
    placed_.erase(it->first);
    DropTrend(it->first);
    it = views_.erase(it);
    sub->disconnect(this);
    delete sub;
  }
}

void MainWindow::SyncTimers() {
  pollingOn_ = PollingTimerEnabled();
  checkOn_ = CheckTimerEnabled();
  if (closing_ || (!pollingOn_ && !checkOn_)) {
    StopService();
    return;
  }
  const WakePacer::Wait wait = pacer_.Next();
  for (const int fd : wait.Descriptors) {
    if (notifiers_.count(fd)) continue;
    auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    notifier->setEnabled(false);
    connect(notifier, &QSocketNotifier::activated, this, [this] { Serve(); });
    notifiers_[fd] = notifier;
  }
  // A line's descriptor closes with its port; its notifier is off by then,
  // since every change to the ports comes back here before the next event.
  for (auto& [fd, notifier] : notifiers_) {
    const bool wanted = std::find(wait.Descriptors.begin(), wait.Descriptors.end(), fd) != wait.Descriptors.end();
    if (notifier->isEnabled() != wanted) notifier->setEnabled(wanted);
  }
  // Whole milliseconds, rounded up: a wake-up before the deadline would find
  // nothing to do and come again at once.
  wake_.start(static_cast<int>(std::ceil(std::min(wait.TimeoutMs, kWakeCapMs))));
}

void MainWindow::StopService() {
  wake_.stop();
  for (auto& [fd, notifier] : notifiers_) notifier->setEnabled(false);
}

void MainWindow::Serve() {
  if (pollingOn_) Guarded(*this, [this] { PollingTimer_Timer(); });
  if (checkOn_) Guarded(*this, [this] { CheckTimer_Timer(); });
  if (pollingOn_) Guarded(*this, [this] { SendOnFreedPorts(); });
  pacer_.Ran();
  SyncTimers();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Shortcut:
      // A value typed or a request chosen may have changed what is due; the
      // event is handled after this, so the re-arm comes after it.
      if (!rearmPosted_) {
        rearmPosted_ = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
              rearmPosted_ = false;
              SyncTimers();
            },
            Qt::QueuedConnection);
      }
      break;
    default:
      break;
  }
  return QMainWindow::eventFilter(watched, event);
}

void MainWindow::ActiveChanged() {
  frmQuorvel* core = ActiveCore();
  if (core != menus_.Window() || !core) menus_.Build(core);
}

void MainWindow::OpenCOM() {
  frmQuorvelMain::OpenCOM();
  SyncTimers();
}

TrafficWindow* MainWindow::OpenTraffic(int com) {
  if (com < 1 || com > 16) {
    MsgBox("This window has no port yet: choose one in the Connection menu.");
    return nullptr;
  }
  TrafficWindow*& window = traffic_[com];
  // Closing only hides the window: it keeps its filter and rows for next time.
  if (!window)
    window = new TrafficWindow(Port(com), com, std::make_unique<PortEntryFramePort>(Port(com)), clock(), this);
  window->show();
  window->raise();
  window->activateWindow();
  return window;
}

void MainWindow::ChooseValueLog(frmQuorvel& window) {
  const ValueLogChoice choice = ChooseValueLogFile ? ChooseValueLogFile(window) : ValueLogChoice{};
  if (!choice.file.isEmpty()) window.StartValueLog(choice.file.toStdString(), choice.everyAnswer, clock());
}

void MainWindow::OpenTrend(frmQuorvel& window) {
  TrendWindow*& trend = trends_[&window];
  if (!trend) trend = new TrendWindow(window, clock(), this);
  trend->show();
  trend->raise();
  trend->activateWindow();
}

TrendWindow* MainWindow::Trend(const frmQuorvel* window) const {
  const auto found = trends_.find(window);
  return found == trends_.end() ? nullptr : found->second;
}

void MainWindow::DropTrend(frmQuorvel* window) {
  const auto found = trends_.find(window);
  if (found == trends_.end()) return;
  delete found->second;
  trends_.erase(found);
}

void MainWindow::SetPortPath(int com, const std::string& path) {
  frmQuorvelMain::SetPortPath(com, path);
  if (PortPath(com) == path && !SavePortPath(store_, com, path))
    MsgBox("The path of COM" + std::to_string(com) + " could not be kept in the settings.");
}

void MainWindow::ShowUserWrite(frmQuorvel& window, const ElementCollection& elements,
                               std::shared_ptr<ReqProp> request) {
  UserWriteDialog dialog(std::make_unique<frmUserWrite>(window, elements, window.PendingRequests, std::move(request)),
                         this);
  dialog.exec();
}

void MainWindow::ShowCOMSettings(int com) {
  frmCOMSettings model(*this);
  model.ShowForm(com);
  COMSettingsDialog dialog(model, this);
  dialog.exec();
}

void MainWindow::ShowSettings(frmQuorvel& window) {
  frmSlaveAddress model;
  model.ID(window);
  SlaveAddressDialog dialog(model, this);
  dialog.exec();
}

void MainWindow::CopyText(const std::string& text) {
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void MainWindow::Arrange(Arrangement how) {
  if (how == Arrangement::Cascade) {
    area_->cascadeSubWindows();
    return;
  }
  // Tiled horizontally: one above the other, full width; vertically: side by side.
  QList<QMdiSubWindow*> shown;
  for (QMdiSubWindow* sub : area_->subWindowList())
    if (!sub->isMinimized() && sub->isVisible()) shown.push_back(sub);
  if (shown.isEmpty()) return;
  const QRect all = area_->viewport()->rect();
  if (how == Arrangement::TileToFit) {
    std::vector<TileSize> wanted;
    for (QMdiSubWindow* sub : shown) {
      sub->showNormal();
      wanted.push_back({sub->sizeHint().width(), sub->sizeHint().height()});
    }
    const std::vector<TileRect> placed = TileToFit({all.width(), all.height()}, wanted);
    for (std::size_t i = 0; i < placed.size(); ++i) {
      const TileRect& r = placed[i];
      shown[static_cast<qsizetype>(i)]->setGeometry(r.left, r.top, r.width, r.height);
      shown[static_cast<qsizetype>(i)]->raise();
    }
    return;
  }
  const int n = static_cast<int>(shown.size());
  for (int i = 0; i < n; ++i) {
    shown[i]->showNormal();
    if (how == Arrangement::TileHorizontally)
      shown[i]->setGeometry(0, all.height() * i / n, all.width(), all.height() / n);
    else
      shown[i]->setGeometry(all.width() * i / n, 0, all.width() / n, all.height());
  }
}

void MainWindow::OpenCompanion(const std::string& file) {
  const QString path = QString::fromStdString(Globals().AppPath + file);
  if (!QFile::exists(path)) {
    MsgBox("File not found: " + path.toStdString());
    return;
  }
  // Without a program for the file type the desktop opens nothing and says
  // nothing; the user is told where the file is instead.
  if (!OpenDocument(path))
    MsgBox("No program is set up to open " + path.toStdString() + "\nOpen the file with a viewer of your choice.");
}

void MainWindow::RunFrameCommand(FrameCommand command, int index) {
  switch (command) {
    case FrameCommand::Open: {
      const QString file = ChooseOpenFile ? ChooseOpenFile() : QString();
      if (!file.isEmpty()) OpenChosenFile(*this, file.toStdString());
      break;
    }
    case FrameCommand::SaveSession:
      SaveSessionMain();
      break;
    case FrameCommand::QuickStart:
      OpenCompanion("QuickStart.pdf");
      break;
    case FrameCommand::OnTheWeb: {
      // An Internet shortcut: its URL= line is what a browser opens.
      std::string shortcut, problem;
      QString url;
      if (platform::ReadWholeFile(Globals().AppPath + "Draventa.url", platform::kLinkFileLimit, shortcut, problem))
        for (const QByteArray& line : QByteArray::fromStdString(shortcut).split('\n'))
          if (line.trimmed().startsWith("URL=")) url = QString::fromUtf8(line.trimmed().mid(4));
      if (url.isEmpty())
        OpenCompanion("Draventa.url");
      else
        QDesktopServices::openUrl(QUrl(url));
      break;
    }
    case FrameCommand::About: {
      AboutDialog about(Globals().ProgramTitle, this);
      about.exec();
      break;
    }
    default:
      frmQuorvelMain::RunFrameCommand(command, index);
      break;
  }
  SyncView();
}

void MainWindow::SaveSessionMain() {
  const QString file = ChooseSaveFile ? ChooseSaveFile() : QString();
  if (!file.isEmpty()) SaveChosenSession(*this, file.toStdString());
}

void MainWindow::ChooseCodePage(int number) {
  if (const CodePage* page = CodePage::Find(number)) {
    SetCodePage(*page);
    SaveUserCodePage(store_, number);
  }
}

void MainWindow::EndSession() {
  endingSession_ = true;
  close();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  const auto ask = [this](const std::string& text, const std::string& title) {
    const int answer = AskYesNoCancel(QString::fromStdString(text), QString::fromStdString(title));
    return answer == QMessageBox::Yes  ? PromptAnswer::Yes
           : answer == QMessageBox::No ? PromptAnswer::No
                                       : PromptAnswer::Cancel;
  };
  if (!endingSession_ && !MDIForm_QueryUnload(*this, ask, [this] { SaveSessionMain(); })) {
    event->ignore();
    return;
  }
  Minimized = isMinimized();
  if (!Minimized) Placement = ToTwips(geometry());
  closing_ = true;
  area_->disconnect(this);
  StopService();
  refresh_.stop();
  // Trends and views before the cores they show; then the frame's own unload.
  for (auto& [core, trend] : trends_) delete trend;
  trends_.clear();
  for (auto& [core, sub] : views_) {
    sub->disconnect(this);
    delete sub;
  }
  views_.clear();
  MDIForm_Unload(*this, store_);
  if (message_) message_->hide();
  event->accept();
}

}  // namespace quorvel
