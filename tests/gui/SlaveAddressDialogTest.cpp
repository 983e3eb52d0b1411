// The master/slave settings dialog on screen: the fields reach the window
// through the model on OK, a bad address is refused with the host's message
// box and the dialog stays at work, and Escape applies nothing.

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "../device/FakeHost.h"
#include "device/qt/WinColor.h"
#include "dialogs/qt/SlaveAddressDialog.h"

namespace quorvel::testing {
namespace {

struct SettingsDialogView : ::testing::Test {
  FakeHost host;
  frmQuorvel window{host};
  frmSlaveAddress model;
  SlaveAddressDialog dialog{model};

  void SetUp() override {
    window.SetID(17);
    window.SetTimeout(250);
    window.SetInterval(0);
  }

  static void Retype(QLineEdit& field, const char* text) {
    field.setFocus();
    field.selectAll();
    QTest::keyClicks(&field, QString::fromLatin1(text));
  }

  QString LabelOf(const QLineEdit& field) const {
    for (const QLabel* label : dialog.findChildren<QLabel*>())
      if (label->buddy() == &field) return label->text().remove(QLatin1Char('&'));
    return {};
  }
};

TEST_F(SettingsDialogView, ShowsTheWindowsSettingsByMode) {
  dialog.ID(window);
  EXPECT_EQ(LabelOf(dialog.tbID()), "Slave address:");
  EXPECT_EQ(LabelOf(dialog.tbTimeout()), "Response timeout, ms:");
  EXPECT_EQ(LabelOf(dialog.tbInterval()), "Char-to-char interval, ms:");
  EXPECT_EQ(dialog.windowTitle(), "Master Settings");
  EXPECT_TRUE(dialog.tbTimeout().isEnabled());
  EXPECT_EQ(dialog.tbTimeout().palette().color(QPalette::Active, QPalette::Base),
            dialog.palette().color(QPalette::Active, QPalette::Base));
  dialog.grab().save(QUORVEL_GUI_OUTPUT_DIR "/master-settings.png");
  // Escape applies nothing.
  Retype(dialog.tbID(), "99");
  QTest::keyClick(&dialog.tbID(), Qt::Key_Escape);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(dialog.result(), QDialog::Rejected);
  EXPECT_EQ(window.ID(), 17);

  window.SetMode(kSlave);
  dialog.ID(window);
  EXPECT_EQ(dialog.windowTitle(), "Slave Settings");
  EXPECT_FALSE(dialog.tbTimeout().isEnabled());
  EXPECT_EQ(dialog.tbTimeout().palette().color(QPalette::Disabled, QPalette::Base),
            WinColor(0x8000000F, dialog.palette()));
  dialog.grab().save(QUORVEL_GUI_OUTPUT_DIR "/slave-settings.png");
}

TEST_F(SettingsDialogView, EveryFieldReachesTheWindowOnEnter) {
  dialog.ID(window);
  // The address comes up wholly selected: typing replaces it.
  EXPECT_EQ(dialog.focusWidget(), &dialog.tbID());
  EXPECT_EQ(dialog.tbID().selectedText(), "17");
  QTest::keyClicks(&dialog.tbID(), "42");
  Retype(dialog.tbTimeout(), "700");
  Retype(dialog.tbInterval(), "12");
  QTest::keyClick(&dialog.tbInterval(), Qt::Key_Enter);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(window.ID(), 42);
  EXPECT_EQ(window.Timeout(), 700);
  EXPECT_EQ(window.Interval(), 12);
}

TEST_F(SettingsDialogView, BadAddressIsRefusedAndTheDialogStaysAtWork) {
  dialog.ID(window);
  for (const char* bad : {"0", "248"}) {
    Retype(dialog.tbID(), bad);
    Retype(dialog.tbTimeout(), "900");
    QTest::mouseClick(&dialog.cmdOK(), Qt::LeftButton);
    EXPECT_TRUE(dialog.isVisible()) << bad;
  }
  EXPECT_EQ(host.boxes, (std::vector<std::string>{"ID must be from 1 to 247!", "ID must be from 1 to 247!"}));
  EXPECT_EQ(window.ID(), 17);
  EXPECT_EQ(window.Timeout(), 250);
  EXPECT_EQ(host.sessionChanges, 0);

  // The message box takes the activation away from the dialog; its OK must
  // still reach the window afterwards.
  QEvent away(QEvent::WindowDeactivate);
  QApplication::sendEvent(&dialog, &away);
  Retype(dialog.tbID(), "247");
  QTest::keyClick(&dialog.tbID(), Qt::Key_Return);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(window.ID(), 247);
  EXPECT_EQ(window.Timeout(), 900);
  EXPECT_EQ(host.sessionChanges, 1);
}

}  // namespace
}  // namespace quorvel::testing
