#pragma once

// What a device window needs of the main frame that holds it.

#include <cstdint>
#include <memory>
#include <string>

#include "project/ProjectLoader.h"

namespace quorvel {

struct PortEntry;
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
};

}  // namespace quorvel
