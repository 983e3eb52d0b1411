// quorvel-cli bus: a virtual two-wire RS-485 bus of pseudo-terminals, where a
// master, devices and a monitor can share one line without serial ports.

#include <string>
#include <vector>

#include "app/cli/ForwarderCommand.h"
#include "platform/VirtualBus.h"

namespace quorvel::cli {

int RunBus(const Args& args, Io& io) {
  constexpr const char* kOptions[] = {"--ends", "--baud", "--drop", "--flip", "--noise", "--link"};
  Options options;
  std::string error;
  if (!SplitOptions(args, kOptions, options, error, kLineFlags)) return UsageError(io, "bus", error);
  if (!options.positional.empty())
    return UsageError(io, "bus", "unexpected argument '" + options.positional.front() + "'");

  const std::string* endsText = options.find("--ends");
  std::uint32_t ends = 0;
  if (!endsText) return UsageError(io, "bus", "--ends is needed");
  if (!ParseCount(*endsText, platform::kMaxBusEnds, ends) || ends < platform::kMinBusEnds)
    return UsageError(io, "bus",
                      "--ends needs " + std::to_string(platform::kMinBusEnds) + " to " +
                          std::to_string(platform::kMaxBusEnds) + ", not '" + *endsText + "'");
  platform::ForwarderOptions line;
  std::string linkDir;
  if (const int status = ParseLineOptions("bus", options, line, linkDir, io); status != kOk) return status;

  platform::VirtualBus bus({.ends = ends, .baudRate = line.baudRate, .damage = line.damage, .echo = line.echo});
  // Links named 1 .. N, as the ends are numbered for people.
  std::vector<std::string> links;
  for (std::size_t i = 1; i <= ends; ++i) links.push_back(std::to_string(i));
  const auto label = [&bus, ends](std::size_t from) {
    return bus.Path(from) + " -> the " + std::to_string(ends - 1) + " other ends";
  };
  return Forward("bus", bus, links, linkDir, label, io);
}

}  // namespace quorvel::cli
