// A frame started without a file, then a project or session opened in each of
// the ways the program offers: the window that comes up is the active one and
// the menu bar is its own, not the bare frame's; its menu then works on it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <filesystem>
#include <future>

#include "../app/SessionTestSupport.h"
#include "MenuTestSupport.h"
#include "app/RecentLists.h"
#include "app/qt/DeviceWindow.h"
#include "app/qt/MainWindow.h"
#include "platform/InstanceLink.h"

namespace quorvel {
namespace {

const std::string kProject = std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc";
const std::string kSession = std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvs";

struct OpeningWindows : ::testing::Test {
  platform::SystemClock clock;
  platform::MemorySettingsStore store;
  std::unique_ptr<MainWindow> frame;

  void SetUp() override {
    frame = std::make_unique<MainWindow>(clock, platform::PortMap{}, store);
    frame->SetMsgBoxSink([](const std::string& text) { ADD_FAILURE() << "message box: " << text; });
    frame->Load("");
    frame->show();
    frame->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    ASSERT_EQ(MenuTitles(), "&File|&Help");
  }

  std::string MenuTitles() const { return quorvel::MenuTitles(*frame->menuBar()); }

  // The menu bar is the active window's, and the active window is the newest.
  void ExpectNewestWindowsMenus() const {
    ASSERT_FALSE(frame->Views().empty());
    QMdiSubWindow* active = frame->Area().activeSubWindow();
    ASSERT_NE(active, nullptr);
    EXPECT_EQ(active->widget(), frame->Views().back());
    EXPECT_EQ(frame->Menus().Window(), &frame->Views().back()->Core());
    EXPECT_EQ(MenuTitles(), "C&onnection|&Mode|&Totaliser|&Service|&Window|&File|&Help");
  }

