#include "app/qt/FindDevicesDialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSocketNotifier>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "app/frmQuorvelMain.h"
#include "dialogs/qt/FormLayout.h"
#include "serial/NetworkLines.h"

namespace quorvel {
namespace {

// The longest the dialog sleeps while scanning, whatever the port says.
constexpr double kWakeCapMs = 100;

}  // namespace

FindDevicesDialog::FindDevicesDialog(frmQuorvelMain& frame, int com, QWidget* parent)
    : QDialog(parent),
      frame_(frame),
      port_(new QComboBox(this)),
      ids_(new QLineEdit("1-247", this)),
      timeout_(new QSpinBox(this)),
      start_(new QPushButton("&Start", this)),
      cancel_(new QPushButton("Cancel", this)),
      poll_(new QPushButton("&Poll...", this)),
      close_(new QPushButton("Close", this)),
      progress_(new QProgressBar(this)),
      found_(new QListWidget(this)),
      status_(new QLabel(this)) {
  setWindowTitle("Find Devices");
  for (int c = 1; c <= 16; ++c) port_->addItem(QString("COM%1").arg(c), c);
  port_->setCurrentIndex(std::clamp(com, 1, 16) - 1);
  ids_->setToolTip("Slave ids 1 to 247, as 1-247 or 1,5,10-20");
  timeout_->setRange(10, 60'000);
  timeout_->setValue(200);
  timeout_->setSuffix(" ms");
  timeout_->setToolTip("How long each id is waited for");
  progress_->setRange(0, 100);
  progress_->setValue(0);
  status_->setWordWrap(true);
  found_->setMinimumHeight(found_->fontMetrics().height() * 8);

  auto* grid = new QGridLayout;
  AddCaptionedRow(*grid, 0, "P&ort:", port_);
  AddCaptionedRow(*grid, 1, "Slave &ids:", ids_);
  AddCaptionedRow(*grid, 2, "&Timeout:", timeout_);
  grid->setColumnStretch(1, 1);
  auto* run = new QHBoxLayout;
  run->addWidget(progress_, 1);
  run->addWidget(start_);
  run->addWidget(cancel_);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(poll_);
  buttons->addWidget(close_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(grid);
  layout->addLayout(run);
  layout->addWidget(status_);
  layout->addWidget(new QLabel("Devices found:", this));
  layout->addWidget(found_, 1);
  layout->addLayout(buttons);
  setMinimumWidth(fontMetrics().averageCharWidth() * 48);

  for (QPushButton* button : {start_, cancel_, poll_, close_}) button->setAutoDefault(false);
  start_->setDefault(true);
  cancel_->setEnabled(false);
  poll_->setEnabled(false);
  connect(start_, &QPushButton::clicked, this, [this] { StartScan(); });
  connect(cancel_, &QPushButton::clicked, this, [this] { StopScan(); });
  connect(close_, &QPushButton::clicked, this, &QDialog::reject);
  connect(poll_, &QPushButton::clicked, this, [this] { Choose(); });
  connect(found_, &QListWidget::itemDoubleClicked, this, [this] { Choose(); });
  connect(found_, &QListWidget::currentRowChanged, this, [this](int row) { poll_->setEnabled(row >= 0); });
  wake_.setSingleShot(true);
  wake_.setTimerType(Qt::PreciseTimer);
  connect(&wake_, &QTimer::timeout, this, [this] { Serve(); });
}

FindDevicesDialog::~FindDevicesDialog() { StopScan(); }

int FindDevicesDialog::Com() const { return port_->currentData().toInt(); }

void FindDevicesDialog::StartScan() {
  StopScan();
  std::string error;
  const auto ids = ParseIdList(ids_->text().trimmed().toStdString(), error);
  if (!ids) {
    status_->setText(QString::fromStdString(error));
    return;
  }
  const int com = Com();
  const PortEntry& entry = frame_.Port(com);
  // Two port objects on one line would read each other's answers.
  if (entry.State == PortEntry::kOpen || entry.Connections > 0) {
    status_->setText(QString("COM%1 is in use by a connected window: disconnect it first.").arg(com));
    return;
  }
  found_->clear();
  const platform::PortMap& map = frame_.PortMap();
  scan_ = std::make_unique<PortScan>(
      entry, com, *ids, timeout_->value(), frame_.clock(),
      [&map](int c) -> std::unique_ptr<platform::SerialLine> { return LineForPath(map.Path(c)); });
  scan_->Start();
  Serve();
}

void FindDevicesDialog::StopScan() {
  wake_.stop();
  delete notifier_;
  notifier_ = nullptr;
  if (scan_ && scan_->state() == PortScan::State::Running) {
    scan_->Cancel();
    ShowProgress();
  }
}

void FindDevicesDialog::reject() {
  // Esc and Close end a scan under way too.
  StopScan();
  QDialog::reject();
}

void FindDevicesDialog::Serve() {
  if (!scan_) return;
  scan_->Serve();
  ShowProgress();
  Arm();
}

void FindDevicesDialog::Arm() {
  if (scan_->state() != PortScan::State::Running) {
    StopScan();
    return;
  }
  const int fd = scan_->Descriptor();
  if (notifier_ && static_cast<int>(notifier_->socket()) != fd) {
    delete notifier_;
    notifier_ = nullptr;
  }
  if (fd >= 0 && !notifier_) {
    notifier_ = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] { Serve(); });
  }
  const double waitMs = std::clamp(scan_->NextDeadlineMs() - frame_.clock().GetTimeMs(), 0.0, kWakeCapMs);
  // Whole milliseconds, rounded up: waking before the deadline finds nothing to do.
  wake_.start(static_cast<int>(std::ceil(waitMs)));
}

void FindDevicesDialog::ShowProgress() {
  const DeviceScan& scan = scan_->Scan();
  progress_->setValue(scan.Percent());
  for (std::size_t i = static_cast<std::size_t>(found_->count()); i < scan.Hits().size(); ++i) {
    const ScanHit& hit = scan.Hits()[i];
    auto* item = new QListWidgetItem(QString("ID %1: %2").arg(hit.id).arg(QString::fromStdString(hit.what)), found_);
    item->setData(Qt::UserRole, hit.id);
  }
  const bool running = scan_->state() == PortScan::State::Running;
  start_->setEnabled(!running);
  cancel_->setEnabled(running);
  port_->setEnabled(!running);
  const QString count = QString::number(scan.Hits().size());
  switch (scan_->state()) {
    case PortScan::State::Running:
      status_->setText(QString("Asking ID %1... %2 found").arg(scan.Done() ? 0 : scan.CurrentId()).arg(count));
      break;
    case PortScan::State::Finished:
      status_->setText(QString("Done: %1 found").arg(count));
      break;
    case PortScan::State::Cancelled:
      status_->setText(QString("Cancelled: %1 found").arg(count));
      break;
    case PortScan::State::Failed:
      status_->setText(QString::fromStdString(scan_->Problem()));
      break;
  }
}

void FindDevicesDialog::Choose() {
  const QListWidgetItem* item = found_->currentItem();
  if (!item) return;
  StopScan();
  chosen_ = item->data(Qt::UserRole).toInt();
  accept();
}

}  // namespace quorvel
