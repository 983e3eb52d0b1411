// The desktop frame over a real virtual null-modem line: the sample session's
// two windows connect, values travel from the emulated meter to the master's
// panel, a value typed on the slave's panel reaches the master, and the exit
// prompt decides whether the frame closes.

#include <gtest/gtest.h>

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QTest>

#include "DesktopTestSupport.h"
#include "MenuTestSupport.h"
#include "WaitSupport.h"
#include "app/qt/DeviceWindow.h"
#include "device/qt/TrendWindow.h"

namespace quorvel {
namespace {

// The sample session: a Master on COM1, a Slave on COM2.
struct Desktop : ModemDesktop {
  void SetUp() override {
    Start("\"" + std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvs\"");
    ASSERT_EQ(frame->Views().size(), 2u);
  }
};

TEST_F(Desktop, ConnectsTheSampleSessionAndShowsTheMetersValues) {
  const std::vector<DeviceWindow*> views = frame->Views();
  DeviceWindow& master = *views[0];
  DeviceWindow& slave = *views[1];
  EXPECT_EQ(frame->windowTitle().toStdString(), frame->Globals().ProgramTitle);
  frame->Command([&] { master.Core().mnuConnectAll_Click(); });
  ASSERT_TRUE(frame->PollingTimerActive());

  // The identification register travels from the emulation to the master's label.
  ASSERT_TRUE(WaitFor([&] { return ValueText(master.Core(), "HR0013") == "2A51h"; }))
      << ValueText(master.Core(), "HR0013");
  ASSERT_TRUE(WaitFor([&] { return master.Statistics().text().contains("rQ:4"); }))
      << master.Statistics().text().toStdString();
  EXPECT_TRUE(master.windowTitle().contains("Connected: COM1")) << master.windowTitle().toStdString();

  // Typed on the slave's panel: double-click, text, Enter; the master then reads it.
  PanelWidget& panel = slave.Panel();
  int index = -1;
  for (const auto& filed : slave.Core().HoldingElements)
    if (filed.element->AddressCaption() == "HR0025") index = std::stoi(filed.key);
  ASSERT_GE(index, 0);
  ControlView* label = panel.ViewOf("Tbd", index);
  ASSERT_NE(label, nullptr);
  QTest::mouseDClick(label, Qt::LeftButton);
  ASSERT_TRUE(panel.tbInput().isVisible());
  panel.tbInput().selectAll();
  QTest::keyClicks(&panel.tbInput(), "2.5");
  QTest::keyClick(&panel.tbInput(), Qt::Key_Return);
  EXPECT_FALSE(panel.tbInput().isVisible());
  EXPECT_TRUE(WaitFor([&] { return ValueText(master.Core(), "HR0025") == "2.5"; }))
      << ValueText(master.Core(), "HR0025");
  EXPECT_EQ(master.Core().Counters().TOErr, 0);
}

TEST_F(Desktop, EmulationEnableStartsAndStopsTheSlavesAnswers) {
  frmQuorvel& master = frame->Views()[0]->Core();
  frmQuorvel& slave = frame->Views()[1]->Core();
  frame->Command([&] { master.mnuConnectAll_Click(); });
  ASSERT_TRUE(WaitFor([&] { return slave.Counters().SlaveRequestCount >= 2; }));

  frame->Area().setActiveSubWindow(frame->Area().subWindowList()[1]);
  QAction* enable = FindMenuItem(*frame->menuBar(), "&Mode", "Emulation &Enable");
  ASSERT_NE(enable, nullptr);
  ASSERT_TRUE(enable->isChecked());
  enable->trigger();
  EXPECT_FALSE(slave.AutoEnable());
  // An answer under way when it was switched off may still arrive; after the
  // master's next time-out none comes.
  const int timeouts = master.Counters().TOErr;
  ASSERT_TRUE(WaitFor([&] { return master.Counters().TOErr > timeouts; }));
  const int answered = slave.Counters().SlaveRequestCount;
  ASSERT_TRUE(WaitFor([&] { return master.Counters().TOErr > timeouts + 1; }));
  EXPECT_EQ(slave.Counters().SlaveRequestCount, answered);

  enable->trigger();
  EXPECT_TRUE(slave.AutoEnable());
  EXPECT_TRUE(WaitFor([&] { return slave.Counters().SlaveRequestCount > answered; }));
}

TEST_F(Desktop, AsksBeforeClosingOnlyWhenTheSessionChanged) {
  EXPECT_TRUE(frame->close()) << "nothing changed: no question";
  EXPECT_TRUE(asked.empty());

  frame = NewFrame({});
  frame->Load(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
  ASSERT_EQ(frame->Views().size(), 1u);
  frame->Command([&] { frame->Views()[0]->Core().mnuMode_Click(kSlave); });
  answer = QMessageBox::Cancel;
  EXPECT_FALSE(frame->close());
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].toStdString(), "Draventa: Save current session?");
  answer = QMessageBox::No;
  EXPECT_TRUE(frame->close());
  // The closed project heads the recent list the frame saved.
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "1", ""), std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
}

