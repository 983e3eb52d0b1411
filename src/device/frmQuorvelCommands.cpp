// Commands of a device window's own menu that act on this window alone.

#include "device/frmQuorvel.h"

namespace quorvel {

void frmQuorvel::mnuConnect_Click() {
  SetConnected(!connected_);
  host_.OpenCOM();
  ShowCaption();
}

void frmQuorvel::mnuCOM_Click(int index) {
  if (index < 1 || index > 16) return;
  SetCOM(static_cast<std::int16_t>(index));
  host_.MarkSessionChanged();
}

void frmQuorvel::mnuMode_Click(int index) {
  if (index < kMaster || index > kMonitor) return;
  if (index != mode_) host_.MarkSessionChanged();
  SetMode(static_cast<std::int16_t>(index));
}

}  // namespace quorvel
