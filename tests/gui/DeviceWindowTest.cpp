// A device window on screen as the user works it from the keyboard: refused
// values say why where the user looks, values are edited with F2 or Enter and
// copied with Ctrl+C.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <stdexcept>

#include "../device/FakeHost.h"
#include "app/qt/DeviceWindow.h"

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
    for (Table table : {Table::Holding, Table::Coil, Table::InputReg, Table::Discrete})
      for (const FiledElement& filed : window.ElementsOf(table))
        if (filed.element->Address() == address) return *view->Panel().ViewOf("Tbd", filed.element->rCtrl()->Index());
    throw std::out_of_range("no element");
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

}  // namespace
}  // namespace quorvel::testing
