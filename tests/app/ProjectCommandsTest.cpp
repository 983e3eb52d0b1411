// quorvel-cli dump and build.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "CliTestSupport.h"

namespace quorvel::cli {
namespace {

const std::string kSample = QUORVEL_TEST_DATA "/../../samples/Coriolis.json";

using ProjectCommands = CliFolder;

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
  // 20 GB that take no room: the header alone decides, and at once.
  const auto sparse = [&](const std::string& name, const std::string& head) {
    quorvel::testing::WriteBytes(Path(name), head);
    std::filesystem::resize_file(Path(name), 20ull << 30);
  };
  sparse("huge.qvc", "not a project\n");
  sparse("huge-project.qvc", "DraventaFabricant\n");
  // Opened without waiting for a writer, so nothing needs to hold its other end.
  ASSERT_EQ(mkfifo(Path("pipe.qvc").c_str(), 0600), 0);
  struct Case {
    std::string path;
    std::string err;
  };
  const Case cases[] = {{Path("none.qvc"), "Path not found: " + Path("none.qvc") + "\n"},
                        {Path("text.qvc"), "Unknown file format: " + Path("text.qvc") + "\n"},
                        {Path("huge.qvc"), "Unknown file format: " + Path("huge.qvc") + "\n"},
                        {Path("huge-project.qvc"), "File too large: " + Path("huge-project.qvc") + "\n"},
                        {Path("pipe.qvc"), "Cannot read " + Path("pipe.qvc") + ": not a regular file\n"}};
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
