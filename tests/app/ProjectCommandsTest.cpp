// quorvel-cli dump and build.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "CliTestSupport.h"
#include "SessionTestSupport.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;

const std::string kSample = QUORVEL_TEST_DATA "/../../samples/Coriolis.json";

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteFile(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

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
  WriteFile(Path("a.json"), dumped.out);
  ASSERT_EQ(RunCli({"build", Path("a.json"), "-o", Path("b.qvc")}).status, 0);
  EXPECT_EQ(ReadFile(Path("a.qvc")), ReadFile(Path("b.qvc")));
}

TEST_F(ProjectCommands, DumpShowsWhatTheSampleDescribes) {
  ASSERT_EQ(RunCli({"build", kSample, "-o", Path("c.qvc")}).status, 0);
  const CliRun dumped = RunCli({"dump", Path("c.qvc")});
  const auto dump = nlohmann::json::parse(dumped.out);
  std::ifstream in(kSample);
  const auto source = nlohmann::json::parse(in);
  for (const char* key :
       {"header", "menuCaption1", "menuCaption2", "Exeptions", "DirectWrite", "Timeout", "Interval"}) {
    EXPECT_EQ(dump[key], source[key]) << key;
  }
  EXPECT_EQ(dump["elements"], source["elements"]);
  EXPECT_EQ(dump["requests"], source["requests"]);
  EXPECT_EQ(dump["pictures"], source["pictures"]);
  const auto& s = dump["sections"];
  EXPECT_EQ(s[0], source["hiddenElements"].size());
  EXPECT_EQ(s[1], source["hiddenElements"].size() + source["elements"].size());
}

TEST_F(ProjectCommands, DumpReportsFilesThatDoNotLoad) {
  WriteFile(Path("text.qvc"), "just some text\n");
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

TEST_F(ProjectCommands, DumpWarnsAboutADamagedFile) {
  ASSERT_EQ(RunCli({"build", kSample, "-o", Path("d.qvc")}).status, 0);
  std::string bytes = ReadFile(Path("d.qvc"));
  bytes.resize(bytes.size() / 2);
  WriteFile(Path("d.qvc"), bytes);
  const CliRun run = RunCli({"dump", Path("d.qvc")});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.err.find("failed and were skipped"), std::string::npos) << run.err;
  EXPECT_GT(nlohmann::json::parse(run.out)["failedSteps"].get<int>(), 0);
}

TEST_F(ProjectCommands, UsesTheCodePageAskedFor) {
  WriteFile(Path("cyr.json"),
            R"({"header": "DraventaFabricant\n", "menuCaption1": "\u0421\u0435\u0440\u0432\u0438\u0441"})");
  const CliRun refused = RunCli({"build", Path("cyr.json"), "-o", Path("cyr.qvc")});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "quorvel-cli build: " + Path("cyr.json") +
                             ": menuCaption1: character U+0421 cannot be written in code page 1252\n");
  ASSERT_EQ(RunCli({"build", Path("cyr.json"), "-o", Path("cyr.qvc"), "--codepage", "1251"}).status, 0);
  const std::string bytes = ReadFile(Path("cyr.qvc"));
  EXPECT_NE(bytes.find("\x06\x00\xD1\xE5\xF0\xE2\xE8\xF1", 0, 8), std::string::npos);
  const auto dumped = nlohmann::json::parse(RunCli({"dump", Path("cyr.qvc"), "--codepage", "1251"}).out);
  EXPECT_EQ(dumped["menuCaption1"], "\u0421\u0435\u0440\u0432\u0438\u0441");
  EXPECT_EQ(dumped["codepage"], 1251);
  // A dump names its code page, and build takes it from there.
  WriteFile(Path("cyr2.json"), dumped.dump());
  ASSERT_EQ(RunCli({"build", Path("cyr2.json"), "-o", Path("cyr2.qvc")}).status, 0);
  EXPECT_EQ(ReadFile(Path("cyr2.qvc")), bytes);
}

TEST_F(ProjectCommands, RefusesBadArgumentsAndInput) {
  WriteFile(Path("bad.json"), "{ not json");
  struct Case {
    std::vector<std::string> args;
    int status;
  };
  const Case cases[] = {
      {{"dump"}, 2},
      {{"dump", "a.qvc", "b.qvc"}, 2},
      {{"dump", "a.qvc", "--codepage", "437"}, 2},
      {{"dump", "a.qvc", "--codepage"}, 2},
      {{"dump", "a.qvc", "-o", "x"}, 2},
      {{"build", kSample}, 2},
      {{"build", kSample, "-o"}, 2},
      {{"build", Path("bad.json"), "-o", Path("x.qvc")}, 1},
      {{"build", Path("missing.json"), "-o", Path("x.qvc")}, 1},
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
