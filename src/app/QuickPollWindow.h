#pragma once

// A quick poll opened as a device window: the poll's project is written to a
// file of its own under the temporary directory and opened like any other
// project, as a connected Master on the chosen port and slave id. The file
// is left there (sessions and the recent list may name it) until the user
// saves it somewhere with Save Project As.

#include <cstdint>
#include <string>

#include "app/frmQuorvelMain.h"
#include "project/QuickPoll.h"

namespace quorvel {

struct QuickPollTarget {
  QuickPoll poll;
  int slaveId = 1;  // 1..247
  int com = 1;      // 1..16
};

// The new window, connected; nullptr with `error` set when the poll is not
// valid, the project cannot be written, or the port is held by windows of
// another mode. A port that does not open is reported as any connect does.
frmQuorvel* OpenQuickPoll(frmQuorvelMain& frame, const QuickPollTarget& target, std::string& error);

// Writes the window's project to `path`, which the window then names as its
// project (sessions saved from now on refer to it). False with `error` set
// when it cannot be written.
bool SaveProjectAs(frmQuorvel& window, const std::string& path, std::string& error);

}  // namespace quorvel
