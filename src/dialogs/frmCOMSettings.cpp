#include "dialogs/frmCOMSettings.h"

#include <cmath>
#include <limits>

#include "convert/Val.h"
#include "device/frmQuorvel.h"
#include "platform/NetAddress.h"
#include "platform/SerialDevices.h"
#include "serial/clsCOM.h"

namespace quorvel {

const std::array<const char*, 12> frmCOMSettings::kBaudRates = {
    " 300", " 600", " 1200", " 2400", " 4800", " 9600", " 14400", " 19200", " 38400", " 56000", " 57600", " 115200"};
const std::array<const char*, 3> frmCOMSettings::kParities = {" None", " Odd", " Even"};
const std::array<const char*, 2> frmCOMSettings::kStopBits = {" 1 stop bit", " 2 stop bits"};

bool frmCOMSettings::LineControls_Enabled() const { return !platform::IsNetworkPath(cmbPath); }

void frmCOMSettings::ShowForm(int com) {
  for (int n = 1; n <= 16; ++n) {
    const PortEntry& entry = host_.Port(n);
    working_[static_cast<std::size_t>(n)] =
        PortSettings{entry.ASCII, entry.ASCII8bits, entry.dcb, entry.Timing, entry.Echo};
    paths_[static_cast<std::size_t>(n)] = host_.PortPath(n);
  }
  cmbPath_List = platform::ListSerialDevices();
  FillPortList();
  const std::string wanted = " COM" + std::to_string(com);
  for (std::size_t i = 0; i < cmbCOM.size(); ++i)
    if (cmbCOM[i] == wanted) cmbCOM_ListIndex = static_cast<int>(i);
  ShowPortSettings();
  Visible = true;
}

void frmCOMSettings::FillPortList() {
  const std::string remembered = cmbCOM_ListIndex >= 0 && static_cast<std::size_t>(cmbCOM_ListIndex) < cmbCOM.size()
                                     ? cmbCOM[cmbCOM_ListIndex]
                                     : "";
  cmbCOM.clear();
  for (int n = 1; n <= 16; ++n)
    if (!chkAvailable || host_.Port(n).State != PortEntry::kNotAvailable) cmbCOM.push_back(" COM" + std::to_string(n));
  cmbCOM_ListIndex = cmbCOM.empty() ? -1 : 0;
  for (std::size_t i = 0; i < cmbCOM.size(); ++i)
    if (cmbCOM[i] == remembered) cmbCOM_ListIndex = static_cast<int>(i);
}

int frmCOMSettings::SelectedPort() const {
  if (cmbCOM_ListIndex < 0 || static_cast<std::size_t>(cmbCOM_ListIndex) >= cmbCOM.size()) return 0;
  const double n = Val(std::string_view(cmbCOM[cmbCOM_ListIndex]).substr(4));
  return n >= 1 && n <= 16 ? static_cast<int>(n) : 0;
}

void frmCOMSettings::ShowPortSettings() {
  const int com = SelectedPort();
  if (com == 0) return;
  const PortSettings& port = working_[static_cast<std::size_t>(com)];
  optASCII = port.ASCII;
  optRTU = !port.ASCII;
  chkASCII8bits_Enabled = port.ASCII;
  chkASCII8bits = port.ASCII8bits;
  cmbBaudRate = " " + std::to_string(port.dcb.BaudRate);
  cmbStopBits = port.dcb.StopBits != 0 ? kStopBits[1] : kStopBits[0];
  cmbParity = port.dcb.Parity == 1 ? kParities[1] : port.dcb.Parity == 2 ? kParities[2] : kParities[0];
  chkDTR = (port.dcb.Flags & 16) != 0;
  chkRTSToggle = (port.dcb.Flags & DCB::kRtsControlMask) != 0;
  cmbTiming = port.Timing;
  chkEcho = port.Echo;
  cmbPath = paths_[static_cast<std::size_t>(com)];
}

void frmCOMSettings::ReadPortSettings() {
  const int com = SelectedPort();
  if (com == 0) return;
  PortSettings& port = working_[static_cast<std::size_t>(com)];
  // A typed rate is taken as it reads, unchecked; only what a DCB can hold.
  const double baud = std::nearbyint(Val(cmbBaudRate));
  port.dcb.BaudRate = baud <= 0 ? 0
                      : baud >= static_cast<double>(std::numeric_limits<std::uint32_t>::max())
                          ? std::numeric_limits<std::uint32_t>::max()
                          : static_cast<std::uint32_t>(baud);
  port.dcb.StopBits = Val(cmbStopBits) == 1 ? 0 : 2;
  port.dcb.Parity = cmbParity == kParities[1] ? 1 : cmbParity == kParities[2] ? 2 : 0;
  port.ASCII = optASCII;
  chkASCII8bits_Enabled = port.ASCII;
  port.ASCII8bits = chkASCII8bits;
  if (chkRTSToggle)
    port.dcb.Flags |= DCB::kRtsControlToggle;
  else
    port.dcb.Flags &= ~DCB::kRtsControlMask;
  if (chkDTR)
    port.dcb.Flags |= 16;
  else
    port.dcb.Flags &= ~std::uint32_t{16};
  port.Timing = cmbTiming;
  port.Echo = chkEcho;
  paths_[static_cast<std::size_t>(com)] = cmbPath;
}

void frmCOMSettings::cmdOK_Click() {
  for (int n = 1; n <= 16; ++n) {
    // A path cleared by mistake keeps the one the port had.
    const std::string& path = paths_[static_cast<std::size_t>(n)];
    if (!path.empty() && path != host_.PortPath(n)) host_.SetPortPath(n, path);
  }
  for (int n = 1; n <= 16; ++n) {
    const PortSettings& port = working_[static_cast<std::size_t>(n)];
    PortEntry& entry = host_.Port(n);
    const bool same = port.ASCII == entry.ASCII && port.ASCII8bits == entry.ASCII8bits &&
                      port.dcb.BaudRate == entry.dcb.BaudRate && port.dcb.ByteSize == entry.dcb.ByteSize &&
                      port.dcb.Flags == entry.dcb.Flags && port.dcb.Parity == entry.dcb.Parity &&
                      port.dcb.StopBits == entry.dcb.StopBits && port.Timing == entry.Timing && port.Echo == entry.Echo;
    if (same) continue;
    entry.ASCII = port.ASCII;
    entry.ASCII8bits = port.ASCII8bits;
    entry.dcb = port.dcb;
    entry.Timing = port.Timing;
    entry.Echo = port.Echo;
    host_.MarkSessionChanged();
    for (frmQuorvel* window : host_.DeviceWindows())
      if (window->COM() == n) window->ShowCaption();
    if (entry.State == PortEntry::kOpen) {
      // Re-opened at once with the new settings; whatever was in flight on
      // the old line is gone with it.
      entry.Port.reset();
      entry.Busy = false;
      entry.State = PortEntry::kClosed;
      host_.OpenCOM();
    }
  }
  Visible = false;
}

void frmCOMSettings::Form_KeyDown(int key) {
  if (key == 13) cmdOK_Click();
  if (key == 27) cmdCancel_Click();
}

}  // namespace quorvel
