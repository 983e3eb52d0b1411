#include "app/qt/TrafficWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSpinBox>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>

#include "app/qt/SendFrameDialog.h"
#include "app/qt/TrafficTableModel.h"
#include "modbus/FrameDecode.h"
#include "platform/AtomicFile.h"

namespace quorvel {
namespace {

// The functions the filter offers: those the master and slave know.
constexpr int kFunctions[] = {1, 2, 3, 4, 5, 6, 15, 16, 22, 23};

// A port that has never been open has no log yet; its Traffic window makes
// it, and the port records into it once it opens.
std::shared_ptr<TrafficLog> LogOf(PortEntry& entry) {
  if (!entry.Traffic) entry.Traffic = std::make_shared<TrafficLog>();
  return entry.Traffic;
}

}  // namespace

TrafficWindow::TrafficWindow(PortEntry& entry, int com, std::unique_ptr<FramePort> port, const platform::Clock& clock,
                             QWidget* parent)
    : QWidget(parent, Qt::Window),
      entry_(entry),
      view_(LogOf(entry), com),
      port_(std::move(port)),
      clock_(clock),
      model_(new TrafficTableModel(view_, this)),
      table_(new QTableView),
      status_(new QLabel) {
  setWindowTitle(QString("Traffic COM%1").arg(com));
  setAttribute(Qt::WA_DeleteOnClose, false);

  table_->setModel(model_);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setWordWrap(false);
  table_->setAlternatingRowColors(false);
  table_->verticalHeader()->setVisible(false);
  // Fixed row heights: ten thousand rows must not be measured one by one.
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 6);
  QHeaderView* header = table_->horizontalHeader();
  header->setStretchLastSection(true);
  header->setHighlightSections(false);
  // Widths for the text the columns hold, set once: measuring every batch
  // would cost more than the rows themselves.
  const QFontMetrics normal = table_->fontMetrics();
  const QFontMetrics fixed(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  const int pad = 16;
  header->resizeSection(int(TrafficColumn::Time), normal.horizontalAdvance("00:00:00.000") + pad);
  header->resizeSection(int(TrafficColumn::Port), normal.horizontalAdvance("COM16") + pad);
  header->resizeSection(int(TrafficColumn::Direction), normal.horizontalAdvance("Dir") + pad);
  header->resizeSection(int(TrafficColumn::Verdict), normal.horizontalAdvance("frame error") + pad);
  // A request and a short answer in full; longer answers are elided, and
  // the summary beside them says what they carry.
  header->resizeSection(int(TrafficColumn::Bytes), fixed.horizontalAdvance(QString(15 * 3, 'F')) + pad);
  header->resizeSection(int(TrafficColumn::Slave), normal.horizontalAdvance("Slave") + pad);
  header->resizeSection(int(TrafficColumn::Function), normal.horizontalAdvance("Read Holding Registers") + pad);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 6, 6, 6);
  layout->setSpacing(4);
  layout->addWidget(MakeBar());
  layout->addWidget(table_, 1);
  layout->addWidget(status_);

  auto* copy = new QShortcut(QKeySequence::Copy, table_);
  connect(copy, &QShortcut::activated, this, [this] { CopySelection(); });

  ChooseSaveFile = [this] {
    return QFileDialog::getSaveFileName(this, "Save Traffic", QString("traffic-COM%1.txt").arg(view_.Com()),
                                        "Text (*.txt);;CSV (*.csv)");
  };

  batch_.setInterval(kBatchMs);
  connect(&batch_, &QTimer::timeout, this, [this] { Sync(); });
  batch_.start();
  resize(1100, 520);
  Sync();
}

TrafficWindow::~TrafficWindow() = default;

