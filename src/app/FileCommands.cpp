#include "app/FileCommands.h"

#include <filesystem>
#include <system_error>

#include "app/RecentLists.h"
#include "app/Session.h"
#include "app/SessionPaths.h"

namespace quorvel {
namespace {

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The text after the last ".", as the file dialog hands it back.
std::string Extension(const std::string& file) {
  const auto dot = file.rfind('.');
  return dot == std::string::npos ? std::string() : file.substr(dot + 1);
}

}  // namespace

std::string CommandLineFile(std::string_view commandLine) {
  std::string name;
  for (const char c : commandLine) {
    if (c == '"') continue;
    name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

void OpenCommandLine(frmQuorvelMain& frame, std::string_view commandLine) {
  const std::string lowered = CommandLineFile(commandLine);
  const bool project = EndsWith(lowered, "qvc");
  if (!project && !EndsWith(lowered, "qvs")) return;
  std::string name = lowered;
  std::error_code ec;
  if (!std::filesystem::exists(lowered, ec)) {
    name.clear();
    for (const char c : commandLine) {
      if (c != '"') name += c;
    }
  }
  if (project) {
    frame.OpenProject(name);
  } else {
    LoadSession(frame, name);
  }
}

void OpenChosenFile(frmQuorvelMain& frame, const std::string& file) {
  const std::string extension = Extension(file);
  PublicVeriables& globals = frame.Globals();
  if (extension == "qvc") {
    if (frame.OpenProject(file)) globals.LastPath = GetDir(file);
  } else if (extension == "qvs") {
    if (LoadSession(frame, file)) {
      AddRecentSession(globals, file);
      globals.CurrentSession = file;
      globals.LastPath = GetDir(file);
    }
  }
}

bool SaveChosenSession(frmQuorvelMain& frame, const std::string& file) {
  if (!SaveSession(frame, file)) return false;
  PublicVeriables& globals = frame.Globals();
  AddRecentSession(globals, file);
  globals.CurrentSession = file;
  globals.LastPath = GetDir(file);
  return true;
}

void mnuRecentFile_Click(frmQuorvelMain& frame, int index) {
  const std::string entry = RecentEntry(frame.Globals().RecentFiles, index);
  if (!entry.empty()) frame.OpenProject(entry);
}

void mnuRecentSession_Click(frmQuorvelMain& frame, int index) {
  const std::string entry = RecentEntry(frame.Globals().RecentSessions, index);
  if (!entry.empty()) LoadSession(frame, entry);
}

bool MDIForm_QueryUnload(frmQuorvelMain& frame, const YesNoCancel& ask, const std::function<void()>& saveSessionMain) {
  if (frame.Devices().empty() || !frame.Globals().SessionChanged) return true;
  switch (ask(kSaveSessionPrompt, kSaveSessionTitle)) {
    case PromptAnswer::Yes:
      saveSessionMain();
      return true;
    case PromptAnswer::No:
      return true;
    case PromptAnswer::Cancel:
      break;
  }
  return false;
}

}  // namespace quorvel
