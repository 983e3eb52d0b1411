// The user write dialog on screen: a refused text marked beside its own line
// with the dialog kept open, and the filled request queued on OK.

#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "../device/FakeHost.h"
#include "../device/TestProject.h"
#include "dialogs/qt/UserWriteDialog.h"

namespace quorvel::testing {
namespace {

// Three signed registers, 10 to 12, and a request that writes all three.
TestProject Limits() {
  TestProject p;
  p.elements = {Box(10, 1), Box(11, 2), Box(12, 3), Box(40)};
  p.requests = {RequestRecord{
      .Func = 16, .WriteAddr = 10, .WriteQnt = 3, .Control = 2, .Data = {0, 0, 0, 0, 0, 0}, .Label = "Limits"}};
  return p;
}

struct UserWriteView : ::testing::Test {
  FakeHost host;
  frmQuorvel window{host};
  std::unique_ptr<UserWriteDialog> dialog;

  void SetUp() override {
    Load(window, Limits());
    dialog = std::make_unique<UserWriteDialog>(
        std::make_unique<frmUserWrite>(window, window.HoldingElements, window.PendingRequests, window.Requests.at(0)));
  }

  void Retype(std::size_t row, const char* text) {
    QLineEdit& field = dialog->RowText(row);
    field.setFocus();
    field.selectAll();
    QTest::keyClicks(&field, QString::fromLatin1(text));
  }
};

TEST_F(UserWriteView, RefusedTextIsMarkedAndTheDialogStays) {
  ASSERT_TRUE(dialog->ShowForm());
  Retype(1, "40000");  // beyond a signed register
  QTest::mouseClick(&dialog->cmdOK(), Qt::LeftButton);
  EXPECT_TRUE(dialog->isVisible());
  EXPECT_TRUE(window.PendingRequests.empty());
  EXPECT_TRUE(dialog->RowRefusal(1).isVisible());
  EXPECT_FALSE(dialog->RowRefusal(1).text().isEmpty());
  EXPECT_FALSE(dialog->RowRefusal(0).isVisible());
  EXPECT_EQ(dialog->focusWidget(), &dialog->RowText(1)) << "straight to the line to put right";
  dialog->grab().save(QUORVEL_GUI_OUTPUT_DIR "/user-write-refused.png");

  Retype(0, "-1");
  Retype(1, "300");
  QTest::keyClick(&dialog->RowText(1), Qt::Key_Return);
  EXPECT_FALSE(dialog->isVisible());
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
  ASSERT_EQ(window.PendingRequests.size(), 1u);
  // -1, 300 = 012Ch, and the untouched 3, high bytes first.
  EXPECT_EQ(window.PendingRequests.front()->Data(), (std::vector<std::uint8_t>{0xFF, 0xFF, 0x01, 0x2C, 0x00, 0x03}));
}

TEST(UserWriteDialogLook, WholeTitleAndAMaskFieldForSixteenBitsThatSaysWhatItsCharactersMean) {
  const struct {
    std::int32_t func;
    bool mask;
  } cases[] = {{16, false}, {22, true}};
  const std::string title = "Alarm enable mask of the second measuring channel";
  for (const auto& c : cases) {
    SCOPED_TRACE(c.func);
    TestProject p;
    p.elements = {Box(24)};
    p.requests = {
        RequestRecord{.Func = c.func, .WriteAddr = 24, .WriteQnt = 1, .Control = 2, .Data = {0, 0, 0, 0}, .Label = title}};
    FakeHost host;
    frmQuorvel window(host);
    Load(window, p);
    UserWriteDialog dialog(
        std::make_unique<frmUserWrite>(window, window.HoldingElements, window.PendingRequests, window.Requests.at(0)));
    ASSERT_TRUE(dialog.ShowForm());
    EXPECT_EQ(dialog.Heading().text().toStdString(), title);
    EXPECT_GE(dialog.Heading().width(), dialog.Heading().sizeHint().width());
    EXPECT_EQ(dialog.MaskHint().isVisible(), c.mask);
    if (c.mask) {
      QLineEdit& field = dialog.RowText(0);
      const QMargins margins = field.textMargins() + field.contentsMargins();
      EXPECT_GE(field.width() - margins.left() - margins.right(),
                field.fontMetrics().horizontalAdvance(QStringLiteral("0000 1111 xxxx 0000")));
      EXPECT_TRUE(dialog.MaskHint().text().contains('x'));
      dialog.grab().save(QUORVEL_GUI_OUTPUT_DIR "/user-write-mask.png");
    }
    dialog.reject();
  }
}

}  // namespace
}  // namespace quorvel::testing
