#pragma once

// The state of a device window's menus, held in the core so that the desktop
// only draws it and tests read it.

#include <array>
#include <string>
#include <vector>

namespace quorvel {

struct MenuItem {
  std::string Caption;
  bool Checked = false;
  bool Enabled = true;
  bool Visible = true;
};

struct DeviceMenus {
  MenuItem mnuConnect{"&Connect"};
  MenuItem mnuConnection1{"Connection"};
  // Index 1..16; element 0 unused.
  std::array<MenuItem, 17> mnuCOM{};
  // The tool tips of the port items: the device path, or why the port failed.
  std::array<std::string, 17> mnuCOMToolTip{};
  // Index 1..3 (Master, Slave, Monitor); element 0 unused.
  std::array<MenuItem, 4> mnuMode{};
  MenuItem mnuAutoEnable{"Auto Requests &Enable", true};
  MenuItem mnuSettings{"Master &Settings"};
  // A Master's values whose last answer failed are drawn grey; unchecked
  // they look as they always did.
  MenuItem mnuGreyStale{"&Grey Stale Values", true};
  // A Master's or Monitor's values to a CSV file (checked while logging),
  // and the chart window that plots them.
  MenuItem mnuLogValues{"L&og values..."};
  MenuItem mnuTrend{"&Trend..."};
  // Index 1..2: the two user menus.
  std::array<MenuItem, 3> mnuUserMain{};
  // The user menus' items; element 0 is the hidden template.
  std::vector<MenuItem> mnuUser1{MenuItem{"", false, true, false}};
  std::vector<MenuItem> mnuUser2{MenuItem{"", false, true, false}};
};

}  // namespace quorvel
