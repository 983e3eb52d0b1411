#include "app/QuickPollWindow.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

#include "platform/AtomicFile.h"
#include "platform/BoundedRead.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

// A name that says what is polled, as the window's caption shows it; the
// folder is this run's own, so two programs never write the same file.
std::string PollFileName(const QuickPollTarget& target, std::string& error) {
  static const char* const kTables[] = {"C", "DI", "HR", "IR"};
  std::error_code ec;
  const fs::path dir = fs::temp_directory_path(ec) / ("quorvel-polls-" + std::to_string(::getpid()));
  if (!ec) fs::create_directories(dir, ec);
  if (ec) {
    error = "No folder for the poll's project: " + ec.message();
    return {};
  }
  const QuickPoll& poll = target.poll;
  const std::string stem = "Poll ID" + std::to_string(target.slaveId) + " " + kTables[poll.function - 1] +
                           std::to_string(poll.start) + "-" + std::to_string(poll.start + poll.quantity - 1);
  fs::path file = dir / (stem + ".qvc");
  for (int n = 2; fs::exists(file, ec); ++n) file = dir / (stem + " (" + std::to_string(n) + ").qvc");
  return file.string();
}

}  // namespace

frmQuorvel* OpenQuickPoll(frmQuorvelMain& frame, const QuickPollTarget& target, std::string& error) {
  if (target.slaveId < 1 || target.slaveId > 247) {
    error = "The slave id is 1 to 247.";
    return nullptr;
  }
  if (target.com < 1 || target.com > 16) {
    error = "The port is COM1 to COM16.";
    return nullptr;
  }
  const PortEntry& entry = frame.Port(target.com);
  if (entry.Mode != 0 && entry.Mode != kMaster) {
    error = "COM" + std::to_string(target.com) + " is used by " + ModeName(entry.Mode) +
            " windows: a poll needs it as a Master.";
    return nullptr;
  }
  std::vector<std::uint8_t> bytes;
  try {
    bytes = WriteProject(BuildQuickPollProject(target.poll, frame.ProjectCodePage()));
  } catch (const std::exception& failure) {
    error = failure.what();
    return nullptr;
  }
  const std::string file = PollFileName(target, error);
  if (file.empty() || !SaveProjectBytes(file, bytes, error)) return nullptr;
  frmQuorvel* window = frame.OpenProject(file);
  if (!window) {
    error = "The poll's project did not open: " + file;
    return nullptr;
  }
  window->SetMode(kMaster);
  window->SetID(static_cast<std::uint8_t>(target.slaveId));
  window->SetCOM(static_cast<std::int16_t>(target.com));
  frame.MarkSessionChanged();
  window->mnuConnect_Click();
  return window;
}

bool SaveProjectAs(frmQuorvel& window, const std::string& path, std::string& error) {
  std::string bytes;
  if (!platform::ReadWholeFile(window.ProjectFile(), platform::kProjectFileLimit, bytes, error)) return false;
  if (!platform::WriteFileAtomically(path, bytes, error)) return false;
  window.MoveProjectFile(path);
  window.host().MarkSessionChanged();
  return true;
}

}  // namespace quorvel
