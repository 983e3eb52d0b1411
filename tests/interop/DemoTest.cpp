// The newcomer's first command: the sample meter polled on a virtual bus,
// with a Monitor listening on a third end.

#include <gtest/gtest.h>

#include <regex>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

// The statistics line printed under the caption that starts so; empty without one.
std::string StatisticsUnder(const std::string& out, const std::string& caption) {
  const auto at = out.find(caption);
  if (at == std::string::npos) return "";
  const auto start = out.find('\n', at);
  if (start == std::string::npos) return "";
  return out.substr(start + 1, out.find('\n', start + 1) - start - 1);
}

int Counted(const std::string& statistics, const char* label) {
  std::smatch match;
  if (!std::regex_search(statistics, match, std::regex(std::string(" ") + label + ":(\\d+)"))) return -1;
  return std::stoi(match[1]);
}

TEST(Demo, PollsTheEmulatedMeterWithoutErrorsWhileTheMonitorHearsIt) {
  const TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  const auto run = RunToEnd({QuorvelCli(), "demo", "--headless", "--seconds", "2.5"}, dir.path(), "demo", 30s);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out.find("Err:1"), std::string::npos) << run.out;
  // The emulated identification register, as the master shows it.
  EXPECT_NE(run.out.find("2A51h"), std::string::npos) << run.out;

  const std::string master = StatisticsUnder(run.out, "[   2 s] Coriolis Master ID:1 Connected: COM1");
  EXPECT_GT(Counted(master, "rQ"), 0) << run.out;
  EXPECT_EQ(Counted(master, "Err"), 0) << run.out;
  // The Monitor heard the master's requests on the bus, each of them answered.
  const std::string monitor = StatisticsUnder(run.out, "[   2 s] Coriolis Monitor ID:1 Connected: COM3");
  EXPECT_GT(Counted(monitor, "rQ"), 0) << run.out;
  EXPECT_EQ(Counted(monitor, "Err"), 0) << run.out;
}

}  // namespace
}  // namespace quorvel::interop
