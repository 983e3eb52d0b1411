#include "app/Startup.h"

#include <filesystem>
#include <limits>
#include <ostream>
#include <system_error>

#include "app/FileCommands.h"
#include "app/PollLoop.h"
#include "app/Settings.h"
#include "platform/Clock.h"
#include "platform/SettingsStore.h"
#include "platform/StopSignals.h"

namespace quorvel {

std::string MakeProgramTitle(int major, int minor) {
  return "Quorvel " + std::to_string(major) + "." + std::to_string(minor);
}

std::string WholeCommandLine(std::span<const char* const> args) {
  std::string line;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (i > 0) line += ' ';
    line += args[i];
  }
  return line;
}

std::string HandOffName(std::string_view commandLine) {
  std::string name;
  for (const char c : commandLine) {
    if (c != '"') name += c;
  }
  return name;
}

bool IsHandOffProject(std::string_view name) { return name.size() >= 3 && name.substr(name.size() - 3) == "qvc"; }

frmQuorvel* Form_LinkOpen(frmQuorvelMain& frame, const std::string& fileName) {
  return IsHandOffProject(fileName) ? frame.OpenProject(fileName) : nullptr;
}

std::string ProgramDirectory() {
  std::error_code ec;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec || !self.has_parent_path()) return {};
  return self.parent_path().string() + "/";
}

std::optional<FirstCopy> Main(std::span<const char* const> args, const std::string& preferredDir,
                              const platform::LinkLimits& limits, const std::string& fallbackDir) {
  FirstCopy first;
  first.CommandLine = WholeCommandLine(args);
  const std::string linkDir =
      platform::PrepareLinkDirectoryOr(preferredDir, fallbackDir, first.LinkNote, first.LinkProblem);
  if (!linkDir.empty()) {
    platform::InstanceClaim claim = platform::ClaimInstance(linkDir, limits);
    if (claim.role == platform::InstanceRole::Later) {
      // The later copy shows nothing, whatever comes of the hand-off.
      platform::OfferName(linkDir, HandOffName(first.CommandLine), limits);
      return std::nullopt;
    }
    first.Link = std::move(claim.server);
    first.LinkProblem = claim.error;
  }
  first.ProgramTitle = MakeProgramTitle(kVersionMajor, kVersionMinor);
  return first;
}

int RunHeadless(FirstCopy first, std::ostream& out, std::ostream& err) {
  // Taken first, so that a stop asked for while the files open is not lost.
  const platform::StopSignals stop;
  if (!first.Link) err << "quorvel: later copies cannot reach this one: " << first.LinkProblem << "\n";
  if (!first.LinkNote.empty()) err << "quorvel: " << first.LinkNote << "\n";

  platform::PortMap portMap;
  if (const auto store = platform::OpenUserSettings()) portMap = LoadPortMap(*store);
  platform::SystemClock clock;
  frmQuorvelMain frame(clock, portMap);
  frame.Globals().ProgramTitle = first.ProgramTitle;
  frame.Globals().AppPath = ProgramDirectory();
  // While a handed-over name is dealt with, what is printed may hold it.
  bool handedOver = false;
  const auto tell = [&err, &handedOver](const std::string& text) {
    err << (handedOver ? platform::PrintableName(text) : text) << std::endl;
  };
  frame.SetMsgBoxSink(tell);
  frame.SetShowMsgSink(tell);

  std::size_t told = 0;
  const auto tellOpened = [&] {
    for (; told < frame.Devices().size(); ++told)
      out << "Opened: " << platform::PrintableName(frame.Devices()[told]->ProjectFile()) << "\n";
    out.flush();
  };
  OpenCommandLine(frame, first.CommandLine);
  tellOpened();
  const auto receive = [&](const std::string& name) {
    handedOver = true;
    Form_LinkOpen(frame, name);
    tellOpened();
    handedOver = false;
  };

  PollLoop loop(frame, clock);
  const int watched[] = {stop.fd(), first.Link ? first.Link->fd() : -1};
  for (;;) {
    // With no port open only a signal or the link can bring work.
    const PollLoop::Turn turn = loop.Run(watched, std::numeric_limits<double>::infinity());
    if (turn.ready[0]) break;
    if (turn.ready[1]) first.Link->Service(receive);
    tellOpened();
  }
  frame.Unload();
  return 0;
}

}  // namespace quorvel
