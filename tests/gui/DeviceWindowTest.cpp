// A device window on screen as the user works it from the keyboard: refused
// values say why where the user looks, values are edited with F2 or Enter and
// copied with Ctrl+C.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <stdexcept>

#include "../device/FakeHost.h"
#include "../device/TestProject.h"
#include "app/qt/DeviceWindow.h"
#include "device/PanelReading.h"

namespace quorvel::testing {
namespace {

constexpr std::uint32_t kHardwareRev = 0x80400010;  // holding 16, unsigned high byte
constexpr std::uint32_t kMassFlow = 0x00200000;     // holding 0, float

struct SampleWindow : ::testing::Test {
  FakeHost host;
  frmQuorvel window{host};
  std::unique_ptr<DeviceWindow> view;

  void SetUp() override {
    ASSERT_TRUE(window.SetProjectFile(QUORVEL_BIN_DIR "/Coriolis.qvc"));
    window.mnuMode_Click(kSlave);  // every value may be typed
    view = std::make_unique<DeviceWindow>(window);
    view->show();
  }

  ControlView& ValueOf(std::uint32_t address) {
    return *view->Panel().ViewOf("Tbd", ElementAt(window, address)->rCtrl()->Index());
  }

  // The label beside the value that has the keyboard now.
  std::string FocusedLabel() {
    auto* focused = dynamic_cast<ControlView*>(view->focusWidget());
    return focused ? LabelBeside(window.panel(), focused->Control()) : "(not a value)";
  }
};

TEST_F(SampleWindow, ARefusedValueIsExplainedUnderThePanelWhileTheBoxStaysOpen) {
  const struct {
    std::uint32_t address;
    const char* typed;
  } cases[] = {{kMassFlow, "abc"}, {kHardwareRev, "5000"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.typed);
    ControlView& value = ValueOf(c.address);
    QTest::mouseDClick(&value, Qt::LeftButton, {}, value.rect().center());
    EntryEdit& editor = view->Panel().tbInput();
    ASSERT_TRUE(editor.isVisible());
    EXPECT_FALSE(view->Refusal().isVisible());
    editor.selectAll();
    QTest::keyClicks(&editor, c.typed);
    QTest::keyClick(&editor, Qt::Key_Return);
    EXPECT_TRUE(editor.isVisible());
    EXPECT_TRUE(view->Refusal().isVisible());
    EXPECT_EQ(view->Refusal().text().toStdString(), window.tbInput.Refusal);
    EXPECT_FALSE(window.tbInput.Refusal.empty());
    // Escape drops the entry, and its complaint with it.
    QTest::keyClick(&editor, Qt::Key_Escape);
    EXPECT_FALSE(editor.isVisible());
    EXPECT_FALSE(view->Refusal().isVisible());
  }
}

TEST_F(SampleWindow, F2OrEnterEditsTheFocusedValueAndTheKeysComeBackAfterwards) {
  const struct {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
  } cases[] = {{Qt::Key_F2, {}}, {Qt::Key_Return, {}}, {Qt::Key_Enter, Qt::KeypadModifier}};
  ControlView& value = ValueOf(kMassFlow);
  EntryEdit& editor = view->Panel().tbInput();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    value.setFocus();
    QTest::keyClick(&value, c.key, c.modifiers);
    ASSERT_TRUE(editor.isVisible());
    EXPECT_EQ(editor.text(), value.Text());
    EXPECT_EQ(view->focusWidget(), &editor);
    QTest::keyClick(&editor, Qt::Key_Escape);
    EXPECT_FALSE(editor.isVisible());
    EXPECT_EQ(view->focusWidget(), &value);
  }
}

TEST_F(SampleWindow, TabWalksTheValuesColumnByColumn) {
  ValueOf(kMassFlow).setFocus();
  ASSERT_EQ(FocusedLabel(), "Mass flow [kg/h]");
  QTest::keyClick(view->focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(FocusedLabel(), "Density [kg/m³]");
  QTest::keyClick(view->focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(FocusedLabel(), "Mass flow [kg/h]");
  // Down the left column, through the frame below it, then the right column.
  for (int i = 0; i < 13; ++i) QTest::keyClick(view->focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(FocusedLabel(), "Live zero [kg/h]");
  QTest::keyClick(view->focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(FocusedLabel(), "Status word");
}

TEST_F(SampleWindow, CtrlCCopiesTheFocusedValueAsShown) {
  ControlView& value = ValueOf(kMassFlow);
  value.setFocus();
  QApplication::clipboard()->clear();
  QTest::keyClick(&value, Qt::Key_C, Qt::ControlModifier);
  EXPECT_FALSE(value.Text().isEmpty());
  EXPECT_EQ(QApplication::clipboard()->text(), value.Text().trimmed());
}

}  // namespace
}  // namespace quorvel::testing
