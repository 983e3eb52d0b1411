#pragma once

// A control on a device panel, free of any windowing toolkit: it holds what a
// box, label, frame or picture shows, and reports every change to the panel's
// observer so that a view on screen can mirror it. Controls live in a Panel,
// numbered per kind as the members of a control array are.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorvel {

class Panel;

enum class ControlProperty { Geometry, Colors, Font, Caption, ToolTipText, Picture, Dimmed };

using PictureBytes = std::shared_ptr<const std::vector<std::uint8_t>>;

class PanelControl {
 public:
  PanelControl(Panel& container, std::string name, int index)
      : container_(container), name_(std::move(name)), index_(index) {}
  PanelControl(const PanelControl&) = delete;
  PanelControl& operator=(const PanelControl&) = delete;

  // The kind: "TBox", "Lbl", "Fr", "Tbl", "Img", or "Tbd" for a box's value label.
  const std::string& Name() const { return name_; }
  int Index() const { return index_; }
  Panel& Container() const { return container_; }

  std::int32_t Top() const { return top_; }
  std::int32_t Left() const { return left_; }
  std::int32_t Width() const { return width_; }
  std::int32_t Height() const { return height_; }
  void SetTop(std::int32_t v);
  void SetLeft(std::int32_t v);
  void SetWidth(std::int32_t v);
  void SetHeight(std::int32_t v);

  std::uint32_t BackColor() const { return backColor_; }
  std::uint32_t ForeColor() const { return foreColor_; }
  void SetBackColor(std::uint32_t v);
  void SetForeColor(std::uint32_t v);

  bool FontBold() const { return fontBold_; }
  bool FontUnderline() const { return fontUnderline_; }
  bool FontItalic() const { return fontItalic_; }
  bool FontStrikethru() const { return fontStrikethru_; }
  int FontSize() const { return fontSize_; }
  const std::string& FontName() const { return fontName_; }
  void SetFontBold(bool v);
  void SetFontUnderline(bool v);
  void SetFontItalic(bool v);
  void SetFontStrikethru(bool v);
  void SetFontSize(int v);
  void SetFontName(std::string v);

  // Texts are UTF-8.
  const std::string& Caption() const { return caption_; }
  const std::string& ToolTipText() const { return toolTipText_; }
  void SetCaption(std::string v);
  void SetToolTipText(std::string v);

  // Text drawn in the grey of a disabled control, its colours kept for later:
  // a value shown that no longer stands for what the device holds.
  bool Dimmed() const { return dimmed_; }
  void SetDimmed(bool v);

  // A complete picture file, kept as bytes; the view decodes it.
  const PictureBytes& Picture() const { return picture_; }
  // Throws PictureError when the bytes are no picture file that can be shown.
  void SetPicture(PictureBytes bytes);

 private:
  void Changed(ControlProperty what);

  Panel& container_;
  std::string name_;
  int index_;
  std::int32_t top_ = 0, left_ = 0, width_ = 0, height_ = 0;
  std::uint32_t backColor_ = 0xFFFFFF, foreColor_ = 0;
  bool fontBold_ = false, fontUnderline_ = false, fontItalic_ = false, fontStrikethru_ = false;
  int fontSize_ = 8;
  std::string fontName_;
  std::string caption_;
  std::string toolTipText_;
  bool dimmed_ = false;
  PictureBytes picture_;
};

}  // namespace quorvel
