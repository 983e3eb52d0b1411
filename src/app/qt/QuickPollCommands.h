#pragma once

// The menu commands of quick polls: File > New poll, File > Save Project As
// and Connection > Find devices. Each runs its dialog over the frame.

#include <functional>
#include <memory>
#include <optional>

#include <QMenu>
#include <QString>

#include "app/QuickPollWindow.h"

namespace quorvel {

class MainWindow;

// Asks what to poll (starting from `preset`) and opens it, connected.
void NewPollCommand(MainWindow& main, const QuickPollTarget& preset = {});

// Asks where (`choose`: a file dialog unless given; empty for none) and
// writes the window's project there.
void SaveProjectAsCommand(MainWindow& main, frmQuorvel& window, const std::function<QString()>& choose = {});

// The menu of value box `box` of a quick poll window: the types the value's
// table takes (the one shown checked), "Swapped" for values of two or four
// registers and "Format..." (asked with `ask`, an input dialog unless
// given; nothing for none). Each changes the value at once; a change
// refused is said in a message box. nullptr for any other window.
std::unique_ptr<QMenu> ValueMenu(MainWindow& main, frmQuorvel& window, int box,
                                 const std::function<std::optional<QString>(const QString&)>& ask = {});

// Scans port `com` (the user may pick another) and offers a poll of the
// device chosen: holding registers from 0, ten of them.
void FindDevicesCommand(MainWindow& main, int com);

}  // namespace quorvel
