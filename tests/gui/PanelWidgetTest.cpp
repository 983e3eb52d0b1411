// The sample project's panel on screen: where its controls land at a given
// resolution, in which colours, and how the view follows value changes and
// hands double-clicks and keys to the window.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include <QTest>

#include "../device/FakeHost.h"
#include "device/frmQuorvel.h"
#include "device/qt/PanelWidget.h"

namespace quorvel::testing {
namespace {

class SamplePanel : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(window.SetProjectFile(QUORVEL_BIN_DIR "/Coriolis.qvc"));
    Open(96);
  }

  void Open(double dpi) {
    widget = std::make_unique<PanelWidget>(window);
    widget->SetDpi(dpi);
    widget->resize(widget->sizeHint());
    widget->show();
  }

  ControlView& View(const char* name, int index) {
    ControlView* view = widget->ViewOf(name, index);
    if (!view) throw std::out_of_range(std::string(name) + " " + std::to_string(index));
    return *view;
  }

  // The element bound to `address`, in whichever table holds it.
  std::shared_ptr<CtrlProp> Element(std::uint32_t address) {
    for (Table table : {Table::Holding, Table::Coil, Table::InputReg, Table::Discrete}) {
      for (const FiledElement& filed : window.ElementsOf(table)) {
        if (filed.element->Address() == address) return filed.element;
      }
    }
    throw std::out_of_range("no element");
  }
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
constexpr std::uint32_t kDriveGain = 0x10000000;     // input register 0
constexpr std::uint32_t kMassFlow = 0x00200000;      // holding 0, float

TEST_F(SamplePanel, ControlsLandOnTheirPixelsAtEachResolution) {
  // Sample geometry in twips divided by 15 (96 dpi), 12 (120) and 20 (72),
  // each value rounded on its own with halves going up.
  struct Case {
    const char* name;
    int index;
    QRect at96, at120, at72;
  };
  const Case cases[] = {
      {"Fr", 1, {8, 8, 344, 312}, {10, 10, 430, 390}, {6, 6, 258, 234}},
      {"Img", 1, {656, 12, 48, 48}, {820, 15, 60, 60}, {492, 9, 36, 36}},
      {"Tbl", 1, {8, 436, 696, 17}, {10, 545, 870, 21}, {6, 327, 522, 13}},
      {"Lbl", 2, {16, 28, 180, 17}, {20, 35, 225, 21}, {12, 21, 135, 13}},
      {"TBox", 1, {200, 26, 136, 20}, {250, 33, 170, 25}, {150, 20, 102, 15}},
      {"Tbd", 1, {200, 26, 136, 20}, {250, 33, 170, 25}, {150, 20, 102, 15}},
      {"TBox", 27, {552, 390, 136, 20}, {690, 488, 170, 25}, {414, 293, 102, 15}},
  };
  for (double dpi : {96.0, 120.0, 72.0}) {
    widget->SetDpi(dpi);
    for (const Case& c : cases) {
      SCOPED_TRACE(::testing::Message() << c.name << "(" << c.index << ") at " << dpi);
      const QRect expected = dpi == 96 ? c.at96 : dpi == 120 ? c.at120 : c.at72;
      EXPECT_EQ(View(c.name, c.index).geometry(), expected);
    }
  }
  widget->SetDpi(96);
  // As much room right of and below the controls as left of and above them.
  EXPECT_EQ(widget->sizeHint(), QSize(712, 481));
}

TEST_F(SamplePanel, ControlsShowTheirCaptionsToolTipsAndPicture) {
  EXPECT_EQ(View("Lbl", 2).Text(), QStringLiteral("Mass flow [kg/h]"));
  EXPECT_EQ(View("Lbl", 3).Text(), QString::fromUtf8("Density [kg/m\u00B3]"));
  EXPECT_EQ(View("Tbl", 1).Text(), QStringLiteral("CMF-200 Coriolis mass-flow meter, Modbus map rev. 3"));
  // Commented out in the editor with a leading "//".
  EXPECT_EQ(View("Lbl", 1).Text(), QString());
  EXPECT_EQ(ValueOf(kMassFlow).Text(), QStringLiteral("HR0000"));
  EXPECT_EQ(ValueOf(kMassFlow).toolTip(), QStringLiteral("Holding reg. 0000,Float."));
  EXPECT_EQ(View("TBox", 1).toolTip(), QStringLiteral("Holding reg. 0000,Float."));
  EXPECT_EQ(View("Img", 1).Picture().size(), QSize(48, 48));
}

TEST_F(SamplePanel, ColoursAndFontsComeFromTheControls) {
  const QImage shot = widget->grab().toImage();
  // Inside the first frame, clear of its line and caption: 0xE0E0E0.
  EXPECT_EQ(shot.pixelColor(100, 300), QColor(224, 224, 224));
  // Inside the mass flow box, right of its text: white.
  EXPECT_EQ(shot.pixelColor(330, 36), QColor(255, 255, 255));
  // The box's text colour 0x800000 is navy, and its value label writes in it.
  bool navy = false;
  const QRect value = View("Tbd", 1).geometry();
  for (int y = value.top(); y <= value.bottom(); ++y) {
    for (int x = value.left(); x <= value.right(); ++x) navy = navy || shot.pixelColor(x, y) == QColor(0, 0, 128);
  }
  EXPECT_TRUE(navy);
  EXPECT_TRUE(View("Tbd", 1).font().bold());
  EXPECT_EQ(View("Tbd", 1).font().pixelSize(), 12);
  EXPECT_EQ(View("Lbl", 2).font().pixelSize(), 12);
  EXPECT_FALSE(View("Lbl", 2).font().bold());

  // A system colour set while shown: the tool tip background of the palette.
  PanelControl* label = window.panel().FindControl("Lbl", 2);
  ASSERT_NE(label, nullptr);
  label->SetBackColor(0x80000018);
  const QImage after = widget->grab().toImage();
  EXPECT_EQ(after.pixelColor(16 + 179, 28 + 1), widget->palette().color(QPalette::ToolTipBase));
  widget->grab().save(QUORVEL_GUI_OUTPUT_DIR "/panel-96dpi.png");
}

TEST_F(SamplePanel, ANewValueShowsOnItsLabel) {
  ControlView& value = ValueOf(kMassFlow);
  const QImage before = value.grab().toImage();
  Element(kMassFlow)->SetData(1234.5);
  EXPECT_EQ(value.Text(), QStringLiteral("1234.500"));
  EXPECT_NE(value.grab().toImage(), before);
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
      {"escape drops the text", kBatchCounter, false, "5", Qt::Key_Escape, false, 0},
      {"text that does not parse", kBatchCounter, false, "abc", Qt::Key_Return, true, 0},
      {"keypad enter on a coil", kZeroAdjust, false, "1", Qt::Key_Enter, false, 1},
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

TEST_F(SamplePanel, MasterInputRegistersDoNotOpenTheEditBox) {
  ControlView& value = ValueOf(kDriveGain);
  QTest::mouseDClick(&value, Qt::LeftButton, {}, value.rect().center());
  EXPECT_FALSE(widget->tbInput().isVisible());
  // In Slave mode the same label opens it, and Enter sets the emulated value.
  window.SetMode(kSlave);
  Type(value, "12.5", Qt::Key_Return);
  EXPECT_FALSE(widget->tbInput().isVisible());
  EXPECT_TRUE(window.PendingRequests.empty());
  EXPECT_EQ(value.Text(), QStringLiteral("12.5"));
}

TEST_F(SamplePanel, ControlsAddedLaterAreShown) {
  PanelControl* label = window.panel().CreateControl("Lbl");
  ASSERT_NE(label, nullptr);
  label->SetLeft(1500);
  label->SetTop(7500);
  label->SetWidth(3000);
  label->SetHeight(300);
  label->SetCaption("Added");
  ControlView& view = View("Lbl", label->Index());
  EXPECT_EQ(view.geometry(), QRect(100, 500, 200, 20));
  EXPECT_EQ(view.Text(), QStringLiteral("Added"));
  EXPECT_EQ(widget->sizeHint().height(), 528);
}

}  // namespace
}  // namespace quorvel::testing