  void TriggerFileItem(const QString& text) {
    QAction* item = FindMenuItem(*frame->menuBar(), "&File", text);
    ASSERT_NE(item, nullptr) << text.toStdString();
    item->trigger();
  }
  // File > Open... with the sample project chosen.
  void OpenSample() {
    frame->ChooseOpenFile = [] { return QString::fromStdString(kProject); };
    TriggerFileItem("&Open...");
  }
};

TEST_F(OpeningWindows, ARecentProject) {
  AddRecentFile(frame->Globals(), kProject);
  frame->SyncView();
  TriggerFileItem(QString::fromStdString("&1 " + kProject));
  ExpectNewestWindowsMenus();
}

TEST_F(OpeningWindows, FileOpenOfAProject) {
  OpenSample();
  ExpectNewestWindowsMenus();
}

TEST_F(OpeningWindows, TheOpenedWindowsValuesCopiedAsRowsFromItsMenu) {
  OpenSample();
  QAction* copy = FindMenuItem(*frame->menuBar(), "&Mode", "Copy All &Values");
  ASSERT_NE(copy, nullptr);
  QApplication::clipboard()->clear();
  copy->trigger();
  const QStringList rows = QApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
  ASSERT_FALSE(rows.isEmpty());
  EXPECT_EQ(rows.front(), QStringLiteral("Mass flow [kg/h]\tHR0000"));
  for (const QString& row : rows) EXPECT_EQ(row.count('\t'), 1) << row.toStdString();
}

TEST_F(OpeningWindows, AProjectOpensAtItsPanelsSizeWithTheFrameGrownForIt) {
  frame->resize(420, 320);
  OpenSample();
  QMdiSubWindow* sub = frame->Area().activeSubWindow();
  ASSERT_NE(sub, nullptr);
  const QSize screen = frame->screen()->availableGeometry().size();
  ASSERT_LT(sub->sizeHint().width(), screen.width() - 40) << "a screen with room for the panel";
  EXPECT_EQ(sub->size(), sub->sizeHint());
  EXPECT_GT(frame->width(), 420);
  QCoreApplication::processEvents();  // the layouts settle
  const auto* scroll = frame->Views().back()->findChild<QScrollArea*>();
  ASSERT_NE(scroll, nullptr);
  EXPECT_FALSE(scroll->horizontalScrollBar()->isVisible());
  EXPECT_FALSE(scroll->verticalScrollBar()->isVisible());
}

TEST(QuickStart, WithoutAViewerTheMessageSaysWhereTheGuideIs) {
  const std::string guide = std::string(QUORVEL_BIN_DIR) + "/QuickStart.pdf";
  const struct {
    const char* name;
    std::string folder;
    bool viewer;
    std::string message;  // "" for none
  } cases[] = {
      {"a viewer opens it", std::string(QUORVEL_BIN_DIR) + "/", true, ""},
      {"no viewer", std::string(QUORVEL_BIN_DIR) + "/", false, "No program is set up to open " + guide},
      {"no guide", "/nonexistent/", true, "File not found: /nonexistent/QuickStart.pdf"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    platform::SystemClock clock;
    platform::MemorySettingsStore store;
    MainWindow frame(clock, platform::PortMap{}, store);
    std::vector<std::string> boxes;
    frame.SetMsgBoxSink([&boxes](const std::string& text) { boxes.push_back(text); });
    frame.Load("");
    frame.Globals().AppPath = c.folder;
    QStringList opened;
    frame.OpenDocument = [&](const QString& path) {
      opened << path;
      return c.viewer;
    };
    QAction* item = FindMenuItem(*frame.menuBar(), "&Help", "&Quick Start");
    ASSERT_NE(item, nullptr);
    item->trigger();
    if (c.message.empty()) {
      EXPECT_TRUE(boxes.empty());
      EXPECT_EQ(opened, QStringList{QString::fromStdString(guide)});
    } else {
      ASSERT_EQ(boxes.size(), 1u);
      EXPECT_EQ(boxes[0].substr(0, c.message.size()), c.message);
    }
  }
}

TEST_F(OpeningWindows, ARecentSession) {
  AddRecentSession(frame->Globals(), kSession);
  frame->SyncView();
  TriggerFileItem(QString::fromStdString("Session &1 " + kSession));
  ASSERT_EQ(frame->Views().size(), 2u);
  // The session's last window is a slave: no user menus.
  QMdiSubWindow* active = frame->Area().activeSubWindow();
  ASSERT_NE(active, nullptr);
  EXPECT_EQ(frame->Menus().Window(), &static_cast<DeviceWindow*>(active->widget())->Core());
  EXPECT_NE(MenuTitles(), "&File|&Help");
  // Each window comes up where and as large as the session keeps it (twips),
  // and reading it back from the screen gives the same place.
  const WindowPlacement kept[] = {{0, 0, 11040, 7800}, {600, 600, 11040, 7800}};
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(frame->Views()[i]->Core().Placement, kept[i]) << i;
    EXPECT_EQ(frame->Views()[i]->parentWidget()->geometry(),
              QRect(static_cast<int>(kept[i].Left / 15), static_cast<int>(kept[i].Top / 15), 736, 520))
        << i;
  }
}

// A recent entry that now names a FIFO (or a device) is refused at once with
// a message; the window stays responsive and opens nothing.
TEST_F(OpeningWindows, ARecentEntryThatIsNoFileIsRefusedAtOnce) {
  const testing::TempDir dir;
  const std::string project = dir.Make("pipe.qvc"), session = dir.Make("pipe.qvs");
  std::vector<int> writers;
  for (const std::string& path : {project, session}) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    // Held open here so that even a reader that waited for a writer would not hang the test.
    writers.push_back(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  }
  std::vector<std::string> boxes;
  frame->SetMsgBoxSink([&](const std::string& text) { boxes.push_back(text); });
  AddRecentFile(frame->Globals(), project);
  AddRecentSession(frame->Globals(), session);
  frame->SyncView();
  TriggerFileItem(QString::fromStdString("&1 " + project));
  TriggerFileItem(QString::fromStdString("Session &1 " + session));
  EXPECT_TRUE(frame->Views().empty());
  EXPECT_EQ(boxes, (std::vector<std::string>{"Cannot read " + project + ": not a regular file",
                                             "Cannot read " + session + ": not a regular file"}));
  for (const int fd : writers) close(fd);
}

TEST_F(OpeningWindows, AProjectHandedOverByASecondCopy) {
  const std::string dir =
      (std::filesystem::temp_directory_path() / ("quorvel-gui-link-" + std::to_string(getpid()))).string();
  std::string error;
  ASSERT_TRUE(platform::PrepareLinkDirectory(dir, error)) << error;
  platform::InstanceClaim claim = platform::ClaimInstance(dir);
  ASSERT_EQ(claim.role, platform::InstanceRole::First) << claim.error;
  frame->ServeLink(std::move(claim.server));
  std::future<bool> offered = std::async(std::launch::async, [&] { return platform::OfferName(dir, kProject); });
  for (int waited = 0; waited < 5000 && frame->Views().empty(); waited += 10) QTest::qWait(10);
  EXPECT_TRUE(offered.get());
  ExpectNewestWindowsMenus();
  frame.reset();
  std::filesystem::remove_all(dir);
}

TEST_F(OpeningWindows, ShortcutsOpenSaveAndTheWindowList) {
  int saves = 0;
  frame->ChooseOpenFile = [] { return QString::fromStdString(kProject); };
  frame->ChooseSaveFile = [&] {
    ++saves;
    return QString();
  };
  QTest::keyClick(frame.get(), Qt::Key_O, Qt::ControlModifier);
  ASSERT_EQ(frame->Views().size(), 1u);
  QTest::keyClick(frame.get(), Qt::Key_O, Qt::ControlModifier);
  ASSERT_EQ(frame->Views().size(), 2u);
  QTest::keyClick(frame.get(), Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(saves, 1);

  // The Window menu lists both, the active (newest) one checked; choosing
  // the first makes it active.
  QStringList listed;
  QAction* first = nullptr;
  for (QAction* item : FindMenu(*frame->menuBar(), "&Window")->actions())
    if (item->text().startsWith("&1 ") || item->text().startsWith("&2 ")) {
      listed << item->text().left(2) + (item->isChecked() ? "*" : "");
      if (item->text().startsWith("&1 ")) first = item;
    }
  EXPECT_EQ(listed.join(",").toStdString(), "&1,&2*");
  ASSERT_NE(first, nullptr);
  first->trigger();
  EXPECT_EQ(frame->Menus().Window(), &frame->Views()[0]->Core());
}

}  // namespace
}  // namespace quorvel
