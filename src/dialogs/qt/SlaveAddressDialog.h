#pragma once

// The master/slave settings dialog on screen: the address, time-out and
// character interval fields of one device window. The model checks and
// applies them; a refused address keeps the dialog open.

#include <QDialog>

#include "dialogs/frmSlaveAddress.h"

class QLineEdit;
class QPushButton;

namespace quorvel {

class SlaveAddressDialog : public QDialog {
 public:
  // `model` must outlive the dialog.
  explicit SlaveAddressDialog(frmSlaveAddress& model, QWidget* parent = nullptr);

  // Hands the model `window` and opens the dialog, modal, without waiting
  // for it to close.
  void ID(frmQuorvel& window);
  // Shows what the model holds.
  void Refresh();

  frmSlaveAddress& Model() { return model_; }
  QLineEdit& tbID() const { return *tbID_; }
  QLineEdit& tbTimeout() const { return *tbTimeout_; }
  QLineEdit& tbInterval() const { return *tbInterval_; }
  QPushButton& cmdOK() const { return *cmdOK_; }
  QPushButton& cmdCancel() const { return *cmdCancel_; }

  void reject() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  // Closes the dialog once the model has hidden itself.
  void Follow(int result);

  frmSlaveAddress& model_;
  QLineEdit* tbID_;
  QLineEdit* tbTimeout_;
  QLineEdit* tbInterval_;
  QPushButton* cmdOK_;
  QPushButton* cmdCancel_;
};

}  // namespace quorvel
