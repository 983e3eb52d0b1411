// Device window state: the property setters and what they do to the menus and
// to the shared port table.

#include "device/frmQuorvel.h"

#include "serial/PortEntry.h"

namespace quorvel {

std::string ModeName(int mode) {
  switch (mode) {
    case kMaster:
      return "Master";
    case kSlave:
      return "Slave";
    case kMonitor:
      return "Monitor";
    default:
      return "";
  }
}

frmQuorvel::frmQuorvel(DeviceHost& host, const CodePage& codePage)
    : host_(host), codePage_(codePage), panel_(std::make_unique<Panel>()) {
  for (int i = 1; i <= 16; ++i) menus.mnuCOM[i].Caption = "COM" + std::to_string(i);
  for (int m = 1; m <= 3; ++m) menus.mnuMode[m].Caption = ModeName(m);
  menus.mnuMode[kMaster].Checked = true;
  for (int i = 1; i <= 2; ++i) menus.mnuUserMain[i].Visible = false;
}

void frmQuorvel::MoveProjectFile(const std::string& path) {
  projectFile_ = path;
  const std::string name = path.substr(path.find_last_of("/\\") + 1);
  projectTitle_ = name.substr(0, name.rfind('.'));
  ShowCaption();
}

bool frmQuorvel::SetProjectFile(const std::string& path) {
  projectFile_ = path;
  ProjectLoad load = LoadProject(path, *panel_, codePage_);
  for (const std::string& message : load.messages) host_.MsgBox(message);
  if (!load.ok) {
    projectFile_.clear();
    return false;
  }
  // The caption names the project without its extension.
  projectTitle_ = load.title.substr(0, load.title.rfind('.'));
  const auto& file = load.file;
  // The header's window settings: the polling period and the window's size
  // (the size is the desktop's business); the window field is the long data type.
  pollingPeriod_ = file.Setting1;
  longDataType_ = file.WindowField;
  UserMenuCaption[1] = codePage_.ToUtf8(file.MenuCaption1);
  UserMenuCaption[2] = codePage_.ToUtf8(file.MenuCaption2);
  exeptions_ = file.Exeptions;
  directWrite_ = file.DirectWrite != 0;
  timeout_ = file.Timeout;
  interval_ = file.Interval;
  HoldingElements = std::move(load.HoldingElements);
  CoilElements = std::move(load.CoilElements);
  InputRegElements = std::move(load.InputRegElements);
  DiscreteElements = std::move(load.DiscreteElements);
  PictureElements = std::move(load.PictureElements);
  Requests = std::move(load.Requests);
  // The value labels keep the address captions the elements gave them until
  // the first value or a change of mode.
  ComputeAddressRanges();
  SetupUserMenu();
  return true;
}

bool frmQuorvel::ReloadProject(const std::string& path) {
  {
    // Tried on a panel of its own first, so that a failure changes nothing.
    Panel trial;
    const ProjectLoad load = LoadProject(path, trial, codePage_);
    if (!load.ok) {
      for (const std::string& message : load.messages) host_.MsgBox(message);
      return false;
    }
  }
  const bool wasConnected = connected_;
  const std::int32_t connectedSince = connectTime_;
  // Off and on again without the port being told: it stays open, and the
  // new requests are scheduled as on any connect.
  SetConnected(false);
  tbInput.Visible = false;
  EditElement.reset();
  stale_.clear();
  unsentReported_.clear();
  CurrentRequest.reset();
  // LastRequest stays: an answer on its way still finds what it asked for.
  for (ElementCollection* elements :
       {&HoldingElements, &CoilElements, &InputRegElements, &DiscreteElements, &PictureElements}) {
    elements->clear();
  }
  Requests.clear();
  panel_->Clear();
  const bool loaded = SetProjectFile(path);
  if (wasConnected) {
    SetConnected(true);
    connectTime_ = connectedSince;
  }
  ShowCaption();
  return loaded;
}

void frmQuorvel::UpdateModeMenus() {
  // The mode cannot change while the window takes part in traffic on a port.
  const bool locked = com_ > 0 && connected_;
  for (int m = 1; m <= 3; ++m) menus.mnuMode[m].Enabled = !locked;
}

void frmQuorvel::SetConnected(bool v) {
  if (v && !connected_) {
    menus.mnuConnect.Caption = "Dis&connect";
    connected_ = true;
    if (com_ != 0) {
      host_.Port(com_).Connections += 1;
      connectTime_ = host_.GetTickCount();
    }
    if (mode_ == kMaster) {
      nextTime_ = kNever;
      for (const auto& request : Requests) request->SetNextTime(request->Control() == 0 ? 0 : kNever);
      CurrentRequest.reset();
      for (const auto& request : Requests) {
        if (request->Control() == 0) {
          CurrentRequest = request;
          break;
        }
      }
      if (autoEnable_) nextTime_ = 0;
      if (!PendingRequests.empty()) nextTime_ = kAtOnce;
    }
  } else if (!v && connected_) {
    menus.mnuConnect.Caption = "&Connect";
    connected_ = false;
    if (com_ != 0) host_.Port(com_).Connections -= 1;
  }
  UpdateModeMenus();
}

void frmQuorvel::SetAutoEnable(bool v) {
  autoEnable_ = v;
  menus.mnuAutoEnable.Checked = v;
}

void frmQuorvel::SetCOM(std::int16_t n) {
  const std::int16_t old = com_;
  if (old != 0) {
    PortEntry& entry = host_.Port(old);
    menus.mnuCOM[old].Checked = false;
    entry.Users -= 1;
    if (entry.Users == 0) entry.Mode = 0;
    if (connected_) entry.Connections -= 1;
  }
  com_ = 0;
  // Choosing the port already held releases it.
  if (n != old && n >= 1 && n <= 16) {
    PortEntry& entry = host_.Port(n);
    if (entry.Mode == 0 || entry.Mode == mode_) {
      menus.mnuCOM[n].Checked = true;
      com_ = n;
      entry.Users += 1;
      entry.Mode = mode_;
      if (connected_) {
        entry.Connections += 1;
        connectTime_ = host_.GetTickCount();
      }
    }
  }
  UpdateModeMenus();
}

void frmQuorvel::SetMode(std::int16_t m) {
  if (m != mode_) {
    if (mode_ >= 1 && mode_ <= 3) menus.mnuMode[mode_].Checked = false;
    mode_ = m;
    if (m >= 1 && m <= 3) menus.mnuMode[m].Checked = true;
    menus.mnuAutoEnable.Visible = m == kMaster || m == kSlave;
    menus.mnuGreyStale.Visible = m == kMaster;
    // A Slave's values are its own: there is nothing heard to log or plot.
    menus.mnuLogValues.Visible = m == kMaster || m == kMonitor;
    menus.mnuTrend.Visible = menus.mnuLogValues.Visible;
    if (m == kSlave) StopValueLog();
    if (m == kMaster) menus.mnuAutoEnable.Caption = "Auto Requests &Enable";
    if (m == kSlave) menus.mnuAutoEnable.Caption = "Emulation &Enable";
    menus.mnuSettings.Caption = ModeName(m) + " &Settings";
    ResetPanel();
    if (com_ != 0) {
      PortEntry& entry = host_.Port(com_);
      entry.Users -= 1;
      if (entry.Users == 0) entry.Mode = 0;
      if (entry.Mode != 0) {
        // Other windows still hold the port in the old mode: this one loses it.
        menus.mnuCOM[com_].Checked = false;
        menus.mnuCOM[com_].Enabled = false;
        com_ = 0;
      } else {
        entry.Mode = m;
        entry.Users = 1;
      }
    }
    host_.SetMenus();
    host_.OpenCOM();
    ShowCaption();
  }
  if (mode_ != kMaster) {
    menus.mnuUserMain[1].Visible = false;
    menus.mnuUserMain[2].Visible = false;
  } else {
    menus.mnuUserMain[1].Visible = menus.mnuUser1.size() >= 2;
    menus.mnuUserMain[2].Visible = menus.mnuUser2.size() >= 2;
  }
}

void frmQuorvel::Form_Unload() {
  if (com_ != 0) {
    PortEntry& entry = host_.Port(com_);
    entry.Users -= 1;
    if (entry.Users == 0) entry.Mode = 0;
    if (connected_) {
      entry.Connections -= 1;
      connected_ = false;
      com_ = 0;
      host_.OpenCOM();
    }
    com_ = 0;
  }
  host_.SetMenus();
}

}  // namespace quorvel
