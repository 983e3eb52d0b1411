// quorvel-cli nullmodem: a virtual null-modem cable between two
// pseudo-terminals, for tests, benchmarks and the demo without serial ports.

#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <ostream>
#include <system_error>

#include "app/cli/HexArgs.h"
#include "platform/NullModem.h"
#include "platform/StopSignals.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;
using platform::End;

constexpr const char* kOptions[] = {"--baud", "--drop", "--flip", "--noise", "--link"};
constexpr const char* kFlags[] = {"--echo"};

// A positive decimal number, at most `limit`.
bool ParseCount(const std::string& text, std::uint32_t limit, std::uint32_t& value) {
  const char* last = text.data() + text.size();
  const auto [end, ec] = std::from_chars(text.data(), last, value);
  return ec == std::errc{} && end == last && value >= 1 && value <= limit;
}

// Stable names DIR/COM1 and DIR/COM2 for the two ends. An old link of that
// name (left by a run that was killed) is replaced; anything else is not.
bool MakeLinks(const fs::path& dir, const platform::NullModem& modem, Io& io) {
  for (const End end : {End::A, End::B}) {
    const fs::path link = dir / (end == End::A ? "COM1" : "COM2");
    std::error_code ec;
    if (fs::is_symlink(fs::symlink_status(link, ec))) fs::remove(link, ec);
    fs::create_symlink(modem.Path(end), link, ec);
    if (ec) {
      io.err << "quorvel-cli nullmodem: cannot make " << link.string() << ": " << ec.message() << "\n";
      return false;
    }
  }
  return true;
}

// Removes the links that still point to this run's ends.
void RemoveLinks(const fs::path& dir, const platform::NullModem& modem) {
  for (const End end : {End::A, End::B}) {
    const fs::path link = dir / (end == End::A ? "COM1" : "COM2");
    std::error_code ec;
    if (fs::read_symlink(link, ec) == fs::path(modem.Path(end))) fs::remove(link, ec);
  }
}

void PrintCounts(std::ostream& out, const platform::NullModem& modem, End from) {
  const platform::NullModemCounts c = modem.Counts(from);
  out << modem.Path(from) << " -> " << modem.Path(from == End::A ? End::B : End::A) << ": " << c.received << " in, "
      << c.delivered << " out";
  if (c.dropped != 0) out << ", " << c.dropped << " dropped";
  if (c.flipped != 0) out << ", " << c.flipped << " flipped";
  if (c.noise != 0) out << ", " << c.noise << " noise added";
  if (c.overrun != 0) out << ", " << c.overrun << " lost to overrun";
  out << "\n";
}

}  // namespace

int RunNullModem(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kOptions, options, error, kFlags)) return UsageError(io, "nullmodem", error);
  if (!options.positional.empty())
    return UsageError(io, "nullmodem", "unexpected argument '" + options.positional.front() + "'");

  platform::NullModemOptions settings;
  std::uint32_t baud = 0;
  if (const std::string* text = options.find("--baud"); text && !ParseCount(*text, 100'000'000, baud))
    return UsageError(io, "nullmodem", "not a baud rate: '" + *text + "'");
  settings.baudRate = static_cast<int>(baud);
  settings.echo = options.has("--echo");
  const std::pair<const char*, std::uint32_t*> damage[] = {{"--drop", &settings.damage.dropEvery},
                                                           {"--flip", &settings.damage.flipEvery},
                                                           {"--noise", &settings.damage.noiseEvery}};
  for (const auto& [name, every] : damage) {
    const std::string* text = options.find(name);
    if (text && !ParseCount(*text, UINT32_MAX, *every))
      return UsageError(io, "nullmodem", std::string(name) + " needs a positive count, not '" + *text + "'");
  }
  const std::string* linkDir = options.find("--link");
  if (linkDir && !fs::is_directory(*linkDir)) return UsageError(io, "nullmodem", "no directory '" + *linkDir + "'");

  platform::NullModem modem(settings);
  if (linkDir && !MakeLinks(*linkDir, modem, io)) {
    RemoveLinks(*linkDir, modem);
    return kFailed;
  }
  int status = 0;
  {
    const platform::StopSignals stop;
    io.out << modem.Path(End::A) << "\n" << modem.Path(End::B) << "\n" << std::flush;
    status = stop.fd() < 0 ? errno : modem.Run(stop.fd());
  }
  if (linkDir) RemoveLinks(*linkDir, modem);
  PrintCounts(io.err, modem, End::A);
  PrintCounts(io.err, modem, End::B);
  if (status != 0) {
    io.err << "quorvel-cli nullmodem: " << std::generic_category().message(status) << "\n";
    return kFailed;
  }
  return kOk;
}

}  // namespace quorvel::cli
