#pragma once

// quorvel-cli: the engineer's pocket calculator and headless runner. Each
// command takes its own arguments (the command name removed) and returns the
// process exit status: 0 done, 1 refused or failed, 2 usage error.

#include <iosfwd>
#include <string>
#include <vector>

namespace quorvel::cli {

using Args = std::vector<std::string>;

struct Io {
  std::ostream& out;
  std::ostream& err;
};

inline constexpr int kOk = 0;
inline constexpr int kFailed = 1;
inline constexpr int kUsage = 2;

// Prints `message` (when not empty) and the usage line of `command` on err;
// returns kUsage.
int UsageError(Io& io, const std::string& command, const std::string& message = {});

int RunFrame(const Args& args, Io& io);
int RunCheck(const Args& args, Io& io);
int RunDecode(const Args& args, Io& io);
int RunEncode(const Args& args, Io& io);
int RunRun(const Args& args, Io& io);

// A project file as JSON, and a project file built from such JSON.
int RunDump(const Args& args, Io& io);
int RunBuild(const Args& args, Io& io);

// A project from a register list (CSV) or from address ranges.
int RunNew(const Args& args, Io& io);

// Forwards between two new pseudo-terminals until SIGINT, SIGTERM or SIGHUP.
int RunNullModem(const Args& args, Io& io);

// A half-duplex bus of 2 to 16 new pseudo-terminals, until SIGINT, SIGTERM or SIGHUP.
int RunBus(const Args& args, Io& io);

// Listens on a port and prints every frame heard, until stopped.
int RunMonitor(const Args& args, Io& io);

// Sends one frame typed by hand and prints the answer.
int RunSend(const Args& args, Io& io);

// Asks every slave id on a line and prints those that answer.
int RunScan(const Args& args, Io& io);

// A Modbus TCP server forwarding each request to a serial line, until stopped.
int RunGateway(const Args& args, Io& io);

// The sample session on a virtual null-modem line, printed once a second.
int RunDemo(const Args& args, Io& io);

// Dispatches argv (program name first) to a command.
int Main(const Args& argv, Io& io);

}  // namespace quorvel::cli
