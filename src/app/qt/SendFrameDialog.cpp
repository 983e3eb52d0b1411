#include "app/qt/SendFrameDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "modbus/FrameDecode.h"

namespace quorvel {
namespace {

// How often a running sender looks whether a frame is due: fine enough for
// the shortest period offered.
constexpr int kTickMs = 5;

}  // namespace

SendFrameDialog::SendFrameDialog(FramePort& port, const platform::Clock& clock, std::function<bool()> ascii,
                                 QWidget* parent)
    : QDialog(parent),
      port_(port),
      ascii_(std::move(ascii)),
      sender_(port, clock),
      bytes_(new QLineEdit),
      checksum_(new QCheckBox),
      frame_(new QLabel),
      repeat_(new QCheckBox("Repeat every")),
      period_(new QSpinBox),
      send_(new QPushButton("Send")),
      stop_(new QPushButton("Stop")),
      status_(new QLabel) {
  setWindowTitle("Send Frame");
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  bytes_->setFont(fixed);
  bytes_->setPlaceholderText("01 03 00 00 00 0A");
  bytes_->setMinimumWidth(QFontMetrics(fixed).horizontalAdvance(QString(40, 'F')));
  checksum_->setChecked(true);
  frame_->setFont(fixed);
  frame_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  frame_->setWordWrap(true);
  period_->setRange(10, 600000);
  period_->setValue(1000);
  period_->setSuffix(" ms");
  period_->setEnabled(false);
  stop_->setEnabled(false);
  status_->setWordWrap(true);

  auto* form = new QFormLayout;
  form->addRow("Bytes (hex):", bytes_);
  form->addRow("", checksum_);
  form->addRow("On the wire:", frame_);
  auto* repeatRow = new QHBoxLayout;
  repeatRow->addWidget(repeat_);
  repeatRow->addWidget(period_);
  repeatRow->addStretch(1);
  form->addRow("", repeatRow);

  auto* buttons = new QDialogButtonBox;
  buttons->addButton(send_, QDialogButtonBox::ActionRole);
  buttons->addButton(stop_, QDialogButtonBox::ActionRole);
  buttons->addButton(QDialogButtonBox::Close);
  send_->setDefault(true);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(status_);
  layout->addWidget(buttons);

  connect(bytes_, &QLineEdit::textChanged, this, [this] { ShowFrame(); });
  connect(checksum_, &QCheckBox::toggled, this, [this] { ShowFrame(); });
  connect(repeat_, &QCheckBox::toggled, period_, &QSpinBox::setEnabled);
  connect(send_, &QPushButton::clicked, this, [this] { Start(); });
  connect(stop_, &QPushButton::clicked, this, [this] { Stop(); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  timer_.setInterval(kTickMs);
  connect(&timer_, &QTimer::timeout, this, [this] { Tick(); });
  ShowFrame();
}

std::optional<std::vector<std::uint8_t>> SendFrameDialog::Sealed(std::string& error) const {
  return SealHandFrame(bytes_->text().toStdString(), ascii_(), checksum_->isChecked(), error);
}

void SendFrameDialog::ShowFrame() {
  const bool ascii = ascii_();
  checksum_->setText(ascii ? "Add the LRC" : "Add the CRC");
  if (bytes_->text().trimmed().isEmpty()) {
    frame_->setText("");
    return;
  }
  std::string error;
  const auto wire = Sealed(error);
  if (!wire)
    frame_->setText(QString::fromStdString(error));
  else if (ascii)
    frame_->setText(QString::fromLatin1(reinterpret_cast<const char*>(wire->data()), int(wire->size())).trimmed());
  else
    frame_->setText(QString::fromStdString(MODBUS::HexBytes(*wire)));
}

void SendFrameDialog::Start() {
  std::string error;
  auto wire = Sealed(error);
  if (!wire) {
    status_->setText(QString::fromStdString(error));
    return;
  }
  sender_.Start(std::move(*wire), repeat_->isChecked() ? period_->value() : 0);
  stop_->setEnabled(repeat_->isChecked());
  timer_.start();
  Tick();
}

void SendFrameDialog::Stop() {
  sender_.Stop();
  timer_.stop();
  stop_->setEnabled(false);
}

void SendFrameDialog::Tick() {
  const int refusedBefore = sender_.Refused();
  sender_.Tick();
  if (sender_.Refused() > refusedBefore) {
    // A port that refuses once refuses every time: a repeat stops.
    Stop();
    status_->setText("Not sent: " + QString::fromStdString(sender_.Refusal()));
    return;
  }
  if (!sender_.Active()) Stop();
  QString text = QString("Sent %1 frame%2.").arg(sender_.Sent()).arg(sender_.Sent() == 1 ? "" : "s");
  if (sender_.Active() && !port_.CanSend()) text += " Waiting for the port to be free.";
  if (sender_.Sent() > 0 || sender_.Active()) status_->setText(text);
}

void SendFrameDialog::hideEvent(QHideEvent* event) {
  // Closing the dialog stops a repeat: nothing sends out of sight.
  Stop();
  QDialog::hideEvent(event);
}

}  // namespace quorvel
