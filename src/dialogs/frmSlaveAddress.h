#pragma once

// The master/slave settings dialog: slave address, response time-out and
// character interval of one device window.

#include <string>

#include "device/frmQuorvel.h"

namespace quorvel {

class frmSlaveAddress {
 public:
  static constexpr const char* kBadID = "ID must be from 1 to 247!";

  // Hands the dialog its window and fills the fields from it.
  void ID(frmQuorvel& window);

  // The fields and the dialog's look.
  std::string tbID;
  std::string tbTimeout;
  std::string tbInterval;
  bool tbTimeout_Enabled = true;
  // The time-out field's background: the system window colour, or the
  // button face while it cannot be edited.
  bool tbTimeout_ButtonFace = false;
  std::string Caption = "Master Settings";
  bool Visible = false;
  // Selection of the address field once the dialog is active.
  int tbID_SelStart = 0;
  int tbID_SelLength = 0;

  void Form_Activate();
  void Form_Deactivate() { window_ = nullptr; }
  // Applies the fields; a bad address leaves everything as it was and the
  // dialog open.
  void cmdOK_Click();
  void cmdCancel_Click();
  // Enter (13) acts as OK, Escape (27) as Cancel.
  void Form_KeyDown(int key);

  frmQuorvel* Window() const { return window_; }

 private:
  frmQuorvel* window_ = nullptr;
};

}  // namespace quorvel
