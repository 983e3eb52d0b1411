#pragma once

// quorvel-cli run in-process, on a virtual line or in a folder of its own.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "SessionTestSupport.h"
#include "app/cli/Cli.h"
#include "platform/NullModem.h"

namespace quorvel::cli {

struct CliRun {
  int status;
  std::string out;
  std::string err;
};

// Runs quorvel-cli in-process with the given arguments (program name added).
inline CliRun RunCli(std::vector<std::string> args) {
  args.insert(args.begin(), "quorvel-cli");
  std::ostringstream out, err;
  Io io{out, err};
  const int status = Main(args, io);
  return {status, out.str(), err.str()};
}

// Runs `command` with COM1 and COM2 mapped to the two ends of a virtual
// null-modem line that lives as long as the run.
inline CliRun RunCliOnModem(const std::string& command, const std::vector<std::string>& args) {
  platform::NullModem modem;
  std::thread line([&] { modem.Run(); });
  std::vector<std::string> all = {command, "--map", "COM1=" + modem.Path(platform::End::A), "--map",
                                  "COM2=" + modem.Path(platform::End::B)};
  all.insert(all.end(), args.begin(), args.end());
  CliRun run = RunCli(all);
  modem.Stop();
  line.join();
  return run;
}

// The text of the value labelled `label` in a window's state as the run prints it.
inline std::string Shown(const nlohmann::json& window, const std::string& label) {
  for (const auto& value : window["values"])
    if (value["label"] == label) return value["text"];
  return "(no " + label + ")";
}

// A scratch folder of the test's own for the files a command reads and writes.
class CliFolder : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (dir_.path() / name).string(); }
  // The project file dumped as JSON; a dump that fails fails the test.
  nlohmann::json Dump(const std::string& path) {
    const CliRun dumped = RunCli({"dump", path});
    EXPECT_EQ(dumped.status, 0) << dumped.err;
    EXPECT_EQ(dumped.err, "");
    return nlohmann::json::parse(dumped.out);
  }

  quorvel::testing::TempDir dir_;
};

}  // namespace quorvel::cli
