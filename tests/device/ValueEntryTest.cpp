// Typing a value over a panel label: the write request a master queues for the
// typed value, and text it refuses.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

constexpr int kEnter = 13;
constexpr int kEscape = 27;

TestProject Panel() {
  TestProject p;
  p.directWrite = -1;
  p.elements = {
      Box(0x00000014),        // holding 20, Integer
      Box(0x00200016),        // holding 22, Float (two registers)
      Box(0x00400030, 0),     // holding 48, Byte hi
      Box(0x00500030, 0x34),  // holding 48, Byte low, showing 34h
      Box(0x00500031, 0),     // holding 49, Byte low alone
      Box(0x20000007),        // coil 7
      Box(0x20300008),        // coils 8..11 as a group of four
      Box(0x10000005, 77),    // input register 5
      Box(0x30000009, 1),     // discrete input 9
  };
  return p;
}

struct Fixture {
  FakeHost host;
  frmQuorvel w{host};
  explicit Fixture(const TestProject& project, std::int16_t mode = kMaster) {
    Load(w, project);
    w.SetMode(mode);
  }
  std::shared_ptr<CtrlProp> Element(Table table, std::size_t i) { return w.ElementsOf(table).at(i).element; }
  int IndexOf(Table table, std::size_t i) { return Element(table, i)->rCtrl()->Index(); }
  void Type(Table table, std::size_t i, const std::string& text) {
    w.Tbd_DblClick(IndexOf(table, i));
    ASSERT_TRUE(w.tbInput.Visible);
    w.tbInput.Text = text;
    w.tbInput_KeyDown(kEnter);
  }
};

TEST(ValueEntry, MasterQueuesOneWriteShapedByTheElementsFormat) {
  struct Case {
    const char* what;
    Table table;
    std::size_t element;
    const char* text;
    std::int32_t func;
    std::int32_t addr;
    std::int32_t qnt;
    std::vector<std::uint8_t> data;
  };
  const Case cases[] = {
      {"integer", Table::Holding, 0, "-2", 6, 20, 1, {0xFF, 0xFE}},
      // 1.5 is 3FC00000h; the low word goes first unless "Swapped".
      {"float", Table::Holding, 1, "1.5", 16, 22, 2, {0x00, 0x00, 0x3F, 0xC0}},
      {"coil group", Table::Coil, 1, "1010", 15, 8, 4, {0x0A, 0x00}},
      // The low byte goes out with the value its element shows now.
      {"byte hi with its partner", Table::Holding, 2, "18", 6, 48, 1, {0x12, 0x34}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Fixture f(Panel());
    f.w.SetNextTime(123);
    f.Type(c.table, c.element, c.text);
    EXPECT_FALSE(f.w.tbInput.Visible);
    ASSERT_EQ(f.w.PendingRequests.size(), 1u);
    const ReqProp& r = *f.w.PendingRequests.front();
    EXPECT_EQ(r.Func(), c.func);
    EXPECT_EQ(r.WriteAddr(), c.addr);
    EXPECT_EQ(r.WriteQnt(), c.qnt);
    EXPECT_EQ(r.Data(), c.data);
    EXPECT_NE(r.Control(), 0);
    EXPECT_EQ(f.w.NextTime(), frmQuorvel::kAtOnce);
  }
}

TEST(ValueEntry, RefusedTextOrEscapeWritesNothing) {
  Fixture f(Panel());
  for (const char* text : {"70000", "abc", ""}) {
    SCOPED_TRACE(text);
    f.Type(Table::Holding, 0, text);
    EXPECT_TRUE(f.w.tbInput.Visible);
    EXPECT_EQ(f.w.tbInput.Text, text);
    EXPECT_FALSE(f.w.tbInput.Refusal.empty());
    EXPECT_TRUE(f.w.PendingRequests.empty());
  }
  // A correction then goes through and clears the hint.
  f.w.tbInput.Text = "7";
  f.w.tbInput_KeyDown(kEnter);
  EXPECT_FALSE(f.w.tbInput.Visible);
  EXPECT_TRUE(f.w.tbInput.Refusal.empty());
  EXPECT_EQ(f.w.PendingRequests.size(), 1u);
  // Other keys leave the box open; Escape closes it without a write.
  f.w.Tbd_DblClick(f.IndexOf(Table::Holding, 0));
  f.w.tbInput.Text = "5";
  f.w.tbInput_KeyDown('5');
  EXPECT_TRUE(f.w.tbInput.Visible);
  f.w.tbInput_KeyDown(kEscape);
  EXPECT_FALSE(f.w.tbInput.Visible);
  EXPECT_EQ(f.w.PendingRequests.size(), 1u);
}

// The edit box starts with what the label shows; Enter on it unchanged writes
// the value back. k and x0 are seen as the element hands them out, in single
// precision, by the label, the box and the write alike.
TEST(ValueEntry, TheShownTextTypesBackUnchanged) {
  struct Case {
    const char* format;
    double k;
    double x0;
    double value;
    const char* shown;
    std::vector<std::uint8_t> data;
  };
  const Case cases[] = {
      {"0.0000000000", 0.1, 0, 1, "0.1000000015", {0x00, 0x01}},
      {"0.0 \"kg\"", 0.1, 0, 125, "12.5 kg", {0x00, 0x7D}},
      // The project holds its texts in its code page: '\xB0' is the degree sign.
      {"0.0 \\\xB0\x43", 0.1, -40, 615, "21.5 \xC2\xB0\x43", {0x02, 0x67}},
      {"0.0%", 0.001, 0, 125, "12.5%", {0x00, 0x7D}},
      {"# ##0", 1, 0, -2, "- 2", {0xFF, 0xFE}},
      {"#,##0.00", 1, 0, 1234, "1,234.00", {0x04, 0xD2}},
      {"0.000 E+00", 1, 0, 1234, "1.234 E+03", {0x04, 0xD2}},
      {"hh:mm:ss", 1, 0, 3723, "01:02:03", {0x0E, 0x8B}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.format);
    TestProject p;
    p.directWrite = -1;
    ElementRecord box = Box(0x00000014, c.value, c.format);
    box.k = c.k;
    box.x0 = c.x0;
    p.elements = {box};
    Fixture f(p);
    f.Element(Table::Holding, 0)->SetData(c.value);
    f.w.Tbd_DblClick(f.IndexOf(Table::Holding, 0));
    EXPECT_EQ(f.w.tbInput.Text, c.shown);
    EXPECT_EQ(f.Element(Table::Holding, 0)->rCtrl()->Caption(), c.shown);
    f.w.tbInput_KeyDown(kEnter);
    EXPECT_TRUE(f.w.tbInput.Refusal.empty()) << f.w.tbInput.Refusal;
    ASSERT_EQ(f.w.PendingRequests.size(), 1u);
    EXPECT_EQ(f.w.PendingRequests.front()->Data(), c.data);
  }
}

}  // namespace
}  // namespace quorvel::testing
