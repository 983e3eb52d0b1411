// The headless loop over a real virtual null-modem line: a Master window
// polls the sample meter emulated by a Slave window, and every wake-up comes
// from a line's bytes or a deadline of the frame's; none from a fixed tick.

#include <gtest/gtest.h>

#include <limits>
#include <thread>

#include "CliTestSupport.h"
#include "app/PollLoop.h"
#include "app/cli/HeadlessFrame.h"
#include "platform/NullModem.h"

namespace quorvel {
namespace {

TEST(PollLoop, CompletesTransactionsWakingOnlyForBytesAndDeadlines) {
  platform::NullModem modem(platform::NullModemOptions{.baudRate = 19200, .damage = {}});
  std::thread line([&] { modem.Run(); });
  platform::PortMap ports;
  ports.Set(1, modem.Path(platform::End::A));
  ports.Set(2, modem.Path(platform::End::B));
  platform::SystemClock clock;
  std::vector<std::string> told;
  cli::HeadlessFrame frame(clock, ports, [&](const std::string& text) { told.push_back(text); });
  frmQuorvel& slave = testing::ConnectSample(frame, 2, kSlave);
  frmQuorvel& master = testing::ConnectSample(frame, 1, kMaster);
  // An answer missed by the loop would be taken only at this time-out, far
  // beyond the limit of a turn below.
  master.SetTimeout(60'000);

  // No safety cap: only the lines and the frame's own deadlines end a sleep.
  PollLoop loop(frame, clock, std::numeric_limits<double>::infinity());
  const std::vector<int> none;
  int turns = 0;
  int limited = 0;
  // The project's four periodic requests go out one after the other at once.
  while (turns < 5000 && limited == 0 && (master.Counters().RequestCount < 4 || frame.Port(1).Busy)) {
    limited += loop.Run(none, 5000).byLimit ? 1 : 0;
    ++turns;
  }
  modem.Stop();
  line.join();

  EXPECT_EQ(limited, 0) << "a wake-up was missed";
  EXPECT_TRUE(told.empty()) << told.front();
  const auto& c = master.Counters();
  EXPECT_EQ(c.RequestCount, 4);
  EXPECT_EQ(c.TOErr + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr, 0) << master.lblStatistic();
  EXPECT_EQ(slave.Counters().SlaveRequestCount, 4);
  EXPECT_EQ(cli::Shown(cli::WindowState(master), "HR0013"), "2A51h");
}

}  // namespace
}  // namespace quorvel
