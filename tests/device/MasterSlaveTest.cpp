// A Master window polling a Slave window of the same project across the
// in-memory cable: the whole transaction path, headless.

#include <gtest/gtest.h>

#include "DeviceTestSupport.h"
#include "serial/PortEntry.h"

namespace quorvel::testing {
namespace {

std::string Label(const CtrlProp& element) { return element.rCtrl() ? element.rCtrl()->Caption() : ""; }

TEST(MasterSlave, MasterShowsWhatTheSlaveEmulates) {
  Bench bench;
  frmQuorvel& master = bench.Open(1, kMaster);
  frmQuorvel& slave = bench.Open(2, kSlave);
  bench.Connect(slave);
  bench.Connect(master);
  ASSERT_TRUE(bench.frame.PortsActive());
  EXPECT_EQ(bench.frame.Port(1).State, PortEntry::kOpen);

  bench.Run(3000);
  EXPECT_TRUE(bench.boxes.empty()) << bench.boxes.front();
  const auto& c = master.Counters();
  EXPECT_GT(c.RequestCount, 4);
  EXPECT_EQ(c.TOErr + c.DtErr + c.CRCErr + c.FrErr, 0) << master.lblStatistic();
  EXPECT_GT(slave.Counters().SlaveRequestCount, 4);

  // Every value element of the master shows what the slave's twin shows
  // (elements that ramp are left out: they move between read and compare).
  ASSERT_EQ(master.HoldingElements.size(), slave.HoldingElements.size());
  int compared = 0;
  for (std::size_t i = 0; i < master.HoldingElements.size(); ++i) {
    const CtrlProp& m = *master.HoldingElements[i].element;
    const CtrlProp& s = *slave.HoldingElements[i].element;
    if (s.Period() >= 2) continue;
    EXPECT_EQ(Label(m), Label(s)) << "element at " << (m.Address() & 0xFFFF);
    ++compared;
  }
  EXPECT_GT(compared, 3);
  EXPECT_EQ(master.lblStatistic().rfind(" rQ:", 0), 0u);
  EXPECT_NE(master.Caption().find("Connected: COM1  9600-1-n-8 RTU"), std::string::npos) << master.Caption();
}

}  // namespace
}  // namespace quorvel::testing
