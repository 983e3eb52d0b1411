#pragma once

// What a device window needs of the main frame that holds it.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "project/ProjectLoader.h"

namespace quorvel {

struct PortEntry;

// Commands of a device window's menu that belong to the main frame and are
// passed on to it unchanged.
enum class FrameCommand { Open, RecentFile, RecentSession, SaveSession, QuickStart, OnTheWeb, About };

// How the frame arranges its child windows, as the platform numbers it.
// Tile to Fit is this program's own: the windows at their panels' sizes.
enum class Arrangement { Cascade = 0, TileHorizontally = 1, TileVertically = 2, TileToFit = 3 };

class frmQuorvel;
class ReqProp;

class DeviceHost {
 public:
  virtual ~DeviceHost() = default;
  // Record `com` (1..16) of the port table.
  virtual PortEntry& Port(int com) = 0;
  // Opens and closes ports to match the table's connection counts.
  virtual void OpenCOM() = 0;
  // Milliseconds of the system tick counter, signed 32-bit.
  virtual std::int32_t GetTickCount() = 0;
  // A message box with an OK button (file and port-open failures).
  virtual void MsgBox(const std::string& text) = 0;
  // A text for the message window (outcomes of requests the user started).
  virtual void ShowMsg(const std::string& text) = 0;
  // Rebuilds every window's per-mode menus after a port or mode change.
  virtual void SetMenus() = 0;
  // A window setting that a session file records has changed.
  virtual void MarkSessionChanged() {}
  // Opens the user write dialog for `request` over the window's `elements`;
  // the dialog queues the filled request itself. Without a dialog nothing is sent.
  virtual void ShowUserWrite(frmQuorvel& /*window*/, const ElementCollection& /*elements*/,
                             std::shared_ptr<ReqProp> /*request*/) {}
  // Every open device window, in the order they were opened.
  virtual std::vector<frmQuorvel*> DeviceWindows() { return {}; }
  // Probes serial ports 1..16 and refreshes every window's port items.
  virtual void FindPorts() {}
  // Tells the user, in the message window, why port `com` is not available,
  // unless opening it has just said so; nothing for a port that is.
  virtual void ExplainPort(int /*com*/) {}
  // The device path port `com` stands for, and a new one for its next open.
  virtual std::string PortPath(int /*com*/) const { return {}; }
  virtual void SetPortPath(int /*com*/, const std::string& /*path*/) {}
  // The COM settings dialog preset to port `com`.
  virtual void ShowCOMSettings(int /*com*/) {}
  // The master/slave settings dialog for `window`.
  virtual void ShowSettings(frmQuorvel& /*window*/) {}
  virtual void Arrange(Arrangement /*how*/) {}
  // Asks where to log `window`'s values and starts the log
  // (frmQuorvel::StartValueLog); without a dialog nothing is logged.
  virtual void ChooseValueLog(frmQuorvel& /*window*/) {}
  // The trend chart of `window`, opened or brought to the front.
  virtual void OpenTrend(frmQuorvel& /*window*/) {}
  // Puts `text` on the clipboard.
  virtual void CopyText(const std::string& /*text*/) {}
  // `index` is the 1-based entry of a recent list, 0 otherwise.
  virtual void RunFrameCommand(FrameCommand /*command*/, int /*index*/) {}
};

}  // namespace quorvel
