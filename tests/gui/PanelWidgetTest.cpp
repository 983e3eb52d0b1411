// The sample project's panel on screen: how the view follows value changes
// and hands double-clicks and keys to the window.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <QTest>

#include "../device/Answers.h"
#include "../device/FakeHost.h"
#include "../device/TestProject.h"
#include "device/frmQuorvel.h"
#include "device/qt/PanelWidget.h"

namespace quorvel::testing {
namespace {

class SamplePanel : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(window.SetProjectFile(QUORVEL_BIN_DIR "/Coriolis.qvc"));
    widget = std::make_unique<PanelWidget>(window);
    widget->SetDpi(96);
    widget->resize(widget->sizeHint());
    widget->show();
  }

  ControlView& View(const char* name, int index) {
    ControlView* view = widget->ViewOf(name, index);
    if (!view) throw std::out_of_range(std::string(name) + " " + std::to_string(index));
    return *view;
  }

  std::shared_ptr<CtrlProp> Element(std::uint32_t address) { return ElementAt(window, address); }
  ControlView& ValueOf(std::uint32_t address) { return View("Tbd", Element(address)->rCtrl()->Index()); }

  void Type(ControlView& target, const char* text, Qt::Key key) {
    QTest::mouseDClick(&target, Qt::LeftButton, {}, target.rect().center());
    ASSERT_TRUE(widget->tbInput().isVisible());
    QTest::keyClicks(&widget->tbInput(), text);
    QTest::keyClick(&widget->tbInput(), key);
  }

  FakeHost host;
  frmQuorvel window{host};
  std::unique_ptr<PanelWidget> widget;
};

constexpr std::uint32_t kBatchCounter = 0x8010000E;  // holding 14, unsigned long
constexpr std::uint32_t kZeroAdjust = 0x20000009;    // coil 9
constexpr std::uint32_t kMassFlow = 0x00200000;      // holding 0, float

// The darkest grey level of the text drawn on a value label.
int DarkestText(ControlView& view) {
  const QImage image = view.grab().toImage();
  int darkest = 255;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) darkest = std::min(darkest, qGray(image.pixel(x, y)));
  return darkest;
}

TEST_F(SamplePanel, ANewValueShowsOnItsLabelAndGreysWhenItsRequestTimesOutUnlessTheLookIsClassic) {
  ControlView& value = ValueOf(kMassFlow);
  const QImage before = value.grab().toImage();
  Element(kMassFlow)->SetData(1234.5);
  EXPECT_EQ(value.Text(), QStringLiteral("1234.500"));
  EXPECT_NE(value.grab().toImage(), before);
  const int fresh = DarkestText(value);
  for (const auto& request : window.Requests)
    if (request->Func() == 3 && request->ReadAddr() == 0) window.LastRequest = request;
  ASSERT_TRUE(window.LastRequest);
  Answer(window, kAnswerTimeout);

  EXPECT_EQ(value.Text(), QStringLiteral("1234.500"));
  EXPECT_GT(DarkestText(value), fresh + 64);
  widget->grab().save(QUORVEL_GUI_OUTPUT_DIR "/panel-stale.png");
  window.mnuGreyStale_Click();
  EXPECT_EQ(DarkestText(value), fresh);
}

TEST_F(SamplePanel, TypedValueWithEnterQueuesTheWrite) {
  ControlView& value = ValueOf(kBatchCounter);
  QTest::mouseDClick(&value, Qt::LeftButton, {}, value.rect().center());
  EntryEdit& editor = widget->tbInput();
  ASSERT_TRUE(editor.isVisible());
  // Over the label, in its font, with the shown value selected for typing over.
  EXPECT_EQ(editor.geometry(), value.geometry());
  EXPECT_TRUE(editor.font().bold());
  // 42 in "# ### ### ##0": the blanks between the empty digit groups stay.
  EXPECT_EQ(editor.text(), QStringLiteral("   42"));
  EXPECT_EQ(editor.selectedText(), editor.text());

  QTest::keyClicks(&editor, "70000");
  QTest::keyClick(&editor, Qt::Key_Return);
  EXPECT_FALSE(editor.isVisible());
  ASSERT_EQ(window.PendingRequests.size(), 1u);
  const ReqProp& write = *window.PendingRequests.front();
  EXPECT_EQ(write.Func(), 16);
  EXPECT_EQ(write.WriteAddr(), 14);
  EXPECT_EQ(write.WriteQnt(), 2);
  // 70000 = 0x00011170, low word first.
  EXPECT_EQ(write.Data(), (std::vector<std::uint8_t>{0x11, 0x70, 0x00, 0x01}));
  EXPECT_EQ(window.NextTime(), frmQuorvel::kAtOnce);
}

TEST_F(SamplePanel, KeysInTheEditBoxByCase) {
  struct Case {
    const char* what;
    std::uint32_t address;
    bool onTheBox;  // double-click the box rather than its value label
    const char* text;
    Qt::Key key;
    bool staysOpen;
    std::size_t queued;
  };
  const Case cases[] = {
      {"text that does not parse", kBatchCounter, false, "abc", Qt::Key_Return, true, 0},
      {"double-click on the box itself", kZeroAdjust, true, "1", Qt::Key_Return, false, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    window.PendingRequests.clear();
    const int index = Element(c.address)->rCtrl()->Index();
    Type(View(c.onTheBox ? "TBox" : "Tbd", index), c.text, c.key);
    EXPECT_EQ(widget->tbInput().isVisible(), c.staysOpen);
    EXPECT_EQ(window.PendingRequests.size(), c.queued);
    if (c.staysOpen) {
      EXPECT_EQ(widget->tbInput().text(), QString::fromLatin1(c.text));
      EXPECT_EQ(widget->tbInput().toolTip().toStdString(), window.tbInput.Refusal);
      EXPECT_FALSE(window.tbInput.Refusal.empty());
      QTest::keyClick(&widget->tbInput(), Qt::Key_Escape);
    }
    if (c.queued == 1) {
      EXPECT_EQ(window.PendingRequests.front()->Func(), 5);
      EXPECT_EQ(window.PendingRequests.front()->WriteAddr(), 9);
    }
  }
}

}  // namespace
}  // namespace quorvel::testing
