#pragma once

// "Log values...": where a device window's values are logged (a CSV file) and
// whether a row is written only when a value changed or for every answer.

#include <QDialog>

class QLineEdit;
class QRadioButton;

namespace quorvel {

class ValueLogDialog : public QDialog {
  Q_OBJECT
 public:
  // `suggested`: the file offered first.
  ValueLogDialog(const QString& suggested, QWidget* parent = nullptr);

  QString File() const;
  bool EveryAnswer() const;
  QLineEdit& FileEdit() const { return *file_; }
  QRadioButton& EveryAnswerButton() const { return *every_; }

 private:
  void Browse();

  QLineEdit* file_;
  QRadioButton* changes_;
  QRadioButton* every_;
};

}  // namespace quorvel
