#include "project/PanelControl.h"

#include "project/Panel.h"
#include "project/PictureFile.h"

namespace quorvel {

void PanelControl::Changed(ControlProperty what) { container_.NotifyChanged(*this, what); }

void PanelControl::SetTop(std::int32_t v) { top_ = v, Changed(ControlProperty::Geometry); }
void PanelControl::SetLeft(std::int32_t v) { left_ = v, Changed(ControlProperty::Geometry); }
void PanelControl::SetWidth(std::int32_t v) { width_ = v, Changed(ControlProperty::Geometry); }
void PanelControl::SetHeight(std::int32_t v) { height_ = v, Changed(ControlProperty::Geometry); }
void PanelControl::SetBackColor(std::uint32_t v) { backColor_ = v, Changed(ControlProperty::Colors); }
void PanelControl::SetForeColor(std::uint32_t v) { foreColor_ = v, Changed(ControlProperty::Colors); }
void PanelControl::SetFontBold(bool v) { fontBold_ = v, Changed(ControlProperty::Font); }
void PanelControl::SetFontUnderline(bool v) { fontUnderline_ = v, Changed(ControlProperty::Font); }
void PanelControl::SetFontItalic(bool v) { fontItalic_ = v, Changed(ControlProperty::Font); }
void PanelControl::SetFontStrikethru(bool v) { fontStrikethru_ = v, Changed(ControlProperty::Font); }
void PanelControl::SetFontSize(int v) { fontSize_ = v, Changed(ControlProperty::Font); }
void PanelControl::SetFontName(std::string v) { fontName_ = std::move(v), Changed(ControlProperty::Font); }
void PanelControl::SetCaption(std::string v) { caption_ = std::move(v), Changed(ControlProperty::Caption); }
void PanelControl::SetToolTipText(std::string v) { toolTipText_ = std::move(v), Changed(ControlProperty::ToolTipText); }
void PanelControl::SetDimmed(bool v) {
  // Set again on every answer; only a change is worth a repaint.
  if (v == dimmed_) return;
  dimmed_ = v;
  Changed(ControlProperty::Dimmed);
}

void PanelControl::SetPicture(PictureBytes bytes) {
  if (!bytes || DetectPicture(*bytes) == PictureKind::None) throw PictureError("Invalid picture");
  picture_ = std::move(bytes);
  Changed(ControlProperty::Picture);
}

}  // namespace quorvel
