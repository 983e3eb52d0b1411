// The newcomer's first command: the sample meter polled over a virtual line.

#include <gtest/gtest.h>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

TEST(Demo, PollsTheEmulatedMeterWithoutErrors) {
  const TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  const auto run = RunToEnd({QuorvelCli(), "demo", "--headless", "--seconds", "2.5"}, dir.path(), "demo", 30s);
  ASSERT_TRUE(run) << "the demo did not end";
  ASSERT_EQ(run->status, 0) << run->err;
  EXPECT_EQ(run->err, "");
  EXPECT_NE(run->out.find("[   2 s] Coriolis Master ID:1 Connected: COM1"), std::string::npos) << run->out;
  EXPECT_NE(run->out.find(" Err:0\n"), std::string::npos) << run->out;
  EXPECT_EQ(run->out.find("Err:1"), std::string::npos) << run->out;
  // The emulated identification register, as the master shows it.
  EXPECT_NE(run->out.find("2A51h"), std::string::npos) << run->out;
}

}  // namespace
}  // namespace quorvel::interop
