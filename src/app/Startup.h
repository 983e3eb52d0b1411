#pragma once

// Start-up: whether this process is the first copy of the program or a later
// one, and the two halves of handing a project from a later copy to the
// first: what the later copy sends and what the first copy opens of it.

#include <iosfwd>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/frmQuorvelMain.h"
#include "platform/InstanceLink.h"

namespace quorvel {

// The program's own version, as its title shows it.
inline constexpr int kVersionMajor = 1;
inline constexpr int kVersionMinor = 0;

// "Quorvel", a blank, major "." minor, as plain integers: "Quorvel 1.0".
std::string MakeProgramTitle(int major, int minor);

// The command line as one string: the arguments joined with single blanks.
std::string WholeCommandLine(std::span<const char* const> args);

// What a later copy hands over: the command line with every double quote
// dropped and nothing else changed (no trimming, case kept, blanks and
// further arguments left in).
std::string HandOffName(std::string_view commandLine);

// Whether the first copy opens a handed-over name: not empty and ending in
// "qvc" exactly, letter case counting. A session file is never taken this way.
bool IsHandOffProject(std::string_view name);

// The first copy's side of a hand-off: the name, as received, opened as a
// project when it is one; anything else is ignored without a word.
frmQuorvel* Form_LinkOpen(frmQuorvelMain& frame, const std::string& fileName);

// The program's own directory followed by "/"; empty when it cannot be told.
std::string ProgramDirectory();

// What the first copy starts with.
struct FirstCopy {
  std::string ProgramTitle;
  std::string CommandLine;
  // The link later copies hand their names to; null when none could be made,
  // and then `LinkProblem` says why.
  std::unique_ptr<platform::InstanceServer> Link;
  std::string LinkProblem;
  // Said once when the link is not where it is usually looked for.
  std::string LinkNote;
};

// The start-up decision for the command line `args` (the program's name and
// options left out). A later copy hands its name to the first copy through
// the link in `linkDir` and gets nothing back: it has nothing more to do,
// whether or not the first copy answered. A first copy gets what it starts
// with. When `linkDir` belongs to another user the link goes to
// `fallbackDir` if one is given. When no safe link can be made the process
// runs as a first copy without one.
std::optional<FirstCopy> Main(std::span<const char* const> args, const std::string& linkDir,
                              const platform::LinkLimits& limits = {}, const std::string& fallbackDir = {});

// The first copy without a window: the frame's core with the file of its own
// command line, its ports and the link, served in one loop until SIGINT,
// SIGTERM or SIGHUP. Each device window that opens is told on `out` as
// "Opened: " and its project file; message-box texts go to `err`. A name
// handed over by a later copy is printed with its control characters escaped.
int RunHeadless(FirstCopy first, std::ostream& out, std::ostream& err);

}  // namespace quorvel
