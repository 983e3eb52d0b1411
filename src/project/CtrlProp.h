#pragma once

// One display element of a project's panel: where it sits, how it is drawn,
// which register or coil it shows and in which format. Texts are held as the
// project file's bytes and decoded through the element's code page when they
// reach a control.

#include <cstdint>
#include <string>
#include <string_view>

#include "convert/ValueEntry.h"
#include "project/ProjectRecords.h"

namespace quorvel {

class BinaryReader;
class CodePage;
class PanelControl;

class CtrlProp {
 public:
  CtrlProp();

  // Reads one element record and applies the load-time defaults: Data takes
  // DefaultValue, a k of 0 becomes 1 and an empty format becomes the default
  // of the address code. Throws ReadError and then leaves the element as it was.
  void LoadData(BinaryReader& in);
  // The same from a record already read.
  void LoadRecord(const ElementRecord& record);
  // Every stored field as the element now holds it (defaults applied).
  const ElementRecord& Fields() const { return f_; }

  // Dresses `control` with this element; for a "TBox" also takes the value
  // label Tbd(Index) of the control's panel as rCtrl, laid over the box in its
  // colours and font (throws std::out_of_range when the panel has none).
  void SetProp(PanelControl& control);
  // For a "TBox": the address caption of its value label and the tool tips.
  void TBoxToolTip(PanelControl& control) const;
  // What the value label of a "TBox" shows before any value: the table's
  // prefix and the address in four digits ("HR0040", "C 0007").
  std::string AddressCaption() const;
  // Takes every stored field of `other` through its read properties.
  void CopyClassProp(const CtrlProp& other);

  // Texts are decoded through this code page; Windows-1252 unless set.
  void SetCodePage(const CodePage& codePage) { codePage_ = &codePage; }
  const CodePage& GetCodePage() const { return *codePage_; }

  std::uint32_t BackColor() const { return f_.BackColor; }
  std::uint32_t ForeColor() const { return f_.ForeColor; }
  const std::string& CtrlName() const { return f_.CtrlName; }
  std::int32_t Top() const { return f_.Top; }
  std::int32_t Left() const { return f_.Left; }
  PanelControl* rCtrl() const { return rCtrl_; }
  std::int16_t FontBold() const { return f_.FontBold; }
  std::int16_t FontUnderline() const { return f_.FontUnderline; }
  std::int16_t FontItalic() const { return f_.FontItalic; }
  std::int16_t FontStrikethru() const { return f_.FontStrikethru; }
  std::int16_t FontSize() const { return f_.FontSize; }
  const std::string& FontName() const { return f_.FontName; }
  std::int32_t Width() const { return f_.Width; }
  std::int32_t Height() const { return f_.Height; }
  const std::string& Caption() const { return f_.Caption; }
  std::uint32_t Address() const { return f_.Address; }
  std::int16_t PictureNumber() const { return f_.PictureNumber; }
  void SetPictureNumber(std::int16_t v) { f_.PictureNumber = v; }
  double Value1() const { return f_.Value1; }
  double Value2() const { return f_.Value2; }
  double DefaultValue() const { return f_.DefaultValue; }
  double Data() const { return data_; }
  // Stores the value and shows it, formatted, on the value label (when the
  // element has one).
  void SetData(double v);
  std::int32_t Period() const { return f_.Period; }
  // Held in double precision but handed out in single precision; a value
  // beyond the single range comes out as an infinity of its sign.
  float k() const;
  float x0() const;
  // A value as the element's label shows it, and a typed text read back into
  // the element's register contents: through the format, k and x0 as the
  // read properties hand them out.
  std::string ShownText(double v) const;
  EntryResult ReadTyped(std::string_view text) const;
  const std::string& FormatString() const { return f_.FormatString; }

 private:
  ElementRecord f_;
  double data_ = 0;
  PanelControl* rCtrl_ = nullptr;
  const CodePage* codePage_;
};

// "HR", "IR", "C " or "DI" by the table bits of an address code.
const char* TablePrefix(std::uint32_t code);

}  // namespace quorvel
