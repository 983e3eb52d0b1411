#pragma once

// A quick poll opened as a device window: the poll's project is written to a
// file of its own under the temporary directory and opened like any other
// project, as a connected Master on the chosen port and slave id. The file
// is left there (sessions and the recent list may name it) until the user
// saves it somewhere with Save Project As.
//
// The window keeps the poll's register list: a value's type, word order or
// display picture changed from its menu changes the list, the project is
// made again from it into the poll's own file (never into a file the user
// saved: that changes only by saving again) and the window loads it in
// place, connected as it was.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// What value box `box` of a quick poll window shows, for its menu; nullopt
// for a window that is no quick poll or a box that shows no value.
struct QuickPollValue {
  std::string type;  // as TypeNameOf names it
  bool swapped = false;
  std::string format;              // the display picture in use (the type's default when none is set)
  std::vector<std::string> types;  // the types the value's table takes
};
std::optional<QuickPollValue> QuickPollValueOf(frmQuorvelMain& frame, const frmQuorvel& window, int box);

// Shows the value of box `box` as `type`, or with the display picture
// `format`, and reloads the window. False with `error` set when the change
// is refused; the window is then as it was.
bool RetypeQuickPollValue(frmQuorvelMain& frame, frmQuorvel& window, int box, std::string_view type, bool swapped,
                          std::string& error);
bool ReformatQuickPollValue(frmQuorvelMain& frame, frmQuorvel& window, int box, const std::string& format,
                            std::string& error);

// Writes the window's project to `path`, which the window then names as its
// project (sessions saved from now on refer to it). False with `error` set
// when it cannot be written.
bool SaveProjectAs(frmQuorvel& window, const std::string& path, std::string& error);

}  // namespace quorvel
