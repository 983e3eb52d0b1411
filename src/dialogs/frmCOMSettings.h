#pragma once

// The COM settings dialog: the line settings of all 16 ports, edited in a
// working copy and applied together on OK. The desktop draws these controls;
// the rules live here.

#include <array>
#include <string>
#include <vector>

#include "device/DeviceHost.h"
#include "serial/PortEntry.h"

namespace quorvel {

struct PortSettings {
  bool ASCII = false;
  bool ASCII8bits = false;
  DCB dcb;
  LineTiming Timing = LineTiming::Classic;
  bool Echo = false;
};

class frmCOMSettings {
 public:
  static const std::array<const char*, 12> kBaudRates;
  static const std::array<const char*, 3> kParities;
  static const std::array<const char*, 2> kStopBits;

  explicit frmCOMSettings(DeviceHost& host) : host_(host) {}

  // Copies the port table, lists the ports, selects `com` and shows it.
  void ShowForm(int com);

  // The controls, as the user sees and sets them.
  std::vector<std::string> cmbCOM;  // " COM1" ...
  int cmbCOM_ListIndex = -1;
  // The device path of the selected port; any path may be typed. The list
  // offers the serial devices found when the dialog opened.
  std::string cmbPath;
  std::vector<std::string> cmbPath_List;
  bool chkAvailable = false;
  std::string cmbBaudRate;  // also takes typed text
  std::string cmbParity = kParities[0];
  std::string cmbStopBits = kStopBits[0];
  bool optRTU = true;
  bool optASCII = false;
  bool chkASCII8bits = false;
  bool chkASCII8bits_Enabled = false;
  bool chkDTR = false;
  bool chkRTSToggle = false;
  // The timing list holds the three choices in the order of their values.
  LineTiming cmbTiming = LineTiming::Classic;
  bool chkEcho = false;
  bool Visible = false;
  // A port mapped to a network address has no line of its own to set:
  // baud rate, parity, stop bits and the modem lines are left to the server.
  bool LineControls_Enabled() const;

  // Events. Any control but the port list stores the controls into the
  // working copy of the selected port.
  void cmbCOM_Click() { ShowPortSettings(); }
  void chkAvailable_Click() { FillPortList(); }
  void Control_Click() { ReadPortSettings(); }
  void cmdOK_Click();
  void cmdCancel_Click() { Visible = false; }
  // Enter (13) acts as OK, Escape (27) as Cancel.
  void Form_KeyDown(int key);

  void FillPortList();
  void ShowPortSettings();
  void ReadPortSettings();
  // The port the selected list item names; 0 when none is selected.
  int SelectedPort() const;
  const PortSettings& Working(int com) const { return working_.at(static_cast<std::size_t>(com)); }

 private:
  DeviceHost& host_;
  std::array<PortSettings, 17> working_{};
  // Kept apart from the line settings: OK hands changed paths to the frame,
  // which keeps them for good, and changes nothing else for them.
  std::array<std::string, 17> paths_{};
};

}  // namespace quorvel
