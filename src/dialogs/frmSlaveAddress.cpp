#include "dialogs/frmSlaveAddress.h"

#include <algorithm>
#include <cmath>

#include "convert/Val.h"

namespace quorvel {
namespace {

// Basic's rounding to a whole number: halves go to the even neighbour.
std::int32_t RoundToInt32(double v) {
  v = std::clamp(std::nearbyint(v), -2147483648.0, 2147483647.0);
  return static_cast<std::int32_t>(v);
}

}  // namespace

void frmSlaveAddress::ID(frmQuorvel& window) {
  window_ = &window;
  tbID = std::to_string(window.ID());
  tbTimeout = std::to_string(window.Timeout());
  tbInterval = window.Interval() < 1 ? "Standard" : std::to_string(window.Interval());
  if (window.Mode() == kMaster) {
    tbTimeout_Enabled = true;
    tbTimeout_ButtonFace = false;
    Caption = "Master Settings";
  } else if (window.Mode() == kSlave) {
    tbTimeout_Enabled = false;
    tbTimeout_ButtonFace = true;
    Caption = "Slave Settings";
  }
  Visible = true;
}

void frmSlaveAddress::Form_Activate() {
  tbID_SelStart = 0;
  tbID_SelLength = 100;
}

void frmSlaveAddress::cmdOK_Click() {
  if (!window_) return;
  frmQuorvel& window = *window_;
  const double id = Val(tbID);
  if (id != window.ID()) {
    if (id > 247 || id < 1) {
      window.host().MsgBox(kBadID);
      return;
    }
    window.SetID(static_cast<std::uint8_t>(std::nearbyint(id)));
  }
  const double timeout = Val(tbTimeout);
  if (timeout != window.Timeout()) {
    // The address alone does not count as a session change; the time-out does.
    window.host().MarkSessionChanged();
    window.SetTimeout(RoundToInt32(std::clamp(timeout, 0.0, 30000.0)));
  }
  // Stored even when unchanged; "Standard" reads as 0.
  window.SetInterval(RoundToInt32(std::max(Val(tbInterval), 0.0)));
  window.ShowCaption();
  cmdCancel_Click();
}

void frmSlaveAddress::cmdCancel_Click() {
  window_ = nullptr;
  Visible = false;
}

void frmSlaveAddress::Form_KeyDown(int key) {
  if (key == 13) cmdOK_Click();
  if (key == 27) cmdCancel_Click();
}

}  // namespace quorvel
