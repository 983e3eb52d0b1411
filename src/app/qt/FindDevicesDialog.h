#pragma once

// Connection > Find devices: asks each slave id of a range on a port that no
// connected window holds, showing progress and every device that answers.
// The scan runs in steps from this dialog's own timer and line notifier, so
// the frame and its other ports go on meanwhile; Cancel closes the line at
// once. Choosing a device found (double-click or Poll) ends the dialog with
// that id.

#include <memory>

#include <QDialog>
#include <QTimer>

#include "app/PortScan.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QSocketNotifier;
class QSpinBox;

namespace quorvel {

class frmQuorvelMain;

class FindDevicesDialog : public QDialog {
  Q_OBJECT
 public:
  FindDevicesDialog(frmQuorvelMain& frame, int com, QWidget* parent = nullptr);
  ~FindDevicesDialog() override;

  // The port and the id chosen, once accepted.
  int Com() const;
  int ChosenId() const { return chosen_; }
  // The scan under way or last run; nullptr before the first.
  const PortScan* Scan() const { return scan_.get(); }

  QComboBox& Port() const { return *port_; }
  QLineEdit& Ids() const { return *ids_; }
  QSpinBox& Timeout() const { return *timeout_; }
  QPushButton& StartButton() const { return *start_; }
  QPushButton& CancelButton() const { return *cancel_; }
  QPushButton& PollButton() const { return *poll_; }
  QProgressBar& Progress() const { return *progress_; }
  QListWidget& Found() const { return *found_; }
  QLabel& Status() const { return *status_; }

 protected:
  void reject() override;

 private:
  void StartScan();
  void StopScan();
  // Runs the scan's due step, then shows where it is and arms the next wake.
  void Serve();
  void ShowProgress();
  void Arm();
  void Choose();

  frmQuorvelMain& frame_;
  QComboBox* port_;
  QLineEdit* ids_;
  QSpinBox* timeout_;
  QPushButton* start_;
  QPushButton* cancel_;
  QPushButton* poll_;
  QPushButton* close_;
  QProgressBar* progress_;
  QListWidget* found_;
  QLabel* status_;
  std::unique_ptr<PortScan> scan_;
  QTimer wake_;
  QSocketNotifier* notifier_ = nullptr;
  int chosen_ = 0;
};

}  // namespace quorvel
