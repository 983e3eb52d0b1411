// Quick polls in the desktop over a real virtual null modem: File > New poll
// opens a connected Master window whose values come from the emulated meter
// on the other end, Save Project As gives it a file that loads, and Find
// devices scans a port step by step and stops at once when cancelled.

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include "../app/SessionTestSupport.h"
#include "DesktopTestSupport.h"
#include "MenuTestSupport.h"
#include "WaitSupport.h"
#include "app/qt/DeviceWindow.h"
#include "app/qt/FindDevicesDialog.h"
#include "app/qt/NewPollDialog.h"
#include "app/qt/QuickPollCommands.h"

namespace quorvel {
namespace {

// Once the modal dialog of type D is up, `fill` sets it and it is accepted;
// one that does not come up within the wait is a failure, not a hang.
template <typename D, typename Fill>
void WhenDialogShows(Fill fill) {
  QTimer::singleShot(0, [fill] {
    D* dialog = nullptr;
    WaitFor([&] { return (dialog = qobject_cast<D*>(QApplication::activeModalWidget())) != nullptr; }, 5000);
    if (!dialog) {
      ADD_FAILURE() << "no dialog came up";
      return;
    }
    fill(*dialog);
  });
}

struct QuickPollDesktop : ModemDesktop {
  testing::TempDir dir;

  void SetUp() override { Start(""); }

