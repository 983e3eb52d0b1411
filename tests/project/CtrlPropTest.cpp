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
  const CtrlProp p = Loaded(Element{.name = "TBox",
                                    .address = 0x00200064,
                                    .caption = "Flow",
                                    .format = "0.000",
                                    .k = 2,
                                    .x0 = 3,
                                    .defaultValue = 12.25,
                                    .pictureNumber = 4});
  const ElementRecord expected{0xFFFFFF, 0x80,   "TBox",     100, 200, -1,   0,     -1,  0, 10, "Arial", 300,
                               400,      "Flow", 0x00200064, 4,   1.5, -2.5, 12.25, 500, 2, 3,  "0.000"};
  EXPECT_EQ(p.Fields(), expected);
  EXPECT_EQ(p.Data(), 12.25);
}

// The scale and offset are handed out in single precision, and a scale of 0 reads as 1.
TEST(CtrlPropTest, ScaleAndOffset) {
  const struct {
    double k, x0;
    float shownK, shownX0;
  } cases[] = {{0, 0, 1, 0}, {-0.0, 0, 1, 0}, {0.1, 1e-50, 0.1f, 0}};
  for (const auto& c : cases) {
    const CtrlProp p = Loaded(Element{.k = c.k, .x0 = c.x0});
    EXPECT_EQ(p.k(), c.shownK) << c.k;
    EXPECT_EQ(p.x0(), c.shownX0) << c.x0;
  }
}

TEST(CtrlPropTest, AnEmptyFormatTakesTheDefaultOfTheAddress) {
  struct Case {
    std::uint32_t code;
    const char* format;
  };
  const Case cases[] = {
      {0x00000001, "## ##0"},     {0x80110001, "# ### ### ##0"},
      {0x00300001, "0.000 E+00"}, {0x02000001, "0000 0000 0000 0000"},
      {0x01000001, ""},           {0x20B00001, " 0000 0000 0000"},  // 12 coils
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
      {0x82000028, "HR0040", "Holding reg. 0040,Integer."},  // "Unsigned" with "Binary" names neither
      {0x00700001, "HR0001", "Holding reg. 0001,."},         // a type without a name
      {0x20700010, "C 0016", "Coil[8] 0016."},
      {0x30F00002, "DI0002", "Discrete input[16] 0002."},
  };
  for (const Case& c : cases) {
    Panel panel;
    PanelControl& box = *panel.CreateControl("TBox");
    CtrlProp p = Loaded(Element{.address = c.code, .caption = "ignored"});
    p.SetProp(box);
    EXPECT_EQ(p.rCtrl(), &panel.Tbd(box.Index()));
    EXPECT_EQ(panel.Tbd(box.Index()).Caption(), c.label);
    EXPECT_EQ(box.ToolTipText(), c.tip);
  }
}

TEST(CtrlPropTest, SetPropShowsTheCaptionInItsCodePage) {
  Panel panel;
  PanelControl& label = *panel.CreateControl("Lbl");
  CtrlProp p = Loaded(Element{.name = "Lbl", .caption = "\xC4\xE0\xE2\xEB\xE5\xED\xE8\xE5"});
  p.SetCodePage(*CodePage::Find(1251));
  p.SetProp(label);
  EXPECT_EQ(label.Left(), 200);
  EXPECT_EQ(label.ForeColor(), 0x80u);
  EXPECT_TRUE(label.FontItalic());
  EXPECT_EQ(label.Caption(), "\u0414\u0430\u0432\u043B\u0435\u043D\u0438\u0435");
  EXPECT_EQ(p.rCtrl(), nullptr);
}

TEST(CtrlPropTest, CommentedOutCaptionsStayInvisible) {
  struct Case {
    const char* kind;
    const char* caption;
    const char* shown;
  };
  const Case cases[] = {{"Lbl", "//hidden", ""}, {"Tbl", "a//b", "a//b"}, {"Fr", "Frame", ""}};
  for (const Case& c : cases) {
    Panel panel;
    PanelControl& control = *panel.CreateControl(c.kind);
    Loaded(Element{.name = c.kind, .caption = c.caption}).SetProp(control);
    EXPECT_EQ(control.Caption(), c.shown) << c.kind << " " << c.caption;
  }
}

}  // namespace
}  // namespace quorvel
