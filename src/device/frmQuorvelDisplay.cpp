// What a device window shows: caption, statistics line, values from responses,
// the panel reset for a mode, address ranges and the emulated values.

#include <algorithm>
#include <cmath>

#include "convert/RegisterDecode.h"
#include "device/PanelReading.h"
#include "device/frmQuorvel.h"
#include "platform/NetAddress.h"
#include "serial/PortEntry.h"

namespace quorvel {
namespace {

// Register or bit count of an element.
int Size(const CtrlProp& element) { return AddressCode(element.Address()).width(); }

std::string Framing(const PortEntry& entry) {
  std::string text;
  // Stop bits first, then parity, then data bits: the order users know from this program.
  switch (entry.dcb.StopBits) {
    case 0:
      text += "-1";
      break;
    case 2:
      text += "-2";
      break;
    default:
      break;
  }
  switch (entry.dcb.Parity) {
    case 0:
      text += "-n-";
      break;
    case 1:
      text += "-o-";
      break;
    case 2:
      text += "-e-";
      break;
    default:
      break;
  }
  text += entry.ASCII && !entry.ASCII8bits ? "7" : "8";
  text += entry.ASCII ? " ASCII" : " RTU";
  return text;
}

}  // namespace

const ElementCollection& frmQuorvel::ElementsOf(Table table) const {
  switch (table) {
    case Table::Holding:
      return HoldingElements;
    case Table::InputReg:
      return InputRegElements;
    case Table::Coil:
      return CoilElements;
    case Table::Discrete:
      return DiscreteElements;
  }
  return HoldingElements;
}

void frmQuorvel::ShowCaption() {
  std::string text = projectTitle_ + " " + ModeName(mode_) + " ID:" + std::to_string(id_);
  if (com_ != 0) {
    const PortEntry& entry = host_.Port(com_);
    if (entry.State == PortEntry::kOpen && connected_) text += " Connected:";
    if (entry.State == PortEntry::kNotAvailable) text += " Not available:";
    // A network port has no line settings of its own: its address says more.
    const std::string path = host_.PortPath(com_);
    if (platform::IsNetworkPath(path))
      text += " COM" + std::to_string(com_) + "  " + path;
    else
      text += " COM" + std::to_string(com_) + "  " + std::to_string(entry.dcb.BaudRate) + Framing(entry);
  }
  caption_ = text;
}

void frmQuorvel::RefreshStatistics() {
  const MODBUS::TrafficCounters& c = counters_;
  std::string text;
  const auto part = [&text](const char* label, std::int32_t value, bool always) {
    if (always || value > 0) text += std::string(label) + std::to_string(value);
  };
  if (mode_ == kMaster || mode_ == kMonitor) {
    // A Monitor counts what it heard with the master's words: rQ requests
    // heard, TOErr those that went unanswered.
    const std::int64_t errors =
        std::int64_t{c.TOErr} + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr + c.Ex1 + c.Ex2 + c.Ex3 + c.Ex4;
    part(" rQ:", c.RequestCount, true);
    part(" Err:", static_cast<std::int32_t>(errors), true);
    part(" TOErr:", c.TOErr, false);
    part(" DtErr:", c.DtErr, false);
    part(" FrErr:", c.FrErr, false);
    part(" PtyErr:", c.PtyErr, false);
    part(" CRCErr:", c.CRCErr, false);
  } else if (mode_ == kSlave) {
    part(" rQ:", c.SlaveRequestCount, true);
    part(" Err:", static_cast<std::int32_t>(std::int64_t{c.Ex1} + c.Ex2 + c.Ex3 + c.Ex4), true);
  }
  part(" Ex1:", c.Ex1, false);
  part(" Ex2:", c.Ex2, false);
  part(" Ex3:", c.Ex3, false);
  part(" Ex4:", c.Ex4, false);
  statistic_ = text;
}

std::vector<CtrlProp*> frmQuorvel::ReadBy(const ReqProp& request) const {
  const std::int32_t func = request.Func();
  const ElementCollection* elements = nullptr;
  if (func == 3 || func == 23) elements = &HoldingElements;
  if (func == 4) elements = &InputRegElements;
  if (func == 1) elements = &CoilElements;
  if (func == 2) elements = &DiscreteElements;
  std::vector<CtrlProp*> read;
  if (!elements) return read;
  const std::int32_t first = request.ReadAddr();
  const std::int32_t count = request.ReadQnt();
  for (const auto& [key, element] : *elements) {
    const std::int32_t a = element->Address() & 0xFFFF;
    if (first <= a && a < first + count) read.push_back(element.get());
  }
  return read;
}

void frmQuorvel::StoreResponseData(std::span<const std::uint8_t> frame, std::int32_t length) {
  if (!LastRequest) return;
  const std::int32_t func = LastRequest->Func();
  const std::int32_t first = LastRequest->ReadAddr();
  // Only what the response really holds is read; bytes beyond it read as 0.
  const auto data = frame.first(static_cast<std::size_t>(std::clamp<std::int32_t>(length, 0, frame.size())));

  for (CtrlProp* element : ReadBy(*LastRequest)) {
    const std::int32_t a = element->Address() & 0xFFFF;
    if (func == 1 || func == 2) {
      element->SetData(DecodeBits(data, (a - first) + 24, Size(*element)));
    } else {
      const int n = std::min(2 * Size(*element), 8);
      std::array<std::uint8_t, 8> bytes{};
      const std::size_t from = static_cast<std::size_t>((a - first) * 2 + 3);
      for (int i = 0; i < n; ++i)
        if (from + i < data.size()) bytes[i] = data[from + i];
      element->SetData(DecodeRegisters(std::span(bytes).first(n), element->Address()));
    }
    MarkStale(*element, false);
  }
}

void frmQuorvel::MarkStale(CtrlProp& element, bool stale) {
  if (stale) {
    stale_.insert(&element);
  } else {
    stale_.erase(&element);
  }
  if (PanelControl* label = element.rCtrl()) label->SetDimmed(stale && GreyStale());
}

void frmQuorvel::SetGreyStale(bool v) {
  menus.mnuGreyStale.Checked = v;
  for (Table table : {Table::Holding, Table::Coil, Table::InputReg, Table::Discrete})
    for (const auto& [key, element] : ElementsOf(table)) MarkStale(*element, Stale(*element));
}

void frmQuorvel::ResetPanel() {
  for (Table table : {Table::Holding, Table::Coil, Table::InputReg, Table::Discrete}) {
    for (const auto& [key, element] : ElementsOf(table)) {
      // What another mode showed says nothing about the device now.
      MarkStale(*element, false);
      if (mode_ == kSlave) {
        element->SetData(element->DefaultValue());
      } else if (PanelControl* label = element->rCtrl()) {
        label->SetCaption("");
      }
    }
  }
}

void frmQuorvel::ComputeAddressRanges() {
  for (Table table : {Table::Holding, Table::InputReg, Table::Coil, Table::Discrete}) {
    AddressRange range;
    for (const auto& [key, element] : ElementsOf(table)) {
      const std::int32_t a = element->Address() & 0xFFFF;
      range.highest = std::max(range.highest, a + Size(*element) - 1);
      range.lowest = std::min(range.lowest, a);
    }
    ranges_[static_cast<int>(table)] = range;
  }
}

void frmQuorvel::EmulatedValueStep(CtrlProp& element) {
  const std::int32_t period = element.Period();
  if (period < 2) return;
  // Wrapping difference: the tick counter turns negative after 24.8 days and
  // the values must run on smoothly across that.
  const auto elapsed = static_cast<std::int32_t>(static_cast<std::uint32_t>(host_.GetTickCount()) -
                                                 static_cast<std::uint32_t>(connectTime_));
  const double t = static_cast<double>(((std::int64_t{elapsed} % period) + period) % period);
  const double f = t / period;
  const double d = element.DefaultValue(), v1 = element.Value1(), v2 = element.Value2();
  double value;
  if (element.Address() & 0x23000000u) {
    value = f < 1.0 / 3 ? d : (f <= 2.0 / 3 ? v1 : v2);
  } else if (f < 1.0 / 3) {
    value = d + (v1 - d) * 3 * f;
  } else if (f <= 2.0 / 3) {
    value = v1 + (v2 - v1) * (3 * f - 1);
  } else {
    value = v2 + (d - v2) * (3 * f - 2);
  }
  element.SetData(value);
}

void frmQuorvel::mnuCopyAllValues_Click() { host_.CopyText(ValuesAsRows(*panel_)); }

void frmQuorvel::mnuClearCounters_Click() {
  counters_ = MODBUS::TrafficCounters{};
  RefreshStatistics();
}

}  // namespace quorvel
