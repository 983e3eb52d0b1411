#include "project/CtrlProp.h"

#include <gtest/gtest.h>

#include "TestBytes.h"
#include "project/BinaryReader.h"
#include "project/CodePage.h"
#include "project/Panel.h"

namespace quorvel {
namespace {

using test::Element;
using test::ElementBytes;

CtrlProp Loaded(const Element& e) {
  const auto bytes = ElementBytes(e);
  BinaryReader in(bytes.b);
  CtrlProp element;
  element.LoadData(in);
  EXPECT_TRUE(in.AtEnd());
  return element;
}

TEST(CtrlPropTest, LoadsEveryStoredField) {
  Element e{.name = "TBox", .address = 0x00200064, .caption = "Flow", .format = "0.000", .k = 2, .x0 = 3};
  e.defaultValue = 12.25;
  e.pictureNumber = 4;
  const CtrlProp p = Loaded(e);
  EXPECT_EQ(p.CtrlName(), "TBox");
  EXPECT_EQ(p.BackColor(), 0xFFFFFFu);
  EXPECT_EQ(p.ForeColor(), 0x80u);
  EXPECT_EQ(p.Top(), 100);
  EXPECT_EQ(p.Left(), 200);
  EXPECT_EQ(p.Width(), 300);
  EXPECT_EQ(p.Height(), 400);
  EXPECT_EQ(p.FontBold(), -1);
  EXPECT_EQ(p.FontUnderline(), 0);
  EXPECT_EQ(p.FontItalic(), -1);
  EXPECT_EQ(p.FontSize(), 10);
  EXPECT_EQ(p.FontName(), "Arial");
  EXPECT_EQ(p.Caption(), "Flow");
  EXPECT_EQ(p.Address(), 0x00200064u);
  EXPECT_EQ(p.PictureNumber(), 4);
  EXPECT_EQ(p.Value1(), 1.5);
  EXPECT_EQ(p.Value2(), -2.5);
  EXPECT_EQ(p.DefaultValue(), 12.25);
  EXPECT_EQ(p.Data(), 12.25);
  EXPECT_EQ(p.Period(), 500);
  EXPECT_EQ(p.k(), 2.0f);
  EXPECT_EQ(p.x0(), 3.0f);
  EXPECT_EQ(p.FormatString(), "0.000");
}

TEST(CtrlPropTest, AScaleOfZeroBecomesOne) {
  EXPECT_EQ(Loaded(Element{.k = 0}).k(), 1.0f);
  EXPECT_EQ(Loaded(Element{.k = -0.0}).k(), 1.0f);
  EXPECT_EQ(Loaded(Element{.k = -0.5}).k(), -0.5f);
}

TEST(CtrlPropTest, ScaleAndOffsetAreHandedOutInSinglePrecision) {
  const CtrlProp p = Loaded(Element{.k = 0.1, .x0 = 1e-50});
  EXPECT_EQ(p.k(), 0.1f);
  EXPECT_NE(static_cast<double>(p.k()), 0.1);
  EXPECT_EQ(p.x0(), 0.0f);
}

TEST(CtrlPropTest, AnEmptyFormatTakesTheDefaultOfTheAddress) {
  struct Case {
    std::uint32_t code;
    const char* format;
  };
  const Case cases[] = {
      {0x00000001, "## ##0"},
      {0x80110001, "# ### ### ##0"},
      {0x00200001, "0.00"},
      {0x00300001, "0.000 E+00"},
      {0x00500001, "0"},
      {0x02000001, "0000 0000 0000 0000"},
      {0x02400001, "0000 0000"},
      {0x01000001, ""},
      {0x20B00001, " 0000 0000 0000"},  // 12 coils
      {0x30000001, "0"},                // 1 discrete input
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Loaded(Element{.address = c.code}).FormatString(), c.format) << std::hex << c.code;
  }
  EXPECT_EQ(Loaded(Element{.address = 0x02000001, .format = "#"}).FormatString(), "#");
}

TEST(CtrlPropTest, ABoxShowsItsAddressAndToolTip) {
  struct Case {
    std::uint32_t code;
    const char* label;
    const char* tip;
  };
  const Case cases[] = {
      {0x00210064, "HR0100", "Holding reg. 0100,Float, Swapped."},
      {0x11000003, "IR0003", "Input reg. 0003,Integer,Hex."},
      {0x80000028, "HR0040", "Holding reg. 0040,Integer, Unsigned."},
      {0x82000028, "HR0040", "Holding reg. 0040,Integer."},  // "Unsigned" with "Binary" names neither
      {0x02400028, "HR0040", "Holding reg. 0040,Byte hi,Binary."},
      {0x00700001, "HR0001", "Holding reg. 0001,."},  // a type without a name
      {0x0001FFFF, "HR65535", "Holding reg. 65535,Integer, Swapped."},
      {0x20700010, "C 0016", "Coil[8] 0016."},
      {0x20000007, "C 0007", "Coil 0007."},
      {0x30000002, "DI0002", "Discrete input 0002."},
      {0x30F00002, "DI0002", "Discrete input[16] 0002."},
  };
  for (const Case& c : cases) {
    Panel panel;
    PanelControl& box = *panel.CreateControl("TBox");
    CtrlProp p = Loaded(Element{.address = c.code, .caption = "ignored"});
    p.SetProp(box);
    EXPECT_EQ(p.rCtrl(), &panel.Tbd(box.Index()));
    EXPECT_EQ(box.Caption(), "");
    EXPECT_EQ(panel.Tbd(box.Index()).Caption(), c.label);
    EXPECT_EQ(box.ToolTipText(), c.tip);
    EXPECT_EQ(panel.Tbd(box.Index()).ToolTipText(), c.tip);
  }
}

TEST(CtrlPropTest, SetPropDressesTheControl) {
  Panel panel;
  PanelControl& label = *panel.CreateControl("Lbl");
  CtrlProp p = Loaded(Element{.name = "Lbl",
                              .caption = "Temp \xB0"
                                         "C"});
  p.SetProp(label);
  EXPECT_EQ(label.Top(), 100);
  EXPECT_EQ(label.Left(), 200);
  EXPECT_EQ(label.Width(), 300);
  EXPECT_EQ(label.Height(), 400);
  EXPECT_EQ(label.BackColor(), 0xFFFFFFu);
  EXPECT_EQ(label.ForeColor(), 0x80u);
  EXPECT_TRUE(label.FontBold());
  EXPECT_FALSE(label.FontUnderline());
  EXPECT_TRUE(label.FontItalic());
  EXPECT_EQ(label.FontSize(), 10);
  EXPECT_EQ(label.FontName(), "Arial");
  EXPECT_EQ(label.Caption(), "Temp \u00B0C");
  EXPECT_EQ(p.rCtrl(), nullptr);
}

TEST(CtrlPropTest, CommentedOutCaptionsStayInvisible) {
  struct Case {
    const char* kind;
    const char* caption;
    const char* shown;
  };
  const Case cases[] = {{"Lbl", "//hidden", ""},
                        {"Lbl", "/shown", "/shown"},
                        {"Tbl", "//", ""},
                        {"Tbl", "a//b", "a//b"},
                        {"Fr", "Frame", ""}};
  for (const Case& c : cases) {
    Panel panel;
    PanelControl& control = *panel.CreateControl(c.kind);
    Loaded(Element{.name = c.kind, .caption = c.caption}).SetProp(control);
    EXPECT_EQ(control.Caption(), c.shown) << c.kind << " " << c.caption;
  }
}

TEST(CtrlPropTest, APictureKeepsItsOwnColoursAndFont) {
  Panel panel;
  PanelControl& image = *panel.CreateControl("Img");
  image.SetBackColor(0x123456);
  image.SetFontName("Keep");
  Loaded(Element{.name = "Img", .back = 0xABCDEF}).SetProp(image);
  EXPECT_EQ(image.Width(), 300);
  EXPECT_EQ(image.BackColor(), 0x123456u);
  EXPECT_EQ(image.FontName(), "Keep");
}

TEST(CtrlPropTest, TextsAreDecodedThroughTheChosenCodePage) {
  Panel panel;
  PanelControl& label = *panel.CreateControl("Lbl");
  CtrlProp p = Loaded(Element{.name = "Lbl", .caption = "\xC4\xE0\xE2\xEB\xE5\xED\xE8\xE5"});
  p.SetCodePage(*CodePage::Find(1251));
  p.SetProp(label);
  EXPECT_EQ(label.Caption(), "\u0414\u0430\u0432\u043B\u0435\u043D\u0438\u0435");
}

TEST(CtrlPropTest, SettingDataShowsTheFormattedValue) {
  Panel panel;
  PanelControl& box = *panel.CreateControl("TBox");
  CtrlProp p = Loaded(Element{.address = 0x00200000, .format = "0.00", .k = 2, .x0 = 1});
  p.SetProp(box);
  p.SetData(5.25);
  EXPECT_EQ(p.Data(), 5.25);
  EXPECT_EQ(panel.Tbd(box.Index()).Caption(), "11.50");
  // Without a value label the value is only kept.
  CtrlProp loose = Loaded(Element{});
  loose.SetData(3);
  EXPECT_EQ(loose.Data(), 3);
}

TEST(CtrlPropTest, ABoxWithoutValueLabelFailsSetProp) {
  Panel panel;
  PanelControl stray(panel, "TBox", 7);
  CtrlProp p = Loaded(Element{});
  EXPECT_THROW(p.SetProp(stray), std::out_of_range);
  EXPECT_EQ(stray.Top(), 100);  // what came before the failure was done
}

TEST(CtrlPropTest, CopyClassPropTakesTheReadProperties) {
  const CtrlProp source = Loaded(Element{.name = "Lbl", .address = 0x00100005, .caption = "c", .k = 0.1, .x0 = 0.2});
  CtrlProp copy;
  copy.SetData(42);
  copy.CopyClassProp(source);
  ElementRecord expected = source.Fields();
  expected.k = static_cast<double>(0.1f);
  expected.x0 = static_cast<double>(0.2f);
  EXPECT_EQ(copy.Fields(), expected);
  EXPECT_EQ(copy.Data(), 42);
  EXPECT_EQ(copy.rCtrl(), nullptr);
}

}  // namespace
}  // namespace quorvel
