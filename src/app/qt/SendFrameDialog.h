#pragma once

// "Send frame...": hex bytes typed by hand, sealed for the port's framing
// (unless the checksum box is cleared) and sent once or every so many
// milliseconds. The answer shows in the Traffic window like any other frame.

#include <functional>

#include <QDialog>
#include <QTimer>

#include "app/HandFrame.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace quorvel {

class SendFrameDialog : public QDialog {
  Q_OBJECT
 public:
  // `ascii` tells the port's framing as it is when a frame is sealed.
  SendFrameDialog(FramePort& port, const platform::Clock& clock, std::function<bool()> ascii,
                  QWidget* parent = nullptr);

  QLineEdit& Bytes() const { return *bytes_; }
  QCheckBox& AddChecksum() const { return *checksum_; }
  QLabel& Frame() const { return *frame_; }
  QLabel& Status() const { return *status_; }
  const HandFrameSender& Sender() const { return sender_; }
  void Tick();

 protected:
  void hideEvent(QHideEvent* event) override;

 private:
  // The typed text sealed; shown under the field as it is typed.
  std::optional<std::vector<std::uint8_t>> Sealed(std::string& error) const;
  void ShowFrame();
  void Start();
  void Stop();

  FramePort& port_;
  std::function<bool()> ascii_;
  HandFrameSender sender_;
  QLineEdit* bytes_;
  QCheckBox* checksum_;
  QLabel* frame_;
  QCheckBox* repeat_;
  QSpinBox* period_;
  QPushButton* send_;
  QPushButton* stop_;
  QLabel* status_;
  QTimer timer_;
};

}  // namespace quorvel
