#pragma once

// File > New poll: what to poll (slave id, function, block, display type,
// period) and on which port. It only gathers the choice; the caller opens it.

#include <QDialog>

#include "app/QuickPollWindow.h"

class QComboBox;
class QPushButton;
class QSpinBox;

namespace quorvel {

class NewPollDialog : public QDialog {
  Q_OBJECT
 public:
  explicit NewPollDialog(const QuickPollTarget& preset, QWidget* parent = nullptr);

  QuickPollTarget Target() const;

  QSpinBox& SlaveId() const { return *id_; }
  QComboBox& Function() const { return *function_; }
  QSpinBox& Start() const { return *start_; }
  QSpinBox& Quantity() const { return *quantity_; }
  QComboBox& Type() const { return *type_; }
  QSpinBox& Period() const { return *period_; }
  QComboBox& Port() const { return *port_; }
  QPushButton& Ok() const { return *ok_; }

 private:
  // Coils and discrete inputs are shown as bit groups, registers as numbers:
  // the type list and the largest block follow the function.
  void FunctionChanged();

  QSpinBox* id_;
  QComboBox* function_;
  QSpinBox* start_;
  QSpinBox* quantity_;
  QComboBox* type_;
  QSpinBox* period_;
  QComboBox* port_;
  QPushButton* ok_;
  QPushButton* cancel_;
};

}  // namespace quorvel
