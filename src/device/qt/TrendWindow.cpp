#include "device/qt/TrendWindow.h"

#include <QComboBox>
#include <QDateTime>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>
#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <algorithm>
#include <cmath>

#include "device/ValueColumns.h"
#include "device/ValueLog.h"
#include "platform/AtomicFile.h"

namespace quorvel {
namespace {

QString SpanText(int seconds) {
  if (seconds < 60) return QString("%1 s").arg(seconds);
  if (seconds < 3600) return QString("%1 min").arg(seconds / 60);
  return QString("%1 h").arg(seconds / 3600);
}

// Lower and upper end of an axis for values from `low` to `high`: a little
// room above and below, and a flat line in the middle of a sensible band.
std::pair<double, double> AxisRange(double low, double high) {
  if (high > low) {
    const double pad = (high - low) * 0.05;
    return {low - pad, high + pad};
  }
  const double pad = low == 0 ? 1 : std::abs(low) * 0.05;
  return {low - pad, high + pad};
}

}  // namespace

const std::vector<int>& TrendWindow::Spans() {
  static const std::vector<int> kSpans = {10, 30, 60, 300, 900, 3600, 6 * 3600, 24 * 3600};
  return kSpans;
}

TrendWindow::TrendWindow(frmQuorvel& window, const platform::Clock& clock, QWidget* parent)
    : QWidget(parent, Qt::Window),
      window_(window),
      recorder_(ColumnsOf(window), clock),
      values_(new QListWidget),
      chart_(new QChart),
      view_(new QChartView(chart_)),
      time_(new QDateTimeAxis),
      readOut_(new QLabel) {
  setWindowTitle(QString::fromStdString("Trend - " + window.Caption()));
  window_.AddWatcher(recorder_);

  for (const ValueColumn& column : recorder_.Columns()) {
    auto* item = new QListWidgetItem(QString::fromStdString(column.name), values_);
    item->setFlags(Qt::ItemIsUserCheckable | Qt::ItemIsEnabled);
    item->setCheckState(Qt::Unchecked);
  }
  // The first value plotted at once, so that the chart says what it is for.
  if (values_->count() > 0) {
    values_->item(0)->setCheckState(Qt::Checked);
    values_->setCurrentRow(0);
  }
  connect(values_, &QListWidget::itemChanged, this, [this] { Rebuild(); });
  // Long captions are read whole rather than cut, up to a third of the window.
  values_->setMinimumWidth(values_->sizeHintForColumn(0) + 32);
  values_->setMaximumWidth(std::max(values_->minimumWidth(), 360));

  chart_->legend()->setAlignment(Qt::AlignBottom);
  chart_->setMargins(QMargins(4, 4, 4, 4));
  time_->setTitleText("Time");
  chart_->addAxis(time_, Qt::AlignBottom);
  view_->setRenderHint(QPainter::Antialiasing);
  view_->setMinimumSize(480, 300);

  readOut_->setText("Point at a line to read its values.");
  readOut_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  auto* plot = new QWidget;
  auto* plotLayout = new QVBoxLayout(plot);
  plotLayout->setContentsMargins(0, 0, 0, 0);
  plotLayout->addWidget(view_, 1);
  plotLayout->addWidget(readOut_);
  auto* split = new QSplitter;
  split->addWidget(values_);
  split->addWidget(plot);
  split->setStretchFactor(1, 1);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(MakeBar());
  layout->addWidget(split, 1);

  redraw_.setInterval(kRedrawMs);
  connect(&redraw_, &QTimer::timeout, this, [this] { Redraw(); });
  redraw_.start();
  resize(900, 520);
  Rebuild();
}

TrendWindow::~TrendWindow() { window_.RemoveWatcher(recorder_); }

void TrendWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  // The list has the keys: Space ticks the value at the cursor.
  values_->setFocus();
}

