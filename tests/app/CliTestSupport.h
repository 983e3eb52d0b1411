#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"

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

}  // namespace quorvel::cli
