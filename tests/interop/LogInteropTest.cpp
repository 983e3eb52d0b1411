// `quorvel-cli run --log` against a pymodbus device with a fixed map: the
// CSV holds the values the panel shows, in its columns, with an empty cell
// for a value whose read the device refuses.

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

// From the map of pymodbus_ascii_server.py; HR 40 is beyond it, so the
// device answers its read with an exception.
constexpr const char* kList =
    "label,table,address,type,order,format,k,x0,writable\n"
    "Flow [kg/h],HR,0,int16\n"
    "\"Level, scaled\",HR,9,int16,,0.0,0.1\n"
    "code,IR,1,hex16\n"
    "missing,HR,40,int16\n";

std::vector<std::string> Lines(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) {
    EXPECT_TRUE(!line.empty() && line.back() == '\r') << "rows end in CR LF: " << line;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

using LogInterop = PymodbusDeviceTest;

TEST_F(LogInterop, RunLogsThePanelValuesOfAPymodbusDevice) {
  ASSERT_NO_FATAL_FAILURE(StartDevice("7"));
  const fs::path project = NewProjectFromList(dir_.path(), kList, 100);
  ASSERT_FALSE(project.empty());
  const auto run = [&](const fs::path& log, bool every) {
    std::vector<std::string> rest = {"--seconds", "2", "--log", log.string(), project.string()};
    if (every) rest.emplace_back("--log-every");
    const auto done = RunMaster(rest, every ? "every" : "changes");
    ASSERT_EQ(done.status, 0) << done.err;
  };

  // In panel order: the holding registers' frame, then the input registers'.
  const std::string header = "time,Flow [kg/h],\"Level, scaled\",missing,code";
  const std::string full = "-1234,25,,4660";  // FB2E, 250 x 0.1, HR 40 refused, 1234h
  const std::regex time(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3})");

  const fs::path changes = dir_.path() / "changes.csv";
  run(changes, false);
  const std::vector<std::string> rows = Lines(changes);
  ASSERT_GE(rows.size(), 2u);
  EXPECT_EQ(rows[0], header);
  // The values never change: a row for each of the first answers as the
  // cells fill, none after; the last holds them all.
  EXPECT_LE(rows.size(), 4u) << rows.back();
  EXPECT_EQ(rows.back().substr(rows.back().find(',') + 1), full);
  for (std::size_t i = 1; i < rows.size(); ++i)
    EXPECT_TRUE(std::regex_match(rows[i].substr(0, rows[i].find(',')), time)) << rows[i];

  const fs::path every = dir_.path() / "every.csv";
  run(every, true);
  const std::vector<std::string> answers = Lines(every);
  // Three requests each 100 ms for 2 s: far more than a row per value.
  EXPECT_GE(answers.size(), 12u);
  EXPECT_EQ(answers[0], header);
  EXPECT_EQ(answers.back().substr(answers.back().find(',') + 1), full);
}

}  // namespace
}  // namespace quorvel::interop
