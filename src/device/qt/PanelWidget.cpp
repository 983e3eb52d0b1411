#include "device/qt/PanelWidget.h"

#include <algorithm>
#include <exception>

#include "device/PanelReading.h"
#include "device/qt/FontMap.h"
#include "device/qt/WinColor.h"

namespace quorvel {
namespace {

// A form's background is the button face colour.
constexpr std::uint32_t kButtonFace = 0x8000000F;

}  // namespace

PanelWidget::PanelWidget(frmQuorvel& window, QWidget* parent)
    : QWidget(parent), window_(window), twips_(Twips::ForScreen(screen())), editor_(new EntryEdit(this)) {
  setAutoFillBackground(true);
  QPalette background = palette();
  background.setColor(QPalette::Window, WinColor(kButtonFace, palette()));
  setPalette(background);

  editor_->OnKey([this](int key) { KeyDown(key); });
  for (const auto& control : window_.panel().Controls()) AddView(*control);
  OrderTabs();
  window_.panel().SetObserver(this);
  ShowEntryBox(true);
}

PanelWidget::~PanelWidget() { window_.panel().SetObserver(nullptr); }

void PanelWidget::SetDpi(double dpi) {
  twips_ = Twips(dpi);
  for (const auto& [control, view] : views_) view->Rescale(twips_);
  ShowEntryBox(false);
  updateGeometry();
}

ControlView* PanelWidget::ViewOf(std::string_view name, int index) const {
  PanelControl* control = window_.panel().FindControl(name, index);
  const auto found = views_.find(control);
  return found == views_.end() ? nullptr : found->second;
}

QSize PanelWidget::sizeHint() const {
  // As much room right and below the controls as there is left and above them.
  QRect used;
  for (const auto& [control, view] : views_) used |= view->geometry();
  if (used.isEmpty()) return QWidget::sizeHint();
  return QSize(used.right() + 1 + std::max(0, used.left()), used.bottom() + 1 + std::max(0, used.top()));
}

void PanelWidget::ControlAdded(const PanelControl& control) {
  AddView(control);
  OrderTabs();
  updateGeometry();
}

void PanelWidget::OrderTabs() {
  QWidget* previous = nullptr;
  for (const PanelControl* value : ValuesInReadingOrder(window_.panel())) {
    const auto found = views_.find(value);
    if (found == views_.end()) continue;
    if (previous) setTabOrder(previous, found->second);
    previous = found->second;
  }
}

void PanelWidget::ControlChanged(const PanelControl& control, ControlProperty what) {
  const auto found = views_.find(&control);
  if (found == views_.end()) return;
  found->second->Follow(what);
  if (what == ControlProperty::Geometry) updateGeometry();
}

void PanelWidget::PanelCleared() {
  // A view may be the one whose menu or key led here: it goes once its
  // event is over.
  for (const auto& [control, view] : views_) {
    view->hide();
    view->deleteLater();
  }
  views_.clear();
  edited_ = nullptr;
  ShowEntryBox(false);
  updateGeometry();
}

void PanelWidget::AddView(const PanelControl& control) {
  auto* view = new ControlView(control, twips_, this);
  if (control.Name() == "TBox" || control.Name() == "Tbd") {
    view->OnDoubleClick([this, view, &control] {
      edited_ = view;
      DoubleClicked(control);
    });
    const int index = control.Index();
    view->OnContextMenu([this, index](const QPoint& at) { return onValueMenu_ && onValueMenu_(index, at); });
  }
  if (control.Name() == "Tbd") view->setFocusPolicy(Qt::StrongFocus);
  views_[&control] = view;
  view->show();
  // Controls made later lie on top, and the edit box above them all.
  editor_->raise();
}

void PanelWidget::DoubleClicked(const PanelControl& control) {
  // Nothing may be thrown through Qt's event loop; a window that refuses
  // leaves its edit box as it was, and that is what shows.
  try {
    if (control.Name() == "TBox") {
      window_.TBox_DblClick(control.Index());
    } else {
      window_.Tbd_DblClick(control.Index());
    }
  } catch (const std::exception&) {
  }
  ShowEntryBox(true);
}

void PanelWidget::KeyDown(int key) {
  window_.tbInput.Text = editor_->text().toStdString();
  try {
    window_.tbInput_KeyDown(key);
  } catch (const std::exception&) {
  }
  ShowEntryBox(false);
}

void PanelWidget::ShowEntryBox(bool opening) {
  const EntryBox& box = window_.tbInput;
  if (onRefusal_) onRefusal_(box.Visible ? QString::fromStdString(box.Refusal) : QString());
  if (!box.Visible) {
    const bool hadFocus = window()->focusWidget() == editor_;
    editor_->hide();
    if (hadFocus && edited_) edited_->setFocus();
    return;
  }
  editor_->setGeometry(twips_.ToRect(box.Left, box.Top, box.Width, box.Height));
  editor_->setFont(PanelFont(
      {box.FontName, box.FontSize, box.FontBold, box.FontItalic, box.FontUnderline, box.FontStrikethru}, twips_.Dpi()));
  QPalette colors = editor_->palette();
  colors.setColor(QPalette::Base, WinColor(box.BackColor, palette()));
  colors.setColor(QPalette::Text, WinColor(box.ForeColor, palette()));
  editor_->setPalette(colors);
  // A refused entry says why where the user looks.
  editor_->setToolTip(QString::fromStdString(box.Refusal.empty() ? box.ToolTipText : box.Refusal));
  if (opening) {
    editor_->setText(QString::fromStdString(box.Text));
    if (box.SelectAll) editor_->selectAll();
  }
  editor_->show();
  editor_->raise();
  editor_->setFocus();
}

}  // namespace quorvel
