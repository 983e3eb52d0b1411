#include "app/cli/ForwarderCommand.h"

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <ostream>
#include <system_error>

#include "platform/StopSignals.h"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;

// An old link of that name (left by a run that was killed) is replaced;
// anything else is not.
bool MakeLinks(const std::string& command, const fs::path& dir, std::span<const std::string> names,
               const platform::PtyForwarder& forwarder, Io& io) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    const fs::path link = dir / names[i];
    std::error_code ec;
    if (fs::is_symlink(fs::symlink_status(link, ec))) fs::remove(link, ec);
    fs::create_symlink(forwarder.Path(i), link, ec);
    if (ec) {
      io.err << "quorvel-cli " << command << ": cannot make " << link.string() << ": " << ec.message() << "\n";
      return false;
    }
  }
  return true;
}

// Removes the links that still point to this run's ends.
void RemoveLinks(const fs::path& dir, std::span<const std::string> names, const platform::PtyForwarder& forwarder) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    const fs::path link = dir / names[i];
    std::error_code ec;
    if (fs::read_symlink(link, ec) == fs::path(forwarder.Path(i))) fs::remove(link, ec);
  }
}

void PrintCounts(std::ostream& out, const std::string& label, const platform::ForwarderCounts& c) {
  out << label << ": " << c.received << " in, " << c.delivered << " out";
  if (c.dropped != 0) out << ", " << c.dropped << " dropped";
  if (c.flipped != 0) out << ", " << c.flipped << " flipped";
  if (c.noise != 0) out << ", " << c.noise << " noise added";
  if (c.collided != 0) out << ", " << c.collided << " garbled by collisions";
  if (c.overrun != 0) out << ", " << c.overrun << " lost to overrun";
  out << "\n";
}

}  // namespace

bool ParseCount(const std::string& text, std::uint32_t limit, std::uint32_t& value) {
  const char* last = text.data() + text.size();
  const auto [end, ec] = std::from_chars(text.data(), last, value);
  return ec == std::errc{} && end == last && value >= 1 && value <= limit;
}

int ParseLineOptions(const std::string& command, const Options& options, platform::ForwarderOptions& line,
                     std::string& linkDir, Io& io) {
  std::uint32_t baud = 0;
  if (const std::string* text = options.find("--baud"); text && !ParseCount(*text, 100'000'000, baud))
    return UsageError(io, command, "not a baud rate: '" + *text + "'");
  line.baudRate = static_cast<int>(baud);
  line.echo = options.has("--echo");
  const std::pair<const char*, std::uint32_t*> damage[] = {
      {"--drop", &line.damage.dropEvery}, {"--flip", &line.damage.flipEvery}, {"--noise", &line.damage.noiseEvery}};
  for (const auto& [name, every] : damage) {
    const std::string* text = options.find(name);
    if (text && !ParseCount(*text, UINT32_MAX, *every))
      return UsageError(io, command, std::string(name) + " needs a positive count, not '" + *text + "'");
  }
  if (const std::string* dir = options.find("--link")) {
    if (!fs::is_directory(*dir)) return UsageError(io, command, "no directory '" + *dir + "'");
    linkDir = *dir;
  }
  return kOk;
}

int Forward(const std::string& command, platform::PtyForwarder& forwarder, std::span<const std::string> linkNames,
            const std::string& linkDir, const std::function<std::string(std::size_t)>& label, Io& io) {
  if (!linkDir.empty() && !MakeLinks(command, linkDir, linkNames, forwarder, io)) {
    RemoveLinks(linkDir, linkNames, forwarder);
    return kFailed;
  }
  int status = 0;
  {
    const platform::StopSignals stop;
    for (std::size_t i = 0; i < forwarder.Ends(); ++i) io.out << forwarder.Path(i) << "\n";
    io.out << std::flush;
    status = stop.fd() < 0 ? errno : forwarder.Run(stop.fd());
  }
  if (!linkDir.empty()) RemoveLinks(linkDir, linkNames, forwarder);
  for (std::size_t i = 0; i < forwarder.Ends(); ++i) PrintCounts(io.err, label(i), forwarder.Counts(i));
  if (status != 0) {
    io.err << "quorvel-cli " << command << ": " << std::generic_category().message(status) << "\n";
    return kFailed;
  }
  return kOk;
}

}  // namespace quorvel::cli
