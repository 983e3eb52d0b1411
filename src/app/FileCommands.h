#pragma once

// The frame's file commands once a name is known: the file named on the
// command line, the file chosen in the Open and Save Session dialogs, the
// recent-list entries, and the question on exit.

#include <functional>
#include <string>
#include <string_view>

#include "app/frmQuorvelMain.h"
#include "project/CodePage.h"

namespace quorvel {

// The command line as the program reads it: every letter lowered and every
// double quote dropped, nothing else changed.
std::string CommandLineFile(std::string_view commandLine);

// Opens the file named on the command line: a name ending in "qvc" as a
// project, one ending in "qvs" as a session; any other is ignored. The lowered
// name is opened when such a file exists; on a file system where letter case
// matters the name as given (quotes dropped) is opened otherwise.
void OpenCommandLine(frmQuorvelMain& frame, std::string_view commandLine);

// Open, after the dialog: by the name's extension (letter case counts), a
// project or a session. A project that opens, or a session that loads,
// makes its directory the last one used; a session also heads the recent
// list and becomes the current session.
void OpenChosenFile(frmQuorvelMain& frame, const std::string& file);

// Save Session, after the dialog: true when written, which puts it at the
// head of the recent list and makes it the current session and its
// directory the last one used.
bool SaveChosenSession(frmQuorvelMain& frame, const std::string& file);

// Recent entry i (1-based), when the list has it; neither moves it in its list.
void mnuRecentFile_Click(frmQuorvelMain& frame, int index);
void mnuRecentSession_Click(frmQuorvelMain& frame, int index);

enum class PromptAnswer { Yes, No, Cancel };
// A message box with Yes, No and Cancel buttons.
using YesNoCancel = std::function<PromptAnswer(const std::string& text, const std::string& title)>;

inline constexpr const char* kSaveSessionPrompt = "Save current session?";
inline constexpr const char* kSaveSessionTitle = "Draventa";

// Whether the frame may close. With device windows open and the session
// changed it asks; Yes saves through `saveSessionMain` (whatever comes of
// it) and closes, No closes, Cancel keeps the frame open.
bool MDIForm_QueryUnload(frmQuorvelMain& frame, const YesNoCancel& ask, const std::function<void()>& saveSessionMain);

}  // namespace quorvel
