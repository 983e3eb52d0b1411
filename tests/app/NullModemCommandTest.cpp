// quorvel-cli nullmodem refuses bad arguments before it starts anything; the
// program itself is the cable of every interoperability test.

#include <gtest/gtest.h>

#include "CliTestSupport.h"

namespace quorvel::cli {
namespace {

TEST(NullModemCommand, RefusesBadArgumentsBeforeAnythingStarts) {
  for (const Args& args : std::vector<Args>{
           {"--baud", "0"}, {"--drop", "-2"}, {"--noise"}, {"COM1"}, {"--link", "/nonexistent/quorvel"}}) {
    Args line = {"nullmodem"};
    line.insert(line.end(), args.begin(), args.end());
    const CliRun run = RunCli(line);
    EXPECT_EQ(run.status, kUsage) << args[0];
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("usage: quorvel-cli nullmodem [--baud B]"), std::string::npos) << run.err;
  }
}

}  // namespace
}  // namespace quorvel::cli
