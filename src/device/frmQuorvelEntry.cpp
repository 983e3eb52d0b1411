// Value entry on the panel: the edit box over a value label, and what a typed
// value becomes in each mode (a queued write, the emulated value, or nothing).

#include <exception>

#include "device/frmQuorvel.h"

namespace quorvel {
namespace {

constexpr int kKeyEnter = 13;
constexpr int kKeyEscape = 27;
constexpr std::int32_t kOneShot = -1;  // Control = True

std::shared_ptr<CtrlProp> FindByIndex(const ElementCollection& elements, int index) {
  for (const auto& [key, element] : elements) {
    if (element->rCtrl() && element->rCtrl()->Index() == index) return element;
  }
  return nullptr;
}

}  // namespace

void frmQuorvel::Tbd_DblClick(int index) {
  if (mode_ == kMaster && !directWrite_) return;
  std::shared_ptr<CtrlProp> found = FindByIndex(HoldingElements, index);
  if (!found) found = FindByIndex(CoilElements, index);
  // A master only reads input registers and discrete inputs.
  if (!found && mode_ != kMaster) found = FindByIndex(InputRegElements, index);
  if (!found && mode_ != kMaster) found = FindByIndex(DiscreteElements, index);
  if (!found) return;
  EditElement = found;

  const CtrlProp& e = *found;
  const PanelControl& label = *e.rCtrl();
  EntryBox box;
  box.Text = e.ShownText(e.Data());
  box.ToolTipText = label.ToolTipText();
  box.FontBold = label.FontBold();
  box.FontItalic = label.FontItalic();
  box.FontName = label.FontName();
  box.FontSize = label.FontSize();
  box.FontStrikethru = label.FontStrikethru();
  box.FontUnderline = label.FontUnderline();
  box.BackColor = label.BackColor();
  box.ForeColor = label.ForeColor();
  box.Left = label.Left();
  box.Top = label.Top();
  box.Width = label.Width();
  box.Height = label.Height();
  box.Visible = true;
  box.SelectAll = true;
  tbInput = std::move(box);
}

void frmQuorvel::tbInput_KeyDown(int key) {
  if (key == kKeyEscape) {
    tbInput.Visible = false;
    tbInput.Refusal.clear();
    return;
  }
  if (key != kKeyEnter) return;
  if (!EditElement) {
    tbInput.Visible = false;
    return;
  }
  const CtrlProp& e = *EditElement;
  const EntryResult parsed = e.ReadTyped(tbInput.Text);
  if (!parsed.ok) {
    // Left open with the text as typed, so that the user can correct it.
    tbInput.Refusal = parsed.reason;
    return;
  }
  if (mode_ == kMaster) {
    try {
      QueueEntryWrite(e, parsed.value);
    } catch (const std::exception& failure) {
      tbInput.Refusal = failure.what();
      return;
    }
  } else if (mode_ == kSlave) {
    EditElement->SetData(parsed.value);
  }
  tbInput.Refusal.clear();
  tbInput.Visible = false;
  tbInput.SelectAll = false;
}

void frmQuorvel::QueueEntryWrite(const CtrlProp& element, double value) {
  const AddressCode code(element.Address());
  const int n = code.width();
  auto request = std::make_shared<ReqProp>();
  request->SetControl(kOneShot);
  request->SetWriteAddr(code.address());
  if (code.isBit()) {
    request->SetFunc(n < 2 ? 5 : 15);
  } else {
    request->SetFunc(n < 2 ? 6 : 16);
  }
  request->SetWriteQnt(n);
  request->LetBytes(value, code.raw);
  const int type = code.typeField();
  if (!code.isBit() && (type == static_cast<int>(RegType::ByteHi) || type == static_cast<int>(RegType::ByteLow))) {
    // The register carries both halves: the other one goes out as it is shown now.
    const int partnerType = type == static_cast<int>(RegType::ByteHi) ? static_cast<int>(RegType::ByteLow)
                                                                      : static_cast<int>(RegType::ByteHi);
    for (const auto& [key, other] : HoldingElements) {
      const AddressCode c(other->Address());
      if (c.address() == code.address() && c.typeField() == partnerType) {
        request->LetBytes(other->Data(), c.raw);
        break;
      }
    }
  }
  PendingRequests.push_back(std::move(request));
  nextTime_ = kAtOnce;
}

}  // namespace quorvel
