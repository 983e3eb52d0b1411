#include "app/Session.h"

#include <filesystem>
#include <system_error>

#include "app/SessionPaths.h"
#include "app/WriteNotation.h"
#include "platform/AtomicFile.h"
#include "platform/BoundedRead.h"
#include "project/ProjectLoader.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

void ApplyPorts(frmQuorvelMain& frame, const SessionFile& session, int ports) {
  for (int com = 1; com <= ports; ++com) {
    const SessionPort& saved = session.Ports[static_cast<std::size_t>(com - 1)];
    PortEntry& entry = frame.Port(com);
    // Only the line settings: whether the port is open, and its port object,
    // belong to the windows that use it. The byte size is not in the file.
    entry.ASCII = saved.ASCII;
    entry.ASCII8bits = saved.ASCII8bits;
    entry.dcb.BaudRate = saved.BaudRate;
    entry.Mode = saved.Mode;
    entry.dcb.Parity = saved.Parity;
    entry.dcb.Flags = saved.Flags;
    entry.dcb.StopBits = saved.StopBits;
    // A session without the timing block gives every port Classic timing
    // without echo, whatever the port had before: the session decides.
    entry.Timing = saved.Timing;
    entry.Echo = saved.Echo;
  }
}

void OpenWindow(frmQuorvelMain& frame, const std::string& sessionDir, const SessionWindow& saved) {
  frmQuorvel* window = frame.OpenProject(ResolveProjectPath(sessionDir, saved.ProjectFile));
  if (!window) return;
  window->SetMode(saved.Mode);
  window->SetID(static_cast<std::uint8_t>(saved.ID));
  if (saved.COM != 0) {
    // Windows of another mode on the port give it up (choosing the port they
    // hold releases it), so this window can take it.
    for (const auto& other : frame.Devices()) {
      if (other.get() != window && other->COM() == saved.COM && other->Mode() != saved.Mode) {
        other->SetCOM(other->COM());
      }
    }
  }
  window->SetCOM(saved.COM);
  window->Placement = {saved.Left, saved.Top, saved.Width, saved.Height};
  window->SetTimeout(saved.Timeout);
  window->SetPollingPeriod(saved.PollingPeriod);
  window->SetInterval(saved.Interval);
  window->SetAutoEnable(saved.AutoEnable);
  window->ShowCaption();
}

}  // namespace

SessionFile CaptureSession(const frmQuorvelMain& frame, const std::string& file) {
  SessionFile session;
  const PublicVeriables& globals = frame.Globals();
  for (int com = 1; com <= 16; ++com) {
    const PortEntry& entry = globals.Ports[static_cast<std::size_t>(com)];
    session.Ports[static_cast<std::size_t>(com - 1)] = {entry.ASCII,        entry.ASCII8bits, entry.dcb.BaudRate,
                                                        entry.Mode,         entry.dcb.Parity, entry.dcb.Flags,
                                                        entry.dcb.StopBits, entry.Timing,     entry.Echo};
  }
  session.Width = frame.Placement.Width;
  session.Height = frame.Placement.Height;
  for (const auto& window : frame.Devices()) {
    SessionWindow saved;
    saved.ProjectFile = StoredProjectPath(file, window->ProjectFile());
    saved.COM = window->COM();
    saved.ID = window->ID();
    saved.Mode = window->Mode();
    saved.Timeout = window->Timeout();
    saved.PollingPeriod = window->PollingPeriod();
    saved.Interval = window->Interval();
    saved.AutoEnable = window->AutoEnable();
    saved.Left = window->Placement.Left;
    saved.Top = window->Placement.Top;
    saved.Width = window->Placement.Width;
    saved.Height = window->Placement.Height;
    session.Windows.push_back(std::move(saved));
  }
  return session;
}

bool SaveSession(frmQuorvelMain& frame, const std::string& file, const CodePage& codePage) {
  std::string bytes;
  try {
    bytes = codePage.FromUtf8(FormatSession(CaptureSession(frame, file)));
  } catch (const CodePageError& error) {
    frame.MsgBox("Cannot write " + file + ": " + error.what());
    return false;
  }
  std::string error;
  if (!platform::WriteFileAtomically(file, bytes, error)) {
    frame.MsgBox(error);
    return false;
  }
  frame.Globals().SessionChanged = false;
  // A quick poll's project lives in a folder of this run's own, which the
  // system empties sooner or later: the session would open nothing there.
  for (const auto& window : frame.Devices()) {
    const QuickPollSource* poll = frame.QuickPollOf(*window);
    if (poll && window->ProjectFile() == poll->file)
      frame.MsgBox(file + " names " + poll->file +
                   ", a quick poll's temporary project: save the window with Save project as... and the session again "
                   "to keep the poll for another time.");
  }
  return true;
}

bool SaveSession(frmQuorvelMain& frame, const std::string& file) {
  return SaveSession(frame, file, frame.ProjectCodePage());
}

bool LoadSession(frmQuorvelMain& frame, const std::string& file) {
  return LoadSession(frame, file, frame.ProjectCodePage());
}

bool LoadSession(frmQuorvelMain& frame, const std::string& file, const CodePage& codePage) {
  std::error_code ec;
  const bool exists = fs::exists(file, ec);
  if (ec) {
    frame.MsgBox(ec.message());
    return false;
  }
  if (!exists) {
    frame.MsgBox(kPathNotFound + file);
    return false;
  }
  std::string bytes, error;
  if (!platform::ReadWholeFile(file, platform::kSessionFileLimit, bytes, error)) {
    frame.MsgBox(error);
    return false;
  }
  // A damaged file opens what comes before the damage, as reading it value
  // by value into the program would; the damage is then reported.
  const SessionReading reading = ReadSession(codePage.ToUtf8(bytes));
  const SessionFile& session = reading.session;
  for (const WriteNotationError& odd : reading.outOfRange) frame.MsgBox(file + ", " + odd.what());
  ApplyPorts(frame, session, reading.ports);
  if (reading.size) {
    frame.Placement.Width = session.Width;
    frame.Placement.Height = session.Height;
  }
  // Relative project paths resolve against the session's own directory; the
  // process's current directory is left alone.
  const fs::path cwd = fs::current_path(ec);
  const std::string sessionDir =
      (fs::path(file).is_absolute() ? fs::path(file) : cwd / file).lexically_normal().parent_path().string();
  for (const SessionWindow& saved : session.Windows) OpenWindow(frame, sessionDir, saved);
  frame.SetMenus();
  if (reading.failure) {
    frame.MsgBox(file + ", " + reading.failure->what());
    return false;
  }
  return true;
}

}  // namespace quorvel
