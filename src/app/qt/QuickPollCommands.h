#pragma once

// The menu commands of quick polls: File > New poll, File > Save Project As
// and Connection > Find devices. Each runs its dialog over the frame.

#include <functional>

#include <QString>

#include "app/QuickPollWindow.h"

namespace quorvel {

class MainWindow;

// Asks what to poll (starting from `preset`) and opens it, connected.
void NewPollCommand(MainWindow& main, const QuickPollTarget& preset = {});

// Asks where (`choose`: a file dialog unless given; empty for none) and
// writes the window's project there.
void SaveProjectAsCommand(MainWindow& main, frmQuorvel& window, const std::function<QString()>& choose = {});

// Scans port `com` (the user may pick another) and offers a poll of the
// device chosen: holding registers from 0, ten of them.
void FindDevicesCommand(MainWindow& main, int com);

}  // namespace quorvel
