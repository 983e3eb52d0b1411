// The COM settings dialog driven as a user would: what the user sets in the
// controls reaches the port table on OK, and only then.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include "../device/FakeHost.h"
#include "DesktopTestSupport.h"
#include "app/Settings.h"
#include "dialogs/qt/COMSettingsDialog.h"

namespace quorvel::testing {
namespace {

struct ComDialogView : ::testing::Test {
  FakeHost host;
  frmCOMSettings model{host};
  COMSettingsDialog dialog{model};

  void Choose(QComboBox& box, const char* item) {
    const int index = box.findText(QString::fromLatin1(item));
    ASSERT_GE(index, 0) << item;
    box.setFocus();
    // Keyboard steps through the list as a user would, firing each step.
    while (box.currentIndex() < index) QTest::keyClick(&box, Qt::Key_Down);
    while (box.currentIndex() > index) QTest::keyClick(&box, Qt::Key_Up);
  }

  void TypeBaud(const char* text) {
    QLineEdit& edit = *dialog.cmbBaudRate().lineEdit();
    edit.setFocus();
    edit.selectAll();
    QTest::keyClicks(&edit, QString::fromLatin1(text));
  }
};

TEST_F(ComDialogView, TypedBaudAndEnterReachTheTable) {
  dialog.ShowForm(2);
  TypeBaud("12345");
  Choose(dialog.cmbParity(), " Even");
  Choose(dialog.cmbTiming(), " Fast");
  dialog.chkEcho().setFocus();
  QTest::keyClick(&dialog.chkEcho(), Qt::Key_Space);
  EXPECT_EQ(host.ports[2].dcb.BaudRate, 9600u) << "nothing reaches the table before OK";
  // Enter in the typed box is the form's OK, not the list's.
  QTest::keyClick(dialog.cmbBaudRate().lineEdit(), Qt::Key_Return);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(host.ports[2].dcb.BaudRate, 12345u);
  EXPECT_EQ(host.ports[2].dcb.Parity, 2);
  EXPECT_EQ(host.ports[2].Timing, LineTiming::Fast);
  EXPECT_TRUE(host.ports[2].Echo);
  EXPECT_EQ(host.sessionChanges, 1);
}

// A network address has no line settings: they are greyed while it is typed.
TEST_F(ComDialogView, ANetworkPathGreysTheLineSettings) {
  dialog.ShowForm(2);
  QLineEdit& edit = *dialog.cmbPath().lineEdit();
  edit.selectAll();
  QTest::keyClicks(&edit, QStringLiteral("mbtcp://127.0.0.1:502"));
  EXPECT_FALSE(dialog.cmbBaudRate().isEnabled());
  EXPECT_FALSE(dialog.cmbParity().isEnabled());
  EXPECT_TRUE(dialog.cmbTiming().isEnabled());
  edit.selectAll();
  QTest::keyClicks(&edit, QStringLiteral("/dev/ttyUSB1"));
  EXPECT_TRUE(dialog.cmbBaudRate().isEnabled());
}

using ComDialogPath = ModemDesktop;

TEST_F(ComDialogPath, ATypedPathIsKeptInTheSettingsAndUsedAtTheNextOpen) {
  const std::string path = modem.Path(platform::End::A);
  frame = NewFrame(LoadPortMap(store));
  frame->Load(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
  frmQuorvel& window = *frame->Devices().front();
  frame->Command([&] { window.mnuCOM_Click(7); });
  ASSERT_EQ(window.COM(), 7);

  frmCOMSettings model(*frame);
  COMSettingsDialog dialog(model);
  dialog.ShowForm(7);
  EXPECT_EQ(dialog.cmbPath().currentText().toStdString(), "/dev/ttyUSB2");
  QLineEdit& edit = *dialog.cmbPath().lineEdit();
  edit.setFocus();
  edit.selectAll();
  QTest::keyClicks(&edit, QString::fromStdString(path));
  EXPECT_EQ(frame->PortPath(7), "/dev/ttyUSB2") << "nothing changes before OK";
  QTest::keyClick(&edit, Qt::Key_Return);
  ASSERT_EQ(dialog.result(), QDialog::Accepted);

  // Where quorvel-cli and the next run read it.
  EXPECT_EQ(LoadPortMap(store).Path(7), path);
  EXPECT_EQ(frame->PortPath(7), path);
  frame->Command([&] { window.mnuConnect_Click(); });
  EXPECT_EQ(frame->Port(7).State, PortEntry::kOpen);
  EXPECT_TRUE(frame->close());
}

}  // namespace
}  // namespace quorvel::testing
