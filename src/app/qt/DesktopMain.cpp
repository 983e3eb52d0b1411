#include "app/qt/DesktopMain.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "app/Settings.h"
#include "app/Startup.h"
#include "app/qt/MainWindow.h"
#include "platform/Clock.h"
#include "platform/StopSignals.h"

namespace quorvel {
namespace {

// The installed icon; run from the build tree, the one the build rendered.
QIcon ProgramIcon() {
  const QIcon installed = QIcon::fromTheme("quorvel");
  if (!installed.isNull()) return installed;
  const QString built = QString::fromStdString(ProgramDirectory()) + "../icons/48x48/quorvel.png";
  return QFile::exists(built) ? QIcon(built) : installed;
}

}  // namespace

int RunDesktop(int& argc, char** argv, FirstCopy& first) {
  // Blocked before the toolkit starts its threads, which inherit the mask, so
  // that a logout's SIGTERM or SIGHUP reaches the frame as an event.
  const platform::StopSignals stop;
  QApplication app(argc, argv);
  app.setApplicationName("Quorvel");
  // The installed icon and desktop entry, where the program is installed.
  app.setDesktopFileName("quorvel");
  app.setWindowIcon(ProgramIcon());
  std::unique_ptr<platform::SettingsStore> store = platform::OpenUserSettings();
  if (!store) {
    // Without a place for settings the program still runs; it forgets them.
    std::cerr << "quorvel: no settings folder; settings will not be kept\n";
    store = std::make_unique<platform::MemorySettingsStore>();
  }
  platform::PortMap portMap = LoadPortMap(*store);
  if (const char* ports = std::getenv("QUORVEL_PORTS"))
    if (auto problem = portMap.ApplyOverrides(ports)) std::cerr << "quorvel: QUORVEL_PORTS: " << *problem << "\n";
  if (!first.Link && !first.LinkProblem.empty()) std::cerr << "quorvel: " << first.LinkProblem << "\n";
  if (!first.LinkNote.empty()) std::cerr << "quorvel: " << first.LinkNote << "\n";

  platform::SystemClock clock;
  MainWindow frame(clock, std::move(portMap), *store);
  frame.Globals().ProgramTitle = first.ProgramTitle;
  frame.Load(first.CommandLine);
  frame.ServeLink(std::move(first.Link));
  frame.show();
  std::unique_ptr<QSocketNotifier> stopped;
  if (stop.fd() >= 0) {
    stopped = std::make_unique<QSocketNotifier>(stop.fd(), QSocketNotifier::Read);
    QObject::connect(stopped.get(), &QSocketNotifier::activated, &frame, [&frame, &stopped] {
      stopped->setEnabled(false);
      frame.EndSession();
      QApplication::quit();
    });
  }
  // Set by the demo, which made the lines the session's windows use.
  if (std::getenv("QUORVEL_CONNECT_ALL") && !frame.Devices().empty())
    frame.Command([&frame] { frame.Devices().front()->mnuConnectAll_Click(); });
  // Also the demo's: its windows side by side as far as the screen allows.
  // Arranged once the frame has its size on the screen.
  if (std::getenv("QUORVEL_TILE_TO_FIT")) {
    frame.showMaximized();
    QTimer::singleShot(0, &frame, [&frame] { frame.Arrange(Arrangement::TileToFit); });
  }
  return app.exec();
}

}  // namespace quorvel
