#include "dialogs/qt/SlaveAddressDialog.h"

#include <algorithm>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "device/qt/WinColor.h"
#include "dialogs/qt/FormLayout.h"
#include "dialogs/qt/KeyPreview.h"

namespace quorvel {
namespace {

constexpr std::uint32_t kWindowColor = kSystemColorFlag | 5;
constexpr std::uint32_t kButtonFace = kSystemColorFlag | 15;

}  // namespace

SlaveAddressDialog::SlaveAddressDialog(frmSlaveAddress& model, QWidget* parent) : QDialog(parent), model_(model) {
  tbID_ = new QLineEdit(this);
  tbTimeout_ = new QLineEdit(this);
  tbInterval_ = new QLineEdit(this);
  QHBoxLayout* buttons = OkCancelRow(*this, cmdOK_, cmdCancel_);

  auto* grid = new QGridLayout;
  AddCaptionedRow(*grid, 0, "Slave &address:", tbID_);
  AddCaptionedRow(*grid, 1, "Response &timeout, ms:", tbTimeout_);
  AddCaptionedRow(*grid, 2, "Char-to-char &interval, ms:", tbInterval_);
  auto* form = new QVBoxLayout(this);
  form->addLayout(grid);
  form->addLayout(buttons);
  form->setSizeConstraint(QLayout::SetFixedSize);

  connect(tbID_, &QLineEdit::textEdited, this, [this](const QString& text) { model_.tbID = text.toStdString(); });
  connect(tbTimeout_, &QLineEdit::textEdited, this,
          [this](const QString& text) { model_.tbTimeout = text.toStdString(); });
  connect(tbInterval_, &QLineEdit::textEdited, this,
          [this](const QString& text) { model_.tbInterval = text.toStdString(); });
  connect(cmdOK_, &QPushButton::clicked, this, [this] {
    model_.cmdOK_Click();
    Follow(Accepted);
  });
  connect(cmdCancel_, &QPushButton::clicked, this, &SlaveAddressDialog::reject);
  new KeyPreview(*this, [this](int key) {
    model_.Form_KeyDown(key);
    Follow(key == KeyPreview::kEnter ? Accepted : Rejected);
  });
  Refresh();
}

void SlaveAddressDialog::ID(frmQuorvel& window) {
  model_.ID(window);
  Refresh();
  open();
}

void SlaveAddressDialog::Refresh() {
  setWindowTitle(QString::fromStdString(model_.Caption));
  tbID_->setText(QString::fromStdString(model_.tbID));
  tbTimeout_->setText(QString::fromStdString(model_.tbTimeout));
  tbInterval_->setText(QString::fromStdString(model_.tbInterval));
  tbTimeout_->setEnabled(model_.tbTimeout_Enabled);
  // The form's palette is the field's own before any colour was set on it.
  const QColor background = WinColor(model_.tbTimeout_ButtonFace ? kButtonFace : kWindowColor, this->palette());
  QPalette palette = tbTimeout_->palette();
  // A disabled field draws from the disabled group, an enabled one from the others.
  for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
    palette.setColor(group, QPalette::Base, background);
  tbTimeout_->setPalette(palette);
}

void SlaveAddressDialog::Follow(int result) {
  if (!model_.Visible) done(result);
}

void SlaveAddressDialog::reject() {
  model_.cmdCancel_Click();
  QDialog::reject();
}

void SlaveAddressDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  model_.Form_Activate();
  tbID_->setFocus();
  const int length = static_cast<int>(tbID_->text().size());
  const int start = std::clamp(model_.tbID_SelStart, 0, length);
  tbID_->setSelection(start, std::clamp(model_.tbID_SelLength, 0, length - start));
}

void SlaveAddressDialog::hideEvent(QHideEvent* event) {
  // Only a closing dialog lets go of its window: the desktop also takes the
  // activation away for a message box over the dialog, for another
  // program's window or a minimised frame, and the dialog is still at work.
  if (!event->spontaneous()) model_.Form_Deactivate();
  QDialog::hideEvent(event);
}

}  // namespace quorvel
