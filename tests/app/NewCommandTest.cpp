// quorvel-cli new: a register list or ranges become a project file that
// dumps as a project; a list with a bad row writes nothing.

#include <gtest/gtest.h>

#include <filesystem>

#include "CliTestSupport.h"

namespace quorvel::cli {
namespace {

using NewCommand = CliFolder;

TEST_F(NewCommand, BuildsALoadableProjectFromAList) {
  quorvel::testing::WriteBytes(Path("pump.csv"),
                               "label,table,address,type\n"
                               "Druck,HR,0,float32\n"
                               "Drehzahl,HR,2,uint16\n"
                               "Läuft,C,4\n");
  const CliRun run = RunCli(
      {"new", Path("pump.csv"), "-o", Path("pump.qvc"), "--title", "Pumpe", "--codepage", "1252", "--period", "250"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, Path("pump.qvc") + ": 3 values, 2 read requests\n");
  const auto json = Dump(Path("pump.qvc"));
  EXPECT_EQ(json["header"], "DraventaFabricant Pumpe\r\n");
  EXPECT_EQ(json["requests"][0]["readQnt"], 3);
  EXPECT_EQ(json["requests"][0]["period"], 250);
  EXPECT_EQ(json["requests"][1]["func"], 1);
  std::vector<std::string> captions;
  for (const auto& e : json["elements"])
    if (e["ctrlName"] == "Lbl") captions.push_back(e["caption"]);
  EXPECT_EQ(captions, (std::vector<std::string>{"Pumpe", "Druck", "Drehzahl", "Läuft"}));
}

TEST_F(NewCommand, BuildsFromRanges) {
  const CliRun run = RunCli({"new", "--range", "HR:0-9:int16", "--range", "DI:100-131:bits:16", "-o", Path("r.qvc")});
  ASSERT_EQ(run.status, 0) << run.err;
  const auto json = Dump(Path("r.qvc"));
  int boxes = 0;
  for (const auto& e : json["elements"]) boxes += e["ctrlName"] == "TBox";
  EXPECT_EQ(boxes, 12);
  ASSERT_EQ(json["requests"].size(), 2u);
  EXPECT_EQ(json["requests"][1]["readAddr"], 100);
  EXPECT_EQ(json["requests"][1]["readQnt"], 32);
}

TEST_F(NewCommand, WritesNothingForAListWithBadRows) {
  quorvel::testing::WriteBytes(Path("bad.csv"),
                               "label,table,address,type\n"
                               "ok,HR,0\n"
                               "bad,HR,0,int64\n"
                               "worse,XX,1\n");
  const CliRun run = RunCli({"new", Path("bad.csv"), "-o", Path("bad.qvc")});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find(Path("bad.csv") + ": line 3: type 'int64'"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find(Path("bad.csv") + ": line 4: table 'XX'"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("nothing written"), std::string::npos) << run.err;
  EXPECT_FALSE(std::filesystem::exists(Path("bad.qvc")));
}

TEST_F(NewCommand, RefusesBadArguments) {
  quorvel::testing::WriteBytes(Path("a.csv"), "label,table,address\na,HR,0\n");
  const auto refused = [&](const std::vector<std::string>& args, int status) {
    const CliRun run = RunCli(args);
    EXPECT_EQ(run.status, status) << args.back() << ": " << run.err;
    EXPECT_FALSE(run.err.empty()) << args.back();
  };
  const std::string out = Path("x.qvc");
  refused({"new", Path("a.csv")}, 2);                                   // no output
  refused({"new", "-o", out}, 2);                                       // no source
  refused({"new", Path("a.csv"), "--range", "HR:0", "-o", out}, 2);     // two sources
  refused({"new", "--range", "HR:zero", "-o", out}, 2);                 // bad range
  refused({"new", Path("a.csv"), "-o", out, "--codepage", "437"}, 2);   // code page
  refused({"new", Path("a.csv"), "-o", out, "--period", "0"}, 2);       // period
  refused({"new", Path("none.csv"), "-o", out}, 1);                     // no such list
  refused({"new", Path("a.csv"), "-o", Path("no/such/dir/x.qvc")}, 1);  // cannot write
  refused({"new", Path("a.csv"), "-o", out, "--title", "a\nb"}, 1);     // title of two lines
  EXPECT_FALSE(std::filesystem::exists(Path("x.qvc")));
}

}  // namespace
}  // namespace quorvel::cli
