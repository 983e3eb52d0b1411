// How values reach the panel's elements: from a response, and from the slave
// emulation's moving values.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

constexpr double kUnset = -1;  // every element's default: shows which ones a response reached

// The element of `table` at position `i` in project order.
const CtrlProp& At(const frmQuorvel& w, Table table, std::size_t i) { return *w.ElementsOf(table).at(i).element; }

std::shared_ptr<ReqProp> Request(std::int32_t func, std::int32_t addr, std::int32_t qnt) {
  auto r = std::make_shared<ReqProp>();
  r->SetFunc(func);
  r->SetReadAddr(addr);
  r->SetReadQnt(qnt);
  return r;
}

void Store(frmQuorvel& w, std::shared_ptr<ReqProp> request, std::vector<std::uint8_t> frame) {
  w.LastRequest = std::move(request);
  const auto length = static_cast<std::int32_t>(frame.size());
  frame.resize(299);
  w.StoreResponseData(frame, length);
}

TestProject Registers() {
  TestProject p;
  p.elements = {
      Box(0x00000009, kUnset),  // 0: just before the block
      Box(0x0000000A, kUnset),  // 1: Integer at 10
      Box(0x8000000C, kUnset),  // 2: unsigned Integer at 12
      Box(0x8010000D, kUnset),  // 3: unsigned Long at 13, the last register read
      Box(0x8011000D, kUnset),  // 4: the same, most significant word first
      Box(0x0000000E, kUnset),  // 5: just after the block
      Box(0x1000000A, kUnset),  // input register 10
  };
  return p;
}

TEST(StoreResponseData, RegistersGoToTheElementsOfTheRequestsTable) {
  // Registers 10..13 read: 1234h, FFFEh, 8001h, ABCDh.
  const std::vector<std::uint8_t> frame = {1, 3, 8, 0x12, 0x34, 0xFF, 0xFE, 0x80, 0x01, 0xAB, 0xCD};
  struct Case {
    std::int32_t func;
    bool holding;
    bool input;
  };
  for (const Case& c : {Case{3, true, false}, Case{4, false, true}, Case{16, false, false}}) {
    SCOPED_TRACE(c.func);
    FakeHost host;
    auto w = Loaded(host, Registers());
    Store(*w, Request(c.func, 10, 4), frame);

    const auto& holding = w->HoldingElements;
    EXPECT_EQ(holding[0].element->Data(), kUnset);
    EXPECT_EQ(holding[5].element->Data(), kUnset);
    EXPECT_EQ(At(*w, Table::InputReg, 0).Data(), c.input ? 4660 : kUnset);
    if (!c.holding) {
      for (const auto& filed : holding) EXPECT_EQ(filed.element->Data(), kUnset);
      continue;
    }
    EXPECT_EQ(holding[1].element->Data(), 4660);
    EXPECT_EQ(holding[1].element->rCtrl()->Caption(), "4 660");
    EXPECT_EQ(holding[2].element->Data(), 32769);
    // Only the first register of an element is checked against the block:
    // the Long whose first register is the last one read still takes it.
    EXPECT_EQ(std::fmod(holding[3].element->Data(), 65536), 0xABCD);
    EXPECT_EQ(std::floor(holding[4].element->Data() / 65536), 0xABCD);
  }
}

TEST(EmulatedValueStep, StepsOrRampsThroughThePeriodInThirds) {
  constexpr std::int32_t kPeriod = 300;
  struct Case {
    std::int32_t connectTime;
    std::int32_t elapsed;
    double ramp;  // 0 -> 30 -> -60 -> 0
    double step;  // 5, 6, 7
  };
  const Case cases[] = {
      {1000, 0, 0, 5},
      {1000, 99, 29.7, 5},
      {1000, 100, 30, 6},
      {1000, 200, -60, 6},
      {1000, 201, -59.4, 7},
      {1000, 299, -0.6, 7},
      {1000, 300, 0, 5},
      // Across the tick counter's wrap into negative values.
      {2147483600, 100, 30, 6},
      {2147483600, 250, -30, 7},
      {-50, 150, -15, 6},
  };
  TestProject p;
  p.elements = {Moving(0x00000001, 0, 30, -60, kPeriod), Moving(0x01000002, 5, 6, 7, kPeriod),
                Moving(0x02000003, 5, 6, 7, kPeriod), Moving(0x20000004, 5, 6, 7, kPeriod)};
  p.elements[0].FormatString = "0.0";
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "connected at " << c.connectTime << ", " << c.elapsed << " ms later");
    FakeHost host;
    auto w = Loaded(host, p);
    w->SetMode(kSlave);
    w->SetCOM(1);
    host.now = c.connectTime;
    w->SetConnected(true);
    host.now = static_cast<std::int32_t>(static_cast<std::uint32_t>(c.connectTime) + c.elapsed);

    CtrlProp& ramp = *w->HoldingElements[0].element;
    w->EmulatedValueStep(ramp);
    EXPECT_NEAR(ramp.Data(), c.ramp, 1e-9);
    char shown[32];
    std::snprintf(shown, sizeof shown, "%.1f", c.ramp);
    EXPECT_EQ(ramp.rCtrl()->Caption(), shown);
    // Hex, Binary and bit elements step rather than ramp.
    for (CtrlProp* e :
         {w->HoldingElements[1].element.get(), w->HoldingElements[2].element.get(), w->CoilElements[0].element.get()}) {
      w->EmulatedValueStep(*e);
      EXPECT_EQ(e->Data(), c.step) << std::hex << e->Address();
    }
  }
}

}  // namespace
}  // namespace quorvel::testing
