// Requests that cannot be laid out: said in the message window and counted,
// and a periodic one steps aside for the others on its port.

#include <gtest/gtest.h>

#include <algorithm>

#include "DeviceTestSupport.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

// A periodic write of `registers` registers with the data for all of them.
RequestRecord PeriodicWrite(std::int32_t registers, std::string label) {
  RequestRecord r;
  r.Func = 16;
  r.WriteAddr = 0;
  r.WriteQnt = registers;
  r.Period = 100;
  r.Data.assign(static_cast<std::size_t>(2 * registers), 0x5A);
  r.Label = std::move(label);
  return r;
}

frmQuorvel& OpenConnected(Bench& bench, const TestProject& project) {
  const ProjectOnDisk file(project);
  frmQuorvel* window = bench.frame.OpenProject(file.path());
  if (!window) throw std::runtime_error("test project did not load");
  window->SetMode(kMaster);
  window->SetCOM(1);
  bench.Connect(*window);
  return *window;
}

std::size_t Count(const std::vector<std::string>& texts, const std::string& text) {
  return static_cast<std::size_t>(std::count(texts.begin(), texts.end(), text));
}

TEST(UnsentRequest, AnOverLongPeriodicRequestLetsTheOthersPoll) {
  TestProject project;
  // 200 registers are 400 data bytes: more than a frame's byte count can say.
  project.requests = {PeriodicWrite(200, "Whole table"), Read(3, 0, 2, 100)};
  Bench bench;
  frmQuorvel& window = OpenConnected(bench, project);

  bench.Run(1000);
  // Nobody answers: every read the good request made timed out.
  const auto& c = window.Counters();
  EXPECT_GE(c.RequestCount, 8);
  EXPECT_GE(c.TOErr, 7);
  EXPECT_GE(c.Unsent, 8);
  EXPECT_EQ(Count(bench.shown, "Whole table: request too long for the frame buffer"), 1u);
  EXPECT_EQ(bench.shown.size(), 1u);
}

TEST(UnsentRequest, UserRequestsWithTooLittleDataSayWhy) {
  RequestRecord write = PeriodicWrite(2, "Two registers");
  write.Control = 1;
  write.Data.resize(2);  // one register's worth
  RequestRecord mask;
  mask.Func = 22;
  mask.WriteAddr = 4;
  mask.WriteQnt = 1;
  mask.Control = 1;
  mask.Label = "Mask";
  TestProject project;
  project.requests = {write, mask};
  Bench bench;
  frmQuorvel& window = OpenConnected(bench, project);

  for (int item : {1, 2, 1}) window.mnuUser1_Click(item);
  bench.Run(50);
  EXPECT_EQ(Count(bench.shown, "Two registers: request data shorter than its write quantity"), 2u);
  EXPECT_EQ(Count(bench.shown, "Mask: request data shorter than its write quantity"), 1u);
  EXPECT_EQ(window.Counters().Unsent, 3);
  EXPECT_EQ(window.Counters().RequestCount, 0);
}

}  // namespace
}  // namespace quorvel::testing
