#pragma once

// The one-line editor that opens over a value label. Enter and Escape go to
// the window as its key codes (13 and 27); every other key edits the text.

#include <functional>

#include <QLineEdit>

namespace quorvel {

class EntryEdit : public QLineEdit {
 public:
  static constexpr int kEnter = 13;
  static constexpr int kEscape = 27;

  explicit EntryEdit(QWidget* parent = nullptr);
  void OnKey(std::function<void(int)> handler) { onKey_ = std::move(handler); }

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  std::function<void(int)> onKey_;
};

}  // namespace quorvel
