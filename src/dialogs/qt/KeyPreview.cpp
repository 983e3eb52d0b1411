#include "dialogs/qt/KeyPreview.h"

#include <QChildEvent>
#include <QKeyEvent>
#include <QWidget>

namespace quorvel {

KeyPreview::KeyPreview(QWidget& form, std::function<void(int)> handler)
    : QObject(&form), form_(form), handler_(std::move(handler)) {
  Watch(form);
}

void KeyPreview::Watch(QObject& object) {
  if (&object == this) return;
  object.installEventFilter(this);
  for (QObject* child : object.children()) Watch(*child);
}

bool KeyPreview::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ChildAdded) {
    QObject* child = static_cast<QChildEvent*>(event)->child();
    if (child) Watch(*child);
    return false;
  }
  if (event->type() != QEvent::KeyPress) return false;
  // A list's drop-down is a window of its own and keeps its keys.
  const auto* widget = qobject_cast<QWidget*>(watched);
  if (!widget || widget->window() != &form_) return false;
  int code = 0;
  switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      code = kEnter;
      break;
    case Qt::Key_Escape:
      code = kEscape;
      break;
    default:
      return false;
  }
  handler_(code);
  return true;
}

}  // namespace quorvel
