// Commands of a device window's own menu.

#include "device/frmQuorvel.h"

#include <algorithm>

namespace quorvel {

void frmQuorvel::mnuConnect_Click() {
  SetConnected(!connected_);
  host_.OpenCOM();
  if (connected_) host_.ExplainPort(com_);
  ShowCaption();
}

void frmQuorvel::ExplainWindowsPorts() {
  std::vector<int> explained;
  for (frmQuorvel* window : host_.DeviceWindows()) {
    const int com = window->COM();
    if (com == 0 || std::find(explained.begin(), explained.end(), com) != explained.end()) continue;
    explained.push_back(com);
    host_.ExplainPort(com);
  }
}

void frmQuorvel::mnuFindCOM_Click() {
  host_.FindPorts();
  ExplainWindowsPorts();
}

void frmQuorvel::ConnectAll(bool connected) {
  // All windows switch first, so that a port shared by several of them is
  // opened or closed once.
  const std::vector<frmQuorvel*> windows = host_.DeviceWindows();
  for (frmQuorvel* window : windows) window->SetConnected(connected);
  host_.OpenCOM();
  if (connected) ExplainWindowsPorts();
  for (frmQuorvel* window : windows) window->ShowCaption();
}

void frmQuorvel::mnuCOM_Click(int index) {
  if (index < 1 || index > 16) return;
  SetCOM(static_cast<std::int16_t>(index));
  host_.MarkSessionChanged();
  if (com_ == index) host_.ExplainPort(index);
}

void frmQuorvel::mnuMode_Click(int index) {
  if (index < kMaster || index > kMonitor) return;
  if (index != mode_) host_.MarkSessionChanged();
  SetMode(static_cast<std::int16_t>(index));
}

void frmQuorvel::mnuAutoEnable_Click() {
  host_.MarkSessionChanged();
  // Rescheduled in every mode, so that a window that turns Master later
  // polls only when its requests are enabled.
  SetAutoEnable(!autoEnable_);
  ScheduleAll(autoEnable_);
}

void frmQuorvel::mnuOpen_Click() {
  host_.MarkSessionChanged();
  host_.RunFrameCommand(FrameCommand::Open, 0);
}

void frmQuorvel::mnuRecentFile_Click(int index) {
  host_.MarkSessionChanged();
  host_.RunFrameCommand(FrameCommand::RecentFile, index);
}

}  // namespace quorvel
