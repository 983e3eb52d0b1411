#pragma once

// The Traffic window of one port: every frame the port sent and received as
// a table, newest last, with pause, clear, a filter, copy, save and frames
// sent by hand. The rows come from the port's traffic log in batches on a
// timer; the table follows the newest unless the user has scrolled up.

#include <functional>
#include <memory>

#include <QString>
#include <QTimer>
#include <QWidget>

#include "app/HandFrame.h"
#include "app/TrafficView.h"
#include "platform/Clock.h"
#include "serial/PortEntry.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTableView;

namespace quorvel {

class SendFrameDialog;
class TrafficTableModel;

class TrafficWindow : public QWidget {
  Q_OBJECT
 public:
  // How often the table takes the log's new records.
  static constexpr int kBatchMs = 100;

  // The window of port `com`, whose record is `entry` (its log is made if the
  // port has not opened yet). Sent frames go through `port`.
  TrafficWindow(PortEntry& entry, int com, std::unique_ptr<FramePort> port, const platform::Clock& clock,
                QWidget* parent = nullptr);
  ~TrafficWindow() override;

  // Takes the log's new records now (the timer's work).
  void Sync();
  // Saves the shown rows to `file`: CSV for a name ending in .csv, otherwise
  // the log's text lines. False, with `error` set, when it cannot be written.
  bool Save(const QString& file, std::string& error);
  // The selected rows, tab-separated, to the clipboard.
  void CopySelection();

  TrafficView& View() { return view_; }
  QTableView& Table() const { return *table_; }
  QCheckBox& ErrorsOnly() const { return *errorsOnly_; }
  QSpinBox& Slave() const { return *slave_; }
  QComboBox& Function() const { return *function_; }
  QPushButton& Pause() const { return *pause_; }
  QPushButton& SendFrame() const { return *send_; }
  QLabel& Status() const { return *status_; }

  // Picks the file to save to (a file dialog); tests replace it.
  std::function<QString()> ChooseSaveFile;

 private:
  QWidget* MakeBar();
  void ApplyFilter();
  void ShowStatus();
  void SaveChosen();
  void OpenSendFrame();

  PortEntry& entry_;
  TrafficView view_;
  std::unique_ptr<FramePort> port_;
  const platform::Clock& clock_;
  TrafficTableModel* model_;
  QTableView* table_;
  QPushButton* pause_ = nullptr;
  QSpinBox* slave_ = nullptr;
  QComboBox* function_ = nullptr;
  QCheckBox* errorsOnly_ = nullptr;
  QCheckBox* follow_ = nullptr;
  QPushButton* send_ = nullptr;
  QLabel* status_;
  QTimer batch_;
  SendFrameDialog* sendDialog_ = nullptr;
  QString saveNote_;  // the last save's outcome, shown until the next
};

}  // namespace quorvel
