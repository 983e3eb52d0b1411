#include "dialogs/frmUserWrite.h"

#include <exception>

#include "device/PanelReading.h"

namespace quorvel {
namespace {

constexpr std::int32_t kMaskWrite = 22;

// Registers or bits the request writes.
std::int32_t WriteCount(const ReqProp& request) {
  switch (request.Func()) {
    case 5:
    case 6:
    case kMaskWrite:
      return 1;
    default:
      return request.WriteQnt();
  }
}

}  // namespace

frmUserWrite::frmUserWrite(frmQuorvel& window, const ElementCollection& elements,
                           std::deque<std::shared_ptr<ReqProp>>& pending, std::shared_ptr<ReqProp> request)
    : window_(window), pending_(pending), request_(std::move(request)) {
  if (!request_) {
    visible_ = false;
    return;
  }
  caption_ = window_.codePage().ToUtf8(request_->Label());
  const std::int64_t first = request_->WriteAddr();
  const std::int64_t last = first + WriteCount(*request_) - 1;
  for (const auto& [key, element] : elements) {
    const AddressCode code(element->Address());
    // Only elements wholly inside the block: a part of a value cannot be written.
    const std::int64_t from = code.address();
    if (from < first || from + code.width() - 1 > last) continue;
    UserWriteRow row{element, element->AddressCaption(), "", ""};
    if (const PanelControl* value = element->rCtrl()) {
      const std::string label = LabelBeside(window_.panel(), *value);
      if (!label.empty()) row.Caption = label + " (" + row.Caption + ")";
    }
    if (request_->Func() == kMaskWrite) {
      try {
        row.Text = request_->FillMaskData(code.raw);
      } catch (const std::exception&) {
        row.Text.clear();  // a request without its masks starts from an empty mask
      }
    } else {
      row.Text = element->ShownText(element->Data());
    }
    rows_.push_back(std::move(row));
  }
}

bool frmUserWrite::MaskWrite() const { return request_ && request_->Func() == kMaskWrite; }

bool frmUserWrite::cmdOK_Click() {
  if (!visible_ || !request_) return false;
  // A copy, so that a second write of the same request keeps its own values.
  auto filled = std::make_shared<ReqProp>();
  filled->Copy(*request_);
  bool ok = true;
  for (UserWriteRow& row : rows_) {
    row.Refusal.clear();
    const CtrlProp& e = *row.element;
    try {
      if (request_->Func() == kMaskWrite) {
        filled->GetMaskData(row.Text, e.Address());
      } else {
        const EntryResult parsed = e.ReadTyped(row.Text);
        if (!parsed.ok) {
          row.Refusal = parsed.reason;
          ok = false;
          continue;
        }
        filled->LetBytes(parsed.value, e.Address());
      }
    } catch (const std::exception& failure) {
      row.Refusal = failure.what();
      ok = false;
    }
  }
  if (!ok) return false;
  pending_.push_back(std::move(filled));
  window_.SetNextTime(frmQuorvel::kAtOnce);
  visible_ = false;
  return true;
}

}  // namespace quorvel
