// The COM settings dialog driven as a user would: what the user sets in the
// controls reaches the port table on OK, and only then; browsing the ports
// or cancelling leaves the table alone.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include "../device/FakeHost.h"
#include "dialogs/qt/COMSettingsDialog.h"

namespace quorvel::testing {
namespace {

QStringList Items(const QComboBox& box) {
  QStringList items;
  for (int i = 0; i < box.count(); ++i) items << box.itemText(i);
  return items;
}

// What a caption reads on screen, its accelerator mark aside.
QString Shown(const QAbstractButton& button) { return button.text().remove(QLatin1Char('&')); }

struct ComDialogView : ::testing::Test {
  FakeHost host;
  frmCOMSettings model{host};
  COMSettingsDialog dialog{model};

  void SetUp() override { host.ports[3].ASCII = true; }

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

TEST_F(ComDialogView, ControlsCarryTheirTexts) {
  dialog.ShowForm(1);
  QStringList ports;
  for (int n = 1; n <= 16; ++n) ports << QStringLiteral(" COM%1").arg(n);
  EXPECT_EQ(Items(dialog.cmbCOM()), ports);
  EXPECT_EQ(Items(dialog.cmbParity()), (QStringList{" None", " Odd", " Even"}));
  EXPECT_EQ(Shown(dialog.chkAvailable()), "Show available");
  EXPECT_EQ(Shown(dialog.optRTU()), "RTU");
  EXPECT_EQ(Shown(dialog.optASCII()), "ASCII");
  EXPECT_EQ(Shown(dialog.chkASCII8bits()), "ASCII 8 bits");
  EXPECT_EQ(Shown(dialog.chkDTR()), "DTR On");
  EXPECT_EQ(Shown(dialog.chkRTSToggle()), "RTS Toggle");
  EXPECT_EQ(dialog.cmdOK().text(), "OK");
  EXPECT_EQ(dialog.cmdCancel().text(), "Cancel");
  dialog.grab().save(QUORVEL_GUI_OUTPUT_DIR "/com-settings.png");
}

TEST_F(ComDialogView, TypedBaudAndEnterReachTheTable) {
  dialog.ShowForm(2);
  TypeBaud("12345");
  Choose(dialog.cmbParity(), " Even");
  EXPECT_EQ(host.ports[2].dcb.BaudRate, 9600u) << "nothing reaches the table before OK";
  // Enter in the typed box is the form's OK, not the list's.
  QTest::keyClick(dialog.cmbBaudRate().lineEdit(), Qt::Key_Return);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(host.ports[2].dcb.BaudRate, 12345u);
  EXPECT_EQ(host.ports[2].dcb.Parity, 2);
  EXPECT_EQ(host.sessionChanges, 1);
}

TEST_F(ComDialogView, BrowsingPortsAndOkChangesNothing) {
  dialog.ShowForm(1);
  Choose(dialog.cmbCOM(), " COM3");
  EXPECT_TRUE(dialog.optASCII().isChecked()) << "each port shows its own settings";
  EXPECT_TRUE(dialog.chkASCII8bits().isEnabled());
  Choose(dialog.cmbCOM(), " COM5");
  EXPECT_TRUE(dialog.optRTU().isChecked());
  QTest::mouseClick(&dialog.cmdOK(), Qt::LeftButton);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(host.sessionChanges, 0);
  EXPECT_TRUE(host.ports[3].ASCII);
  EXPECT_FALSE(host.ports[5].ASCII);
}

TEST_F(ComDialogView, EscapeAndCloseDiscardTheChanges) {
  for (const bool escape : {true, false}) {
    SCOPED_TRACE(escape ? "Escape" : "close");
    dialog.ShowForm(4);
    TypeBaud("19200");
    QTest::mouseClick(&dialog.chkDTR(), Qt::LeftButton);
    if (escape)
      QTest::keyClick(&dialog.chkDTR(), Qt::Key_Escape);
    else
      dialog.close();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(host.ports[4].dcb.BaudRate, 9600u);
    EXPECT_EQ(host.ports[4].dcb.Flags, 0x3011u);
    EXPECT_EQ(host.sessionChanges, 0);
  }
}

TEST_F(ComDialogView, AsciiEightBitsOnlyWithAscii) {
  dialog.ShowForm(6);
  EXPECT_FALSE(dialog.chkASCII8bits().isEnabled());
  QTest::mouseClick(&dialog.optASCII(), Qt::LeftButton);
  ASSERT_TRUE(dialog.optASCII().isChecked());
  EXPECT_TRUE(dialog.chkASCII8bits().isEnabled());
  QTest::mouseClick(&dialog.chkASCII8bits(), Qt::LeftButton);
  QTest::mouseClick(&dialog.chkRTSToggle(), Qt::LeftButton);
  Choose(dialog.cmbStopBits(), " 2 stop bits");
  QTest::mouseClick(&dialog.optRTU(), Qt::LeftButton);
  EXPECT_FALSE(dialog.chkASCII8bits().isEnabled());
  QTest::mouseClick(&dialog.optASCII(), Qt::LeftButton);
  QTest::keyClick(&dialog, Qt::Key_Enter);
  const PortEntry& port = host.ports[6];
  EXPECT_TRUE(port.ASCII);
  EXPECT_TRUE(port.ASCII8bits) << "the box keeps its tick while greyed";
  EXPECT_EQ(port.dcb.StopBits, 2);
  EXPECT_EQ(port.dcb.Flags, 0x0011u);
}

}  // namespace
}  // namespace quorvel::testing
