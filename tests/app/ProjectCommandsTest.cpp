// quorvel-cli dump and build.

#include <gtest/gtest.h>

#include <filesystem>

#include "CliTestSupport.h"
#include "SessionTestSupport.h"

namespace quorvel::cli {
namespace {

const std::string kSample = QUORVEL_TEST_DATA "/../../samples/Coriolis.json";

class ProjectCommands : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (dir_.path() / name).string(); }

  quorvel::testing::TempDir dir_;
};

TEST_F(ProjectCommands, BuildThenDumpThenBuildGivesTheSameBytes) {
  const CliRun built = RunCli({"build", kSample, "-o", Path("a.qvc")});
  ASSERT_EQ(built.status, 0) << built.err;
  const CliRun dumped = RunCli({"dump", Path("a.qvc")});
  ASSERT_EQ(dumped.status, 0) << dumped.err;
  EXPECT_EQ(dumped.err, "");
  quorvel::testing::WriteBytes(Path("a.json"), dumped.out);
  ASSERT_EQ(RunCli({"build", Path("a.json"), "-o", Path("b.qvc")}).status, 0);
  EXPECT_EQ(quorvel::testing::ReadBytes(Path("a.qvc")), quorvel::testing::ReadBytes(Path("b.qvc")));
}

TEST_F(ProjectCommands, DumpReportsFilesThatDoNotLoad) {
  quorvel::testing::WriteBytes(Path("text.qvc"), "just some text\n");
  struct Case {
    std::string path;
    std::string err;
  };
  const Case cases[] = {{Path("none.qvc"), "Path not found: " + Path("none.qvc") + "\n"},
                        {Path("text.qvc"), "Unknown file format: " + Path("text.qvc") + "\n"}};
  for (const Case& c : cases) {
    const CliRun run = RunCli({"dump", c.path});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, c.err);
  }
}

TEST_F(ProjectCommands, RefusesBadArgumentsAndInput) {
  quorvel::testing::WriteBytes(Path("bad.json"), "{ not json");
  struct Case {
    std::vector<std::string> args;
    int status;
  };
  const Case cases[] = {
      {{"dump"}, 2},
      {{"build", kSample}, 2},
      {{"build", Path("bad.json"), "-o", Path("x.qvc")}, 1},
      {{"build", kSample, "-o", Path("no/such/dir/x.qvc")}, 1},
  };
  for (const Case& c : cases) {
    const CliRun run = RunCli(c.args);
    EXPECT_EQ(run.status, c.status) << c.args[0] << " " << c.args.size() << ": " << run.err;
    EXPECT_FALSE(run.err.empty());
  }
}

}  // namespace
}  // namespace quorvel::cli
