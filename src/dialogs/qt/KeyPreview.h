#pragma once

// Lets a form see Enter and Escape before any of its controls does, whichever
// control has the focus: a list or a text box would otherwise take Enter for
// itself. The keys reach the form as their key codes, 13 and 27.

#include <functional>

#include <QObject>

class QWidget;

namespace quorvel {

class KeyPreview : public QObject {
 public:
  static constexpr int kEnter = 13;
  static constexpr int kEscape = 27;

  // Watches `form` and every control on it, also those added later. The
  // preview belongs to `form`.
  KeyPreview(QWidget& form, std::function<void(int)> handler);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Watch(QObject& object);

  QWidget& form_;
  std::function<void(int)> handler_;
};

}  // namespace quorvel