QWidget* TrendWindow::MakeBar() {
  auto* bar = new QWidget;
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  pause_ = new QPushButton("Pause");
  pause_->setCheckable(true);
  connect(pause_, &QPushButton::toggled, this, [this](bool on) { SetPaused(on); });
  span_ = new QComboBox;
  for (const int seconds : Spans()) span_->addItem(SpanText(seconds), seconds);
  span_->setCurrentIndex(span_->findData(spanSeconds_));
  connect(span_, &QComboBox::currentIndexChanged, this, [this] { SetSpanSeconds(span_->currentData().toInt()); });
  auto* png = new QPushButton("Export PNG...");
  connect(png, &QPushButton::clicked, this, [this] { Export(true); });
  auto* csv = new QPushButton("Export CSV...");
  connect(csv, &QPushButton::clicked, this, [this] { Export(false); });
  auto* spanLabel = new QLabel("&Span:");
  spanLabel->setBuddy(span_);
  row->addWidget(pause_);
  row->addSpacing(12);
  row->addWidget(spanLabel);
  row->addWidget(span_);
  row->addStretch(1);
  row->addWidget(png);
  row->addWidget(csv);
  return bar;
}

void TrendWindow::SetSpanSeconds(int seconds) {
  spanSeconds_ = std::clamp(seconds, Spans().front(), Spans().back());
  // A long span moves by less than a pixel between quick redraws: it is
  // redrawn about once a pixel's time, at least every 2 s.
  redraw_.setInterval(std::clamp(spanSeconds_, kRedrawMs, 2000));
  if (const int index = span_->findData(spanSeconds_); index >= 0 && index != span_->currentIndex())
    span_->setCurrentIndex(index);
  Redraw();
}

void TrendWindow::SetPaused(bool paused) {
  if (paused && !paused_) pausedAtMs_ = recorder_.NowMs();
  paused_ = paused;
  if (pause_->isChecked() != paused) pause_->setChecked(paused);
  pause_->setText(paused ? "Resume" : "Pause");
  Redraw();
}

void TrendWindow::SetTicked(std::size_t column, bool ticked) {
  if (QListWidgetItem* item = values_->item(static_cast<int>(column)))
    item->setCheckState(ticked ? Qt::Checked : Qt::Unchecked);
}

std::vector<std::size_t> TrendWindow::Ticked() const {
  std::vector<std::size_t> ticked;
  for (int i = 0; i < values_->count(); ++i)
    if (values_->item(i)->checkState() == Qt::Checked) ticked.push_back(static_cast<std::size_t>(i));
  return ticked;
}

void TrendWindow::Rebuild() {
  for (const Line& line : lines_) chart_->removeSeries(line.series);
  for (const Line& line : lines_) delete line.series;
  for (QValueAxis* axis : axes_) {
    chart_->removeAxis(axis);
    delete axis;
  }
  lines_.clear();
  axes_.clear();
  // One axis per unit; a value without one has its own, titled by its name.
  std::map<std::string, QValueAxis*> byUnit;
  for (const std::size_t column : Ticked()) {
    const ValueColumn& value = recorder_.Columns()[column];
    QValueAxis*& axis = byUnit[value.unit.empty() ? "\n" + value.name : value.unit];
    if (!axis) {
      axis = new QValueAxis;
      axis->setTitleText(QString::fromStdString(value.unit.empty() ? value.name : value.unit));
      axis->setLabelFormat("%.6g");
      chart_->addAxis(axis, axes_.size() % 2 == 0 ? Qt::AlignLeft : Qt::AlignRight);
      axes_.push_back(axis);
    }
    auto* series = new QLineSeries;
    series->setName(QString::fromStdString(value.name));
    chart_->addSeries(series);
    series->attachAxis(time_);
    series->attachAxis(axis);
    connect(series, &QLineSeries::hovered, this, [this, column](const QPointF& point, bool state) {
      if (state) ReadOut(column, point.x());
    });
    lines_.push_back({column, series, axis});
  }
  // An axis of one value wears its line's colour, which says whose it is.
  for (const Line& line : lines_) {
    const auto users = std::count_if(lines_.begin(), lines_.end(), [&](const Line& l) { return l.axis == line.axis; });
    if (users != 1) continue;
    line.axis->setLinePenColor(line.series->color());
    line.axis->setLabelsColor(line.series->color());
    line.axis->setTitleBrush(line.series->color());
  }
  Redraw();
}

