#pragma once

// Session files: the open device windows with their port, address, mode and
// timing, and the line settings of all 16 ports, saved as text and opened
// again. Project paths are stored relative to the session file where they
// can be, so a folder of projects and sessions can move as a whole.

#include <string>

#include "app/SessionFile.h"
#include "app/frmQuorvelMain.h"
#include "project/CodePage.h"

namespace quorvel {

// Writes the frame's session to `file` in the code page of the project
// texts. The old file stays as it was until the new one is complete. True
// when written (the session then counts as unchanged); otherwise the reason
// goes to the frame's message box.
bool SaveSession(frmQuorvelMain& frame, const std::string& file, const CodePage& codePage);
// In the frame's code page.
bool SaveSession(frmQuorvelMain& frame, const std::string& file);

// Opens the session in `file`: the ports' line settings, the frame's size
// and one device window per block, opened as if chosen by the user. A
// project that no longer loads is skipped and the others open. A missing
// file is reported in a message box, nothing changes and false comes back. A
// damaged one applies its complete port blocks and opens its complete window
// blocks, then reports the first damage with its line and returns false.
bool LoadSession(frmQuorvelMain& frame, const std::string& file, const CodePage& codePage);
bool LoadSession(frmQuorvelMain& frame, const std::string& file);

// The session as it would be written to `file`, project paths included.
SessionFile CaptureSession(const frmQuorvelMain& frame, const std::string& file);

}  // namespace quorvel
