// The master/slave settings dialog on screen: a bad address is refused with
// the host's message box and the dialog stays at work until OK.

#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "../device/FakeHost.h"
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
};

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
