#pragma once

// The trend chart of a device window: the panel's values listed by caption,
// those ticked plotted against time as the answers come, the newest at the
// right edge. The time span shown is chosen (10 s to 24 h), pause holds the
// picture still while the values go on being recorded, each unit has its
// Y axis scaled to what is shown (a value without a unit has its own), and
// the pointer over a line reads out its nearest point. What is shown can be
// exported as a PNG picture or as CSV.
//
// The history lives in the core's TrendRecorder from the moment the window
// opens; each redraw hands the chart only the decimated points of the time
// span, a few per pixel, however many answers that span holds.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <QString>
#include <QTimer>
#include <QWidget>

#include "device/TrendRecorder.h"
#include "device/frmQuorvel.h"

class QChart;
class QChartView;
class QComboBox;
class QDateTimeAxis;
class QLabel;
class QLineSeries;
class QListWidget;
class QPushButton;
class QValueAxis;

namespace quorvel {

class TrendWindow : public QWidget {
  Q_OBJECT
 public:
  // How often a short span is redrawn.
  static constexpr int kRedrawMs = 200;

  TrendWindow(frmQuorvel& window, const platform::Clock& clock, QWidget* parent = nullptr);
  ~TrendWindow() override;

  // The spans offered, in seconds.
  static const std::vector<int>& Spans();
  void SetSpanSeconds(int seconds);
  int SpanSeconds() const { return spanSeconds_; }
  void SetPaused(bool paused);
  bool Paused() const { return paused_; }
  // Ticks or unticks the value of column `column` (as a click on it does).
  void SetTicked(std::size_t column, bool ticked);
  std::vector<std::size_t> Ticked() const;

  // Brings the chart up to the newest answers (the timer's work).
  void Redraw();
  // False, with `error` set, when the file cannot be written.
  bool ExportPng(const QString& file, std::string& error);
  bool ExportCsv(const QString& file, std::string& error);
  // The read-out of the point nearest `wallMs` on the line of `column`.
  void ReadOut(std::size_t column, double wallMs);

  TrendRecorder& Recorder() { return recorder_; }
  QListWidget& Values() const { return *values_; }
  QChartView& View() const { return *view_; }
  QLabel& ReadOutLabel() const { return *readOut_; }
  QPushButton& PauseButton() const { return *pause_; }
  QComboBox& SpanBox() const { return *span_; }

  // Picks the file to export to; tests replace it.
  std::function<QString(const QString& title, const QString& filter, const QString& suffix)> ChooseSaveFile;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* MakeBar();
  // Series and axes for the ticked values, after the ticks change.
  void Rebuild();
  void Export(bool png);
  // The time window shown, in the recorder's milliseconds.
  double ShownToMs() const;

  frmQuorvel& window_;
  TrendRecorder recorder_;
  QListWidget* values_;
  QChart* chart_;
  QChartView* view_;
  QDateTimeAxis* time_;
  QLabel* readOut_;
  QPushButton* pause_ = nullptr;
  QComboBox* span_ = nullptr;
  QTimer redraw_;
  int spanSeconds_ = 60;
  bool paused_ = false;
  double pausedAtMs_ = 0;
  struct Line {
    std::size_t column;
    QLineSeries* series;
    QValueAxis* axis;
  };
  std::vector<Line> lines_;
  std::vector<QValueAxis*> axes_;
};

}  // namespace quorvel