  // The sample meter emulated on COM2.
  frmQuorvel& EmulatedMeter() {
    frmQuorvel* meter = frame->OpenProject(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
    EXPECT_NE(meter, nullptr);
    frame->Command([&] {
      meter->mnuMode_Click(kSlave);
      meter->mnuCOM_Click(2);
      meter->mnuConnect_Click();
    });
    return *meter;
  }
};

TEST_F(QuickPollDesktop, NewPollOpensAConnectedMasterThatShowsTheDevicesValues) {
  frmQuorvel& meter = EmulatedMeter();
  const int meterId = meter.ID();
  QAction* item = FindMenuItem(*frame->menuBar(), "&File", "&New Poll...");
  ASSERT_NE(item, nullptr);
  WhenDialogShows<NewPollDialog>([meterId](NewPollDialog& dialog) {
    dialog.SlaveId().setValue(meterId);
    dialog.Function().setCurrentIndex(2);  // holding registers
    dialog.Start().setValue(13);
    dialog.Quantity().setValue(1);
    dialog.Type().setCurrentText("hex16");
    dialog.Period().setValue(100);
    dialog.Port().setCurrentIndex(0);
    QTest::mouseClick(&dialog.Ok(), Qt::LeftButton);
  });
  item->trigger();

  ASSERT_EQ(frame->Devices().size(), 2u);
  frmQuorvel& poll = *frame->Devices().back();
  EXPECT_EQ(poll.Mode(), kMaster);
  EXPECT_EQ(poll.COM(), 1);
  EXPECT_EQ(poll.ID(), meterId);
  EXPECT_TRUE(poll.Connected());
  EXPECT_EQ(frame->Port(1).State, PortEntry::kOpen);
  EXPECT_EQ(frame->Menus().Window(), &poll) << "the new window is the active one";
  // The meter's identification register, read by the poll.
  EXPECT_TRUE(WaitFor([&] { return ValueText(poll, "HR0013") == "2A51h"; })) << ValueText(poll, "HR0013");

  // Saved under a name of the user's: the window now names that file, and it loads.
  const std::string saved = dir.Make("Meter poll.qvc");
  ASSERT_NE(FindMenuItem(*frame->menuBar(), "&File", "Save &Project As..."), nullptr);
  SaveProjectAsCommand(*frame, poll, [&] { return QString::fromStdString(saved); });
  EXPECT_EQ(poll.ProjectFile(), saved);
  EXPECT_TRUE(poll.Caption().find("Meter poll") != std::string::npos) << poll.Caption();
  frmQuorvelMain other(clock);
  frmQuorvel* reopened = other.OpenProject(saved);
  ASSERT_NE(reopened, nullptr);
  EXPECT_EQ(reopened->ElementsOf(Table::Holding).size(), 1u);
  EXPECT_EQ(reopened->PollingPeriod(), 100);
}

TEST_F(QuickPollDesktop, AValueRetypedFromItsMenuShowsTheNewDecodingStillConnected) {
  frmQuorvel& meter = EmulatedMeter();
  QuickPollTarget target;
  target.slaveId = meter.ID();
  target.poll = {3, 13, 1, "hex16", 100};
  std::string error;
  frmQuorvel* poll = nullptr;
  frame->Command([&] { poll = OpenQuickPoll(*frame, target, error); });
  ASSERT_NE(poll, nullptr) << error;
  frame->SyncView();
  ASSERT_TRUE(WaitFor([&] { return ValueText(*poll, "HR0013") == "2A51h"; })) << ValueText(*poll, "HR0013");
  const int box = poll->ElementsOf(Table::Holding).front().element->rCtrl()->Index();
  EXPECT_EQ(ValueMenu(*frame, meter, box), nullptr) << "a window from a project file has no value menu";

  const std::unique_ptr<QMenu> menu = ValueMenu(*frame, *poll, box);
  ASSERT_NE(menu, nullptr);
  QAction* uint16 = nullptr;
  for (QAction* action : menu->actions())
    if (action->text() == "uint16") uint16 = action;
  ASSERT_NE(uint16, nullptr);
  uint16->trigger();
  EXPECT_TRUE(WaitFor([&] { return ValueText(*poll, "HR0013") == "10 833"; })) << ValueText(*poll, "HR0013");
  EXPECT_TRUE(poll->Connected());
  EXPECT_EQ(frame->Port(1).State, PortEntry::kOpen);
  bool shown = false;
  for (const auto* w : frame->findChildren<DeviceWindow*>())
    if (&w->Core() == poll) shown = w->Panel().ViewOf("Tbd", box) && w->Panel().ViewOf("Tbd", box)->Text() == "10 833";
  EXPECT_TRUE(shown) << "the value box on screen shows the new decoding";
}

TEST_F(QuickPollDesktop, APollOnAPortHeldByASlaveIsRefused) {
  EmulatedMeter();
  std::string error;
  QuickPollTarget target;
  target.com = 2;
  EXPECT_EQ(OpenQuickPoll(*frame, target, error), nullptr);
  EXPECT_NE(error.find("COM2"), std::string::npos) << error;
  EXPECT_EQ(frame->Devices().size(), 1u);
}

TEST_F(QuickPollDesktop, CancelStopsAScanOfASilentLineAtOnce) {
  FindDevicesDialog dialog(*frame, 1, frame.get());
  dialog.show();
  dialog.Ids().setText("1-247");
  dialog.Timeout().setValue(100);
  QTest::mouseClick(&dialog.StartButton(), Qt::LeftButton);
  ASSERT_NE(dialog.Scan(), nullptr);
  // The frame's event loop goes on: the scan moves from id to id.
  ASSERT_TRUE(WaitFor([&] { return dialog.Scan()->Scan().CurrentId() >= 3; })) << dialog.Status().text().toStdString();
  ASSERT_TRUE(dialog.CancelButton().isEnabled());
  QTest::mouseClick(&dialog.CancelButton(), Qt::LeftButton);
  const int stoppedAt = dialog.Scan()->Scan().CurrentId();
  EXPECT_EQ(dialog.Scan()->state(), PortScan::State::Cancelled);
  EXPECT_EQ(dialog.Scan()->Descriptor(), -1) << "the line is closed";
  EXPECT_LT(dialog.Progress().value(), 10);
  EXPECT_TRUE(dialog.Status().text().startsWith("Cancelled")) << dialog.Status().text().toStdString();
  EXPECT_TRUE(dialog.StartButton().isEnabled());
  // Several time-outs later nothing more has been asked.
  QTest::qWait(350);
  EXPECT_EQ(dialog.Scan()->Scan().CurrentId(), stoppedAt);
  EXPECT_EQ(dialog.Found().count(), 0);
}

TEST_F(QuickPollDesktop, FindsTheEmulatedMeterAndRefusesAPortInUse) {
  frmQuorvel& meter = EmulatedMeter();
  FindDevicesDialog dialog(*frame, 2, frame.get());
  dialog.show();
  QTest::mouseClick(&dialog.StartButton(), Qt::LeftButton);
  EXPECT_EQ(dialog.Scan(), nullptr);
  EXPECT_TRUE(dialog.Status().text().contains("COM2 is in use")) << dialog.Status().text().toStdString();

  dialog.Port().setCurrentIndex(0);
  dialog.Ids().setText(QString("%1").arg(meter.ID()));
  QTest::mouseClick(&dialog.StartButton(), Qt::LeftButton);
  ASSERT_NE(dialog.Scan(), nullptr);
  ASSERT_TRUE(WaitFor([&] { return dialog.Scan()->state() != PortScan::State::Running; }));
  EXPECT_EQ(dialog.Scan()->state(), PortScan::State::Finished) << dialog.Status().text().toStdString();
  ASSERT_EQ(dialog.Found().count(), 1);
  EXPECT_EQ(dialog.Found().item(0)->text(), QString("ID %1: registers").arg(meter.ID()));
  dialog.Found().setCurrentRow(0);
  QTest::mouseClick(&dialog.PollButton(), Qt::LeftButton);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(dialog.ChosenId(), meter.ID());
  EXPECT_EQ(dialog.Com(), 1);
}

}  // namespace
}  // namespace quorvel
