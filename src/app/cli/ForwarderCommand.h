#pragma once

// What `quorvel-cli nullmodem` and `quorvel-cli bus` share: the line options,
// stable links to the ends, forwarding until a stop signal, and what passed,
// printed at the end.

#include <functional>
#include <span>
#include <string>

#include "app/cli/Cli.h"
#include "app/cli/HexArgs.h"
#include "platform/PtyForwarder.h"

namespace quorvel::cli {

// The options both take, for SplitOptions; a command adds its own.
inline constexpr const char* kLineOptions[] = {"--baud", "--drop", "--flip", "--noise", "--link"};
inline constexpr const char* kLineFlags[] = {"--echo"};

// A positive decimal number, at most `limit`.
bool ParseCount(const std::string& text, std::uint32_t limit, std::uint32_t& value);

// Reads --baud, --drop, --flip, --noise, --echo and --link into `line` and
// `linkDir` (left empty without --link). Returns kOk, or the status of the
// usage error it has printed.
int ParseLineOptions(const std::string& command, const Options& options, platform::ForwarderOptions& line,
                     std::string& linkDir, Io& io);

// Links linkDir/linkNames[i] to end i (unless linkDir is empty), prints the
// ends' paths one a line, forwards until SIGINT, SIGTERM or SIGHUP, removes
// the links and prints each end's counts on err, introduced by label(i).
int Forward(const std::string& command, platform::PtyForwarder& forwarder, std::span<const std::string> linkNames,
            const std::string& linkDir, const std::function<std::string(std::size_t)>& label, Io& io);

}  // namespace quorvel::cli
