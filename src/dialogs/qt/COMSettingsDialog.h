#pragma once

// The COM settings dialog on screen. Every change the user makes goes into
// the dialog's model and through the model's event; the controls then show
// what the model holds, so the rules stay in one place.

#include <QDialog>

#include "dialogs/frmCOMSettings.h"

class QCheckBox;
class QComboBox;
class QPushButton;
class QRadioButton;

namespace quorvel {

class COMSettingsDialog : public QDialog {
 public:
  // `model` must outlive the dialog.
  explicit COMSettingsDialog(frmCOMSettings& model, QWidget* parent = nullptr);

  // Fills the model from the port table for port `com` and opens the dialog,
  // modal, without waiting for it to close.
  void ShowForm(int com);
  // Shows what the model holds.
  void Refresh();

  frmCOMSettings& Model() { return model_; }

  // The controls, for the frame that wires them and for tests.
  QComboBox& cmbCOM() const { return *cmbCOM_; }
  QCheckBox& chkAvailable() const { return *chkAvailable_; }
  QComboBox& cmbPath() const { return *cmbPath_; }
  QComboBox& cmbBaudRate() const { return *cmbBaudRate_; }
  QComboBox& cmbParity() const { return *cmbParity_; }
  QComboBox& cmbStopBits() const { return *cmbStopBits_; }
  QRadioButton& optRTU() const { return *optRTU_; }
  QRadioButton& optASCII() const { return *optASCII_; }
  QCheckBox& chkASCII8bits() const { return *chkASCII8bits_; }
  QCheckBox& chkDTR() const { return *chkDTR_; }
  QCheckBox& chkRTSToggle() const { return *chkRTSToggle_; }
  QComboBox& cmbTiming() const { return *cmbTiming_; }
  QCheckBox& chkEcho() const { return *chkEcho_; }
  QPushButton& cmdOK() const { return *cmdOK_; }
  QPushButton& cmdCancel() const { return *cmdCancel_; }

  // The title bar's close button cancels.
  void reject() override;

 private:
  void BuildControls();
  void Connect();
  // The controls' state into the model's fields, then the store event.
  void StoreControls();

  frmCOMSettings& model_;
  // Set while the controls are being filled from the model, whose changes
  // must not flow back into it.
  bool refreshing_ = false;
  QComboBox* cmbCOM_;
  QCheckBox* chkAvailable_;
  QComboBox* cmbPath_;
  QComboBox* cmbBaudRate_;
  QComboBox* cmbParity_;
  QComboBox* cmbStopBits_;
  QRadioButton* optRTU_;
  QRadioButton* optASCII_;
  QCheckBox* chkASCII8bits_;
  QCheckBox* chkDTR_;
  QCheckBox* chkRTSToggle_;
  QComboBox* cmbTiming_;
  QCheckBox* chkEcho_;
  QPushButton* cmdOK_;
  QPushButton* cmdCancel_;
};

}  // namespace quorvel
