#include "device/qt/EntryEdit.h"

#include <QKeyEvent>

namespace quorvel {

EntryEdit::EntryEdit(QWidget* parent) : QLineEdit(parent) {
  setObjectName(QStringLiteral("tbInput"));
  // The label it covers is about one line high; the sunken frame of the box
  // underneath stays its border.
  setFrame(false);
  hide();
}

void EntryEdit::keyPressEvent(QKeyEvent* event) {
  int code = 0;
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) code = kEnter;
  if (event->key() == Qt::Key_Escape) code = kEscape;
  if (code == 0 || !onKey_) {
    QLineEdit::keyPressEvent(event);
    return;
  }
  event->accept();
  onKey_(code);
}

}  // namespace quorvel
