#include "project/CtrlProp.h"

#include <cmath>
#include <cstdio>
#include <limits>

#include "convert/AddressCode.h"
#include "convert/DisplayText.h"
#include "project/BinaryReader.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/PanelControl.h"

namespace quorvel {
namespace {

// An address with at least four digits, zero-filled: 40 -> "0040".
std::string FourDigits(std::uint32_t code) {
  char text[8];
  std::snprintf(text, sizeof text, "%04u", static_cast<unsigned>(code & AddressCode::kAddressMask));
  return text;
}

// Widens a single-precision read property back for storage. The detour
// through a volatile is deliberate: GCC 12 at -O2 vectorises the two adjacent
// double -> float -> double conversions of k and x0 into a plain copy and so
// loses the narrowing.
double Widened(float v) {
  volatile float kept = v;
  return kept;
}

float Narrowed(double v) {
  // Beyond the single range a plain conversion would be undefined.
  constexpr float kInf = std::numeric_limits<float>::infinity();
  if (std::isfinite(v) && std::fabs(v) > std::numeric_limits<float>::max()) return v > 0 ? kInf : -kInf;
  return static_cast<float>(v);
}

}  // namespace

const char* TablePrefix(std::uint32_t code) {
  static constexpr const char* kPrefixes[] = {"HR", "IR", "C ", "DI"};
  return kPrefixes[(code & AddressCode::kTableMask) >> 28];
}

CtrlProp::CtrlProp() : codePage_(&CodePage::Default()) {}

void CtrlProp::LoadData(BinaryReader& in) { LoadRecord(ReadElementRecord(in)); }

void CtrlProp::LoadRecord(const ElementRecord& record) {
  f_ = record;
  data_ = f_.DefaultValue;
  if (f_.k == 0) f_.k = 1.0;
  if (f_.FormatString.empty()) f_.FormatString = DefaultFormat(f_.Address);
}

void CtrlProp::SetProp(PanelControl& control) {
  control.SetTop(f_.Top);
  control.SetLeft(f_.Left);
  control.SetWidth(f_.Width);
  control.SetHeight(f_.Height);
  if (control.Name() != "Img") {
    control.SetBackColor(f_.BackColor);
    control.SetForeColor(f_.ForeColor);
    control.SetFontBold(f_.FontBold != 0);
    control.SetFontUnderline(f_.FontUnderline != 0);
    control.SetFontItalic(f_.FontItalic != 0);
    control.SetFontStrikethru(f_.FontStrikethru != 0);
    control.SetFontSize(f_.FontSize);
    control.SetFontName(codePage_->ToUtf8(f_.FontName));
  }
  if (control.Name() == "TBox") {
    PanelControl& label = control.Container().Tbd(control.Index());
    rCtrl_ = &label;
    // The value label lies on its box: it covers the box and shows the value
    // in the box's colours and font, and the edit box later opens over it.
    label.SetTop(control.Top());
    label.SetLeft(control.Left());
    label.SetWidth(control.Width());
    label.SetHeight(control.Height());
    label.SetBackColor(control.BackColor());
    label.SetForeColor(control.ForeColor());
    label.SetFontBold(control.FontBold());
    label.SetFontUnderline(control.FontUnderline());
    label.SetFontItalic(control.FontItalic());
    label.SetFontStrikethru(control.FontStrikethru());
    label.SetFontSize(control.FontSize());
    label.SetFontName(control.FontName());
    control.SetCaption("");
    label.SetCaption("");
    TBoxToolTip(control);
  } else if (control.Name() == "Lbl" || control.Name() == "Tbl") {
    // A caption starting with "//" is commented out in the editor.
    control.SetCaption(f_.Caption.starts_with("//") ? "" : codePage_->ToUtf8(f_.Caption));
  }
}

std::string CtrlProp::AddressCaption() const { return TablePrefix(f_.Address) + FourDigits(f_.Address); }

void CtrlProp::TBoxToolTip(PanelControl& control) const {
  if (control.Name() != "TBox") return;
  const AddressCode code(f_.Address);
  const std::string address = FourDigits(f_.Address);
  control.SetCaption("");
  PanelControl& label = control.Container().Tbd(control.Index());
  label.SetCaption(AddressCaption());

  std::string kind, type, format, swap;
  if (!code.isBit()) {
    kind = (f_.Address & AddressCode::kInputTable) ? "Input reg. " : "Holding reg. ";
    type = "," + TypeName(code.typeField());
    // The separators differ on purpose: "," before a type, "Hex" and
    // "Binary", ", " before "Unsigned" and "Swapped".
    const std::uint32_t flags = f_.Address & (AddressCode::kUnsigned | AddressCode::kBinary | AddressCode::kHex);
    if (flags == AddressCode::kUnsigned) format = ", Unsigned";
    if (flags == AddressCode::kHex) format = ",Hex";
    if (flags == AddressCode::kBinary) format = ",Binary";
    if (code.swapped()) swap = ", Swapped";
  } else {
    kind = (f_.Address & AddressCode::kInputTable) ? "Discrete input" : "Coil";
    kind += code.typeField() != 0 ? "[" + std::to_string(code.width()) + "] " : " ";
  }
  const std::string tip = kind + address + type + format + swap + ".";
  control.SetToolTipText(tip);
  label.SetToolTipText(tip);
}

void CtrlProp::CopyClassProp(const CtrlProp& other) {
  f_.BackColor = other.BackColor();
  f_.ForeColor = other.ForeColor();
  f_.CtrlName = other.CtrlName();
  f_.Top = other.Top();
  f_.Left = other.Left();
  f_.FontBold = other.FontBold();
  f_.FontUnderline = other.FontUnderline();
  f_.FontItalic = other.FontItalic();
  f_.FontStrikethru = other.FontStrikethru();
  f_.FontSize = other.FontSize();
  f_.FontName = other.FontName();
  f_.Width = other.Width();
  f_.Height = other.Height();
  f_.Caption = other.Caption();
  f_.Address = other.Address();
  f_.PictureNumber = other.PictureNumber();
  f_.Value1 = other.Value1();
  f_.Value2 = other.Value2();
  f_.DefaultValue = other.DefaultValue();
  f_.Period = other.Period();
  f_.k = Widened(other.k());
  f_.x0 = Widened(other.x0());
  f_.FormatString = other.FormatString();
  codePage_ = other.codePage_;
}

float CtrlProp::k() const { return Narrowed(f_.k); }
float CtrlProp::x0() const { return Narrowed(f_.x0); }

std::string CtrlProp::ShownText(double v) const {
  return DisplayText(v, f_.Address, codePage_->ToUtf8(f_.FormatString), k(), x0());
}

EntryResult CtrlProp::ReadTyped(std::string_view text) const {
  return ParseEntry(text, f_.Address, codePage_->ToUtf8(f_.FormatString), k(), x0());
}

void CtrlProp::SetData(double v) {
  data_ = v;
  if (!rCtrl_) return;
  rCtrl_->SetCaption(ShownText(v));
}

}  // namespace quorvel
