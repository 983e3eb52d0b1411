#pragma once

// The message window: one text in a window sized to it, an OK button, and a
// beep. It stays up without holding the program; a new message while it is
// up replaces the text and sizes the same window again.

#include <string>

#include <QDialog>

#include "device/qt/Twips.h"
#include "dialogs/MsgLayout.h"

class QLabel;
class QPushButton;

namespace quorvel {

class MessageWindow : public QDialog {
 public:
  static constexpr const char* kCaption = "Quorvel";

  explicit MessageWindow(QWidget* parent = nullptr);

  void ShowMsg(const std::string& text);
  void cmdOK_Click() { hide(); }

  // The twips the window was last laid out in, and their scale on screen.
  const MsgLayout& Layout() const { return layout_; }
  const Twips& Scale() const { return twips_; }
  QLabel& tb() const { return *tb_; }
  QPushButton& cmdOK() const { return *cmdOK_; }

 private:
  QLabel* tb_;
  QPushButton* cmdOK_;
  MsgLayout layout_;
  Twips twips_;
};

}  // namespace quorvel