// Logout: the frame closes as File > Exit does, without a question, and the
// settings and recent lists are saved.
TEST_F(Desktop, EndingTheDesktopSessionSavesSettingsWithoutAsking) {
  frame->Command([&] { frame->Views()[0]->Core().mnuMode_Click(kSlave); });
  ASSERT_TRUE(frame->Globals().SessionChanged);
  answer = QMessageBox::Cancel;
  frame->EndSession();
  EXPECT_TRUE(asked.empty());
  EXPECT_FALSE(frame->isVisible());
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "1", ""), std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "1s", ""), std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvs");
  EXPECT_NE(store.GetSetting("Quorvel", "Startup", "MainWidth", ""), "");
}

TEST_F(Desktop, TheMenuBarFollowsTheActiveWindow) {
  frame->Area().setActiveSubWindow(frame->Area().subWindowList()[0]);
  EXPECT_EQ(MenuTitles(*frame->menuBar()), "C&onnection|&Mode|&Totaliser|&Service|&Window|&File|&Help");
  frame->Area().setActiveSubWindow(frame->Area().subWindowList()[1]);
  EXPECT_EQ(MenuTitles(*frame->menuBar()), "C&onnection|&Mode|&Window|&File|&Help") << "a slave has no user menus";

  // The File menu lists the recent entries; the session just opened heads its list.
  const auto fileItems = [&] {
    QStringList items;
    for (QAction* item : FindMenu(*frame->menuBar(), "&File")->actions())
      if (!item->isSeparator()) items << item->text();
    return items;
  };
  const QString session = QString("Session &1 %1/Coriolis.qvs").arg(QUORVEL_BIN_DIR);
  EXPECT_TRUE(fileItems().contains(session)) << fileItems().join(" | ").toStdString();
  // Closing a window puts its project at the head of the recent projects.
  frame->Area().subWindowList()[1]->close();
  frame->SyncView();
  ASSERT_FALSE(fileItems().isEmpty());
  EXPECT_EQ(fileItems()[1].toStdString(), "&1 " + std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
}

TEST_F(Desktop, TheMastersModeMenuLogsItsValuesAndOpensItsTrend) {
  frmQuorvel& master = frame->Views()[0]->Core();
  QTemporaryDir dir;
  const QString file = dir.filePath("values.csv");
  int chosen = 0;
  frame->ChooseValueLogFile = [&](frmQuorvel& window) {
    ++chosen;
    EXPECT_EQ(&window, &master);
    return MainWindow::ValueLogChoice{file, false};
  };
  frame->Area().setActiveSubWindow(frame->Area().subWindowList()[0]);
  frame->Command([&] { master.mnuConnectAll_Click(); });
  QAction* log = FindMenuItem(*frame->menuBar(), "&Mode", "L&og values...");
  ASSERT_NE(log, nullptr);
  log->trigger();
  EXPECT_EQ(chosen, 1);
  EXPECT_TRUE(log->isChecked());
  ASSERT_TRUE(WaitFor([&] { return master.Log() && master.Log()->Rows() >= 2; }));
  log->trigger();  // stops, the file closed with its rows
  EXPECT_EQ(chosen, 1);
  EXPECT_FALSE(log->isChecked());
  QFile csv(file);
  ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
  const QList<QByteArray> rows = csv.readAll().split('\n');
  EXPECT_TRUE(rows.front().startsWith("time,Mass flow [kg/h],Density [kg/m\xc2\xb3]")) << rows.front().toStdString();
  EXPECT_GE(rows.size(), 3);

  QAction* trend = FindMenuItem(*frame->menuBar(), "&Mode", "&Trend...");
  ASSERT_NE(trend, nullptr);
  trend->trigger();
  ASSERT_NE(frame->Trend(&master), nullptr);
  EXPECT_TRUE(frame->Trend(&master)->isVisible());
  ASSERT_TRUE(WaitFor([&] { return frame->Trend(&master)->Recorder().Series(0).Size() >= 1; }));

  // A Slave has neither.
  frame->Area().setActiveSubWindow(frame->Area().subWindowList()[1]);
  EXPECT_FALSE(FindMenuItem(*frame->menuBar(), "&Mode", "L&og values...")->isVisible());
  EXPECT_FALSE(FindMenuItem(*frame->menuBar(), "&Mode", "&Trend...")->isVisible());
  // The trend goes with its window.
  frmQuorvel* gone = &master;
  frame->Area().subWindowList()[0]->close();
  EXPECT_TRUE(WaitFor([&] { return frame->Trend(gone) == nullptr; }));
}

}  // namespace
}  // namespace quorvel