QWidget* TrafficWindow::MakeBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);

  pause_ = new QPushButton("Pause");
  pause_->setCheckable(true);
  connect(pause_, &QPushButton::toggled, this, [this](bool paused) {
    view_.SetPaused(paused);
    pause_->setText(paused ? "Resume" : "Pause");
    if (!paused) Sync();
    ShowStatus();
  });
  auto* clear = new QPushButton("Clear");
  connect(clear, &QPushButton::clicked, this, [this] {
    model_->Clear();
    ShowStatus();
  });
  row->addWidget(pause_);
  row->addWidget(clear);
  row->addSpacing(12);

  slave_ = new QSpinBox;
  slave_->setRange(-1, 255);
  slave_->setValue(-1);
  slave_->setSpecialValueText("any");
  slave_->setToolTip("Show only the frames of this slave");
  function_ = new QComboBox;
  function_->addItem("any", -1);
  for (const int f : kFunctions)
    function_->addItem(QString("%1 %2").arg(f).arg(QString::fromStdString(MODBUS::FunctionName(f))), f);
  errorsOnly_ = new QCheckBox("Errors only");
  errorsOnly_->setToolTip("Frame errors, time-outs and exception answers");
  follow_ = new QCheckBox("Follow newest");
  follow_->setChecked(true);
  follow_->setToolTip("Keep the newest frame in sight, unless scrolled up");
  connect(slave_, &QSpinBox::valueChanged, this, [this] { ApplyFilter(); });
  connect(function_, &QComboBox::currentIndexChanged, this, [this] { ApplyFilter(); });
  connect(errorsOnly_, &QCheckBox::toggled, this, [this] { ApplyFilter(); });
  connect(follow_, &QCheckBox::toggled, this, [this](bool on) {
    if (on) table_->scrollToBottom();
  });
  row->addWidget(new QLabel("Slave:"));
  row->addWidget(slave_);
  row->addWidget(new QLabel("Function:"));
  row->addWidget(function_);
  row->addWidget(errorsOnly_);
  row->addSpacing(12);
  row->addWidget(follow_);
  row->addStretch(1);

  auto* copy = new QPushButton("Copy");
  copy->setToolTip("Copy the selected rows, tab-separated");
  connect(copy, &QPushButton::clicked, this, [this] { CopySelection(); });
  auto* save = new QPushButton("Save...");
  connect(save, &QPushButton::clicked, this, [this] { SaveChosen(); });
  send_ = new QPushButton("Send frame...");
  send_->setToolTip("Send a frame typed in hex; the port must be open and between its own requests");
  connect(send_, &QPushButton::clicked, this, [this] { OpenSendFrame(); });
  row->addWidget(copy);
  row->addWidget(save);
  row->addWidget(send_);
  return bar;
}

void TrafficWindow::Sync() {
  QScrollBar* scroll = table_->verticalScrollBar();
  // Following stops while the user looks further up, and takes up again
  // once they scroll back to the end.
  const bool atEnd = scroll->value() >= scroll->maximum();
  if (model_->Sync() > 0 && follow_->isChecked() && atEnd) table_->scrollToBottom();
  // A frame goes by hand only when the port is free for it.
  send_->setEnabled(port_ && port_->CanSend());
  ShowStatus();
}

void TrafficWindow::ApplyFilter() {
  TrafficFilter filter;
  filter.slave = slave_->value();
  filter.function = function_->currentData().toInt();
  filter.errorsOnly = errorsOnly_->isChecked();
  model_->SetFilter(filter);
  if (follow_->isChecked()) table_->scrollToBottom();
  ShowStatus();
}

void TrafficWindow::ShowStatus() {
  QString text = QString("%1 of %2 frames shown").arg(view_.RowCount()).arg(view_.Taken());
  if (view_.Paused()) text += "  ·  paused";
  if (!saveNote_.isEmpty()) text += "  ·  " + saveNote_;
  if (status_->text() != text) status_->setText(text);
}

void TrafficWindow::CopySelection() {
  QModelIndexList selected = table_->selectionModel()->selectedRows();
  std::vector<std::size_t> rows;
  rows.reserve(static_cast<std::size_t>(selected.size()));
  for (const QModelIndex& index : selected) rows.push_back(static_cast<std::size_t>(index.row()));
  std::sort(rows.begin(), rows.end());
  if (rows.empty()) return;
  QApplication::clipboard()->setText(QString::fromStdString(view_.CopyText(rows)));
}

bool TrafficWindow::Save(const QString& file, std::string& error) {
  const bool csv = file.endsWith(".csv", Qt::CaseInsensitive);
  return platform::WriteFileAtomically(file.toStdString(), csv ? view_.Csv() : view_.Text(), error);
}

void TrafficWindow::SaveChosen() {
  const QString file = ChooseSaveFile ? ChooseSaveFile() : QString();
  if (file.isEmpty()) return;
  std::string error;
  saveNote_ = Save(file, error) ? QString("saved %1 rows to %2").arg(view_.RowCount()).arg(file)
                                : QString("not saved: %1").arg(QString::fromStdString(error));
  ShowStatus();
}

void TrafficWindow::OpenSendFrame() {
  if (!sendDialog_)
    sendDialog_ = new SendFrameDialog(
        *port_, clock_, [this] { return entry_.ASCII; }, this);
  sendDialog_->show();
  sendDialog_->raise();
  sendDialog_->activateWindow();
}

}  // namespace quorvel
