// quorvel-cli nullmodem: a virtual null-modem cable between two
// pseudo-terminals, for tests, benchmarks and the demo without serial ports.

#include "app/cli/ForwarderCommand.h"
#include "platform/NullModem.h"

namespace quorvel::cli {

int RunNullModem(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kLineOptions, options, error, kLineFlags)) return UsageError(io, "nullmodem", error);
  if (!options.positional.empty())
    return UsageError(io, "nullmodem", "unexpected argument '" + options.positional.front() + "'");

  platform::ForwarderOptions line;
  std::string linkDir;
  if (const int status = ParseLineOptions("nullmodem", options, line, linkDir, io); status != kOk) return status;

  platform::NullModem modem({.baudRate = line.baudRate, .damage = line.damage, .echo = line.echo});
  const std::string links[] = {"COM1", "COM2"};
  const auto label = [&modem](std::size_t from) { return modem.Path(from) + " -> " + modem.Path(1 - from); };
  return Forward("nullmodem", modem, links, linkDir, label, io);
}

}  // namespace quorvel::cli
