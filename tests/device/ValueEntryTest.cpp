// Typing a value over a panel label: which elements open the edit box in which
// mode, and the write request a master queues for the typed value.

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
      {"single coil", Table::Coil, 0, "1", 5, 7, 1, {0x01, 0x00}},
      {"coil group", Table::Coil, 1, "1010", 15, 8, 4, {0x0A, 0x00}},
      // The low byte goes out with the value its element shows now.
      {"byte hi with its partner", Table::Holding, 2, "18", 6, 48, 1, {0x12, 0x34}},
      {"byte low without partner", Table::Holding, 4, "100", 6, 49, 1, {0x00, 0x64}},
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

TEST(ValueEntry, ScaledElementTakesTheTypedValueInShownUnits) {
  TestProject p;
  p.directWrite = -1;
  ElementRecord scaled = Box(0x00000014, 10);
  scaled.k = 2;
  p.elements = {scaled};
  Fixture f(p);
  f.w.Tbd_DblClick(f.IndexOf(Table::Holding, 0));
  // Shown scaled (the default format leaves room for a sign).
  EXPECT_EQ(f.w.tbInput.Text.substr(f.w.tbInput.Text.find_first_not_of(' ')), "20");
  EXPECT_TRUE(f.w.tbInput.SelectAll);
  f.w.tbInput.Text = "40";
  f.w.tbInput_KeyDown(kEnter);
  ASSERT_EQ(f.w.PendingRequests.size(), 1u);
  EXPECT_EQ(f.w.PendingRequests.front()->Data(), (std::vector<std::uint8_t>{0x00, 0x14}));
}

TEST(ValueEntry, WhichElementsOpenTheBoxByMode) {
  struct Case {
    std::int16_t mode;
    std::int16_t directWrite;
    Table table;
    bool opens;
  };
  const Case cases[] = {
      {kMaster, -1, Table::Holding, true},   {kMaster, -1, Table::Coil, true},    {kMaster, -1, Table::InputReg, false},
      {kMaster, -1, Table::Discrete, false}, {kMaster, 0, Table::Holding, false}, {kSlave, 0, Table::InputReg, true},
      {kSlave, 0, Table::Discrete, true},    {kMonitor, 0, Table::Holding, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "mode " << c.mode << " table " << static_cast<int>(c.table));
    TestProject p = Panel();
    p.directWrite = c.directWrite;
    Fixture f(p, c.mode);
    f.w.Tbd_DblClick(f.IndexOf(c.table, 0));
    EXPECT_EQ(f.w.tbInput.Visible, c.opens);
    EXPECT_EQ(f.w.EditElement != nullptr, c.opens);
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

TEST(ValueEntry, SlaveStoresAtOnceAndMonitorStoresNothing) {
  Fixture slave(Panel(), kSlave);
  slave.Type(Table::InputReg, 0, "-300");
  EXPECT_EQ(slave.Element(Table::InputReg, 0)->Data(), -300);
  EXPECT_TRUE(slave.w.PendingRequests.empty());
  EXPECT_FALSE(slave.w.tbInput.Visible);

  Fixture monitor(Panel(), kMonitor);
  const double before = monitor.Element(Table::Holding, 0)->Data();
  monitor.Type(Table::Holding, 0, "9");
  EXPECT_EQ(monitor.Element(Table::Holding, 0)->Data(), before);
  EXPECT_TRUE(monitor.w.PendingRequests.empty());
  EXPECT_FALSE(monitor.w.tbInput.Visible);
}

}  // namespace
}  // namespace quorvel::testing