double TrendWindow::ShownToMs() const { return paused_ ? pausedAtMs_ : recorder_.NowMs(); }

void TrendWindow::Redraw() {
  const double toMs = ShownToMs();
  const double fromMs = toMs - spanSeconds_ * 1000.0;
  time_->setRange(QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(recorder_.WallMs(fromMs))),
                  QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(recorder_.WallMs(toMs))));
  time_->setFormat(spanSeconds_ <= 3600 ? "hh:mm:ss" : "dd.MM hh:mm");
  time_->setTickCount(6);
  // A point or two per pixel of the plot, whatever the span holds.
  const auto buckets = static_cast<std::size_t>(std::max(chart_->plotArea().width(), 100.0));
  std::map<QValueAxis*, std::pair<double, double>> ranges;
  std::vector<TrendPoint> points;
  for (const Line& line : lines_) {
    points.clear();
    recorder_.Series(line.column).Decimate(fromMs, toMs, buckets, points);
    QList<QPointF> drawn;
    drawn.reserve(static_cast<qsizetype>(points.size()));
    for (const TrendPoint& p : points) {
      drawn.append(QPointF(recorder_.WallMs(p.ms), p.value));
      // The axis fits what lies within the span; the neighbours outside it
      // only carry the line to the edge.
      if (p.ms < fromMs || p.ms > toMs) continue;
      auto [it, fresh] = ranges.try_emplace(line.axis, p.value, p.value);
      if (!fresh) it->second = {std::min(it->second.first, p.value), std::max(it->second.second, p.value)};
    }
    line.series->replace(drawn);
  }
  for (QValueAxis* axis : axes_) {
    const auto found = ranges.find(axis);
    const auto [low, high] =
        found == ranges.end() ? std::pair(0.0, 1.0) : AxisRange(found->second.first, found->second.second);
    axis->setRange(low, high);
    // Round numbers on the ticks, the range widened to them.
    axis->applyNiceNumbers();
  }
}

void TrendWindow::ReadOut(std::size_t column, double wallMs) {
  TrendPoint point;
  if (column >= recorder_.Columns().size() || !recorder_.Series(column).Nearest(wallMs - recorder_.WallMs(0), point))
    return;
  const ValueColumn& value = recorder_.Columns()[column];
  const std::string time = IsoLocalTime(static_cast<std::int64_t>(std::floor(recorder_.WallMs(point.ms))));
  readOut_->setText(QString::fromStdString(value.name + ": " + CellText(point.value) + "   at " +
                                           time.substr(time.find('T') + 1) + "  (" + time.substr(0, 10) + ")"));
}

bool TrendWindow::ExportPng(const QString& file, std::string& error) {
  if (view_->grab().save(file, "PNG")) return true;
  error = "the picture could not be written";
  return false;
}

bool TrendWindow::ExportCsv(const QString& file, std::string& error) {
  const double toMs = ShownToMs();
  return platform::WriteFileAtomically(file.toStdString(), recorder_.Csv(Ticked(), toMs - spanSeconds_ * 1000.0, toMs),
                                       error);
}

void TrendWindow::Export(bool png) {
  const QString title = png ? "Export PNG" : "Export CSV";
  const QString filter = png ? "PNG picture (*.png)" : "CSV file (*.csv)";
  const QString suffix = png ? "png" : "csv";
  QString file;
  if (ChooseSaveFile) {
    file = ChooseSaveFile(title, filter, suffix);
  } else {
    QFileDialog dialog(this, title, QString(), filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(suffix);
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) file = dialog.selectedFiles().front();
  }
  if (file.isEmpty()) return;
  std::string error;
  const bool done = png ? ExportPng(file, error) : ExportCsv(file, error);
  readOut_->setText(done ? "Exported to " + file
                         : "Could not export to " + file + ": " + QString::fromStdString(error));
}

}  // namespace quorvel
