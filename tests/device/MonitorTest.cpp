// A Monitor window: what it makes of a bus it only listens to. Requests to
// its slave address and their answers reach its panel and its counters as
// they would a Master window's; other slaves' traffic does not.

#include <gtest/gtest.h>

#include <memory>

#include "../modbus/ModbusTestSupport.h"
#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

using MODBUS::test::Bytes;
constexpr auto Rtu = MODBUS::test::WithCrc;

struct Monitor {
  Monitor() {
    TestProject p;
    p.elements = {Box(0x00000000, -1), Box(0x00000001, -1), Box(0x20000003, -1)};  // HR0, HR1, coil 3
    p.requests = {Read(3, 0, 2)};
    Load(window, p);
    window.SetMode(kMonitor);
    window.SetID(7);
  }
  void Hear(const Bytes& frame, bool answerShaped = false) { window.FrameHeard(frame, answerShaped); }
  // The text element i's value label shows.
  std::string Shown(std::size_t i) const {
    const Table table = i < 2 ? Table::Holding : Table::Coil;
    return window.ElementsOf(table).at(i < 2 ? i : 0).element->rCtrl()->Caption();
  }
  const MODBUS::TrafficCounters& Counters() const { return window.Counters(); }

  FakeHost host;
  frmQuorvel window{host};
};

TEST(Monitor, ShowsWhatRequestsToItsSlaveAndTheirAnswersCarry) {
  Monitor m;
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({7, 3, 4, 0x04, 0xD2, 0xFF, 0xFE}), true);
  EXPECT_EQ(m.Shown(0), "1 234");
  EXPECT_EQ(m.Shown(1), "- 2");
  // Another slave's pair changes nothing here.
  m.Hear(Rtu({8, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({8, 3, 4, 0, 1, 0, 2}), true);
  EXPECT_EQ(m.Shown(0), "1 234");
  // A write and its answer (the same bytes) show what was written.
  const Bytes write = Rtu({7, 6, 0, 1, 0x00, 0x2A});
  m.Hear(write);
  m.Hear(write);
  EXPECT_EQ(m.Shown(1), " 42");
  const Bytes coil = Rtu({7, 5, 0, 3, 0xFF, 0x00});
  m.Hear(coil);
  m.Hear(coil);
  EXPECT_EQ(m.Shown(2), "1");
  EXPECT_EQ(m.Counters().RequestCount, 3);
  EXPECT_EQ(m.window.lblStatistic(), " rQ:3 Err:0");
}

TEST(Monitor, CountsWhatWentWrongAsTheMasterWould) {
  Monitor m;
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));  // the first went unanswered
  Bytes damaged = Rtu({7, 3, 4, 0, 1, 0, 2});
  damaged[4] ^= 0x10;
  m.Hear(damaged);
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({7, 0x83, 2}), true);
  const MODBUS::TrafficCounters& c = m.Counters();
  EXPECT_EQ(c.RequestCount, 3);
  EXPECT_EQ(c.TOErr, 1);
  EXPECT_EQ(c.CRCErr, 1);
  EXPECT_EQ(c.Ex2, 1);
  EXPECT_EQ(m.Shown(0), Monitor().Shown(0)) << "nothing good was heard";
  EXPECT_EQ(m.window.lblStatistic(), " rQ:3 Err:3 TOErr:1 CRCErr:1 Ex2:1");
}

// What a log or a trend hears of each answer: how many values it read, and
// whether they came.
struct Told final : AnswerWatcher {
  std::vector<std::pair<std::size_t, bool>> answers;
  void AnswerTaken(std::span<CtrlProp* const> read, bool ok) override { answers.emplace_back(read.size(), ok); }
};

TEST(Monitor, TellsItsWatchersOfEachAnswerHeardForItsSlave) {
  Monitor m;
  Told told;
  m.window.AddWatcher(told);
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({7, 3, 4, 0, 1, 0, 2}), true);  // read: both values came
  m.Hear(Rtu({8, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({8, 3, 4, 0, 1, 0, 2}), true);  // another slave's: nothing
  const Bytes write = Rtu({7, 6, 0, 1, 0x00, 0x2A});
  m.Hear(write);
  m.Hear(write);  // a write taken: the value it wrote
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));
  m.Hear(Rtu({7, 3, 0, 0, 0, 2}));  // the first went unanswered
  m.Hear(Rtu({7, 0x83, 2}), true);  // and the second was refused
  EXPECT_EQ(told.answers, (std::vector<std::pair<std::size_t, bool>>{{2, true}, {1, true}, {2, false}, {2, false}}));
  m.window.RemoveWatcher(told);
}

}  // namespace
}  // namespace quorvel::testing
