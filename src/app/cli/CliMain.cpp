#include <iostream>
#include <map>

#include "Version.h"
#include "app/cli/Cli.h"

namespace quorvel::cli {
namespace {

using Command = int (*)(const Args&, Io&);

struct CommandEntry {
  Command run;
  const char* usage;
};

const std::map<std::string, CommandEntry>& Commands() {
  static const std::map<std::string, CommandEntry> kCommands = {
      {"frame", {RunFrame, "frame rtu|ascii HEXBYTES..."}},
      {"check", {RunCheck, "check rtu|ascii FRAME..."}},
      {"decode", {RunDecode, "decode CODE HEXBYTES... [--format F] [--k K] [--x0 X]"}},
      {"run",
       {RunRun,
        "run [--map COMn=PATH]... [--seconds S] FILE.qvc|FILE.qvs [--com N] [--mode master|slave|monitor] "
        "[--id N] [--timeout MS] [--period MS] [--line 19200-8E1[-ascii]] [--timing classic|standard|fast] "
        "[--echo] [--write [W:]LABEL=TEXT]... [--user-request [W:]LABEL]... [--save-session FILE.qvs] "
        "[--codepage N] [--log [W:]FILE.csv]... [--log-every]\n"
        "      (--timing and --echo set the project's port, or every port a session uses over what it says;\n"
        "       --log writes window W's values to FILE.csv, a row when one changed, with --log-every for each "
        "answer)"}},
      {"demo", {RunDemo, "demo [--headless] [--seconds S] [--session FILE.qvs] [--baud B]"}},
      {"encode", {RunEncode, "encode CODE TEXT [--format F] [--k K] [--x0 X]"}},
      {"dump", {RunDump, "dump FILE.qvc [--codepage N]"}},
      {"build", {RunBuild, "build FILE.json -o FILE.qvc [--codepage N]"}},
      {"new",
       {RunNew,
        "new LIST.csv|--range TABLE:FIRST-LAST[:TYPE][:swapped]... -o FILE.qvc [--title T] [--codepage N] "
        "[--period MS]\n"
        "      (CSV columns: label,table,address,type,order,format,k,x0,writable; types: int16, uint16, int32, "
        "uint32,\n       float32, float64, hex16, hex32, bin16, bin8, hi8, lo8, bits:N)"}},
      {"monitor",
       {RunMonitor, "monitor [--map COMn=PATH] [--com N] [--line LINE] [--timing T] [--seconds S] [--json]"}},
      {"send",
       {RunSend, "send [--map COMn=PATH] [--com N] [--line LINE] [--timing T] [--timeout MS] [--no-crc] HEXBYTES..."}},
      {"scan",
       {RunScan,
        "scan [--map COMn=PATH] [--com N] [--line LINE] [--timing T] [--ids 1-247] [--timeout MS] "
        "[--bauds 9600,19200,...]"}},
      {"gateway",
       {RunGateway,
        "gateway --listen HOST:PORT [--map COMn=PATH] [--com N] [--line LINE] [--timing T] [--timeout MS] "
        "[--seconds S] [--verbose]"}},
      {"bus", {RunBus, "bus --ends N [--baud B] [--drop K] [--flip K] [--noise K] [--echo] [--link DIR]"}},
      {"nullmodem", {RunNullModem, "nullmodem [--baud B] [--drop N] [--flip N] [--noise N] [--echo] [--link DIR]"}},
  };
  return kCommands;
}

void PrintHelp(std::ostream& out) {
  out << "usage: quorvel-cli COMMAND [ARGUMENTS...]\n\nQuorvel " << kVersion
      << ": Modbus serial line companion\n\ncommands:\n";
  for (const auto& [name, entry] : Commands()) out << "  quorvel-cli " << entry.usage << "\n";
}

}  // namespace

int UsageError(Io& io, const std::string& command, const std::string& message) {
  if (!message.empty()) io.err << "quorvel-cli " << command << ": " << message << "\n";
  const auto found = Commands().find(command);
  io.err << "usage: quorvel-cli " << (found == Commands().end() ? command : found->second.usage) << "\n";
  return kUsage;
}

int Main(const Args& argv, Io& io) {
  if (argv.size() < 2) {
    PrintHelp(io.err);
    return kUsage;
  }
  const std::string& name = argv[1];
  if (name == "--version" || name == "version") {
    io.out << "quorvel-cli " << kVersion << "\n";
    return kOk;
  }
  if (name == "--help" || name == "help" || name == "-h") {
    PrintHelp(io.out);
    return kOk;
  }
  const auto found = Commands().find(name);
  if (found == Commands().end()) {
    io.err << "quorvel-cli: unknown command '" << name << "'\n";
    PrintHelp(io.err);
    return kUsage;
  }
  const Args rest(argv.begin() + 2, argv.end());
  try {
    return found->second.run(rest, io);
  } catch (const std::exception& e) {
    // Nothing a user types may end the program without a word.
    io.err << "quorvel-cli " << name << ": " << e.what() << "\n";
    return kFailed;
  }
}

}  // namespace quorvel::cli
