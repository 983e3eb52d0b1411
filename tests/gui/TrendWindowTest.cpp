// The trend window of a polled device: ticking a value draws its line from
// the history kept since the window opened, pause holds the picture, the
// read-out names the nearest point, and the exports give a picture that is
// not blank and the CSV of what is shown.

#include <gtest/gtest.h>

#include <QColor>
#include <QComboBox>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QtCharts/QChartView>
#include <cstring>
#include <set>

#include "../device/Answers.h"
#include "../device/FakeHost.h"
#include "device/qt/TrendWindow.h"

namespace quorvel::testing {
namespace {

struct PolledSample : ::testing::Test {
  FakeHost host;
  platform::ManualClock clock{1'000'000'000};
  frmQuorvel window{host};
  std::unique_ptr<TrendWindow> trend;

  void SetUp() override {
    ASSERT_TRUE(window.SetProjectFile(QUORVEL_BIN_DIR "/Coriolis.qvc"));
    trend = std::make_unique<TrendWindow>(window, clock);
    trend->show();
  }

  // The first request (holding registers 0..25) answered with the mass flow
  // (a float in registers 0 and 1) at `flow`, the rest 0.
  void AnswerFlow(float flow) {
    std::vector<std::uint16_t> registers(static_cast<std::size_t>(window.Requests.at(0)->ReadQnt()));
    std::uint32_t bits;
    std::memcpy(&bits, &flow, sizeof bits);
    // The low word first, as the meter sends its floats.
    registers[0] = static_cast<std::uint16_t>(bits);
    registers[1] = static_cast<std::uint16_t>(bits >> 16);
    AnswerRegisters(window, 0, registers);
  }

  std::size_t Column(const std::string& name) {
    const auto& columns = trend->Recorder().Columns();
    for (std::size_t i = 0; i < columns.size(); ++i)
      if (columns[i].name == name) return i;
    throw std::out_of_range(name);
  }
};

TEST_F(PolledSample, TickedValueIsDrawnAndExportedAsAPictureThatIsNotBlank) {
  EXPECT_EQ(trend->Values().item(0)->text().toStdString(), "Mass flow [kg/h]");
  // 30 s of answers, ten a second, rising and falling.
  for (int i = 0; i < 300; ++i) {
    AnswerFlow(static_cast<float>(100 + (i % 50) * 2));
    clock.AdvanceMs(100);
  }
  const std::size_t flow = Column("Mass flow [kg/h]");
  ASSERT_EQ(trend->Recorder().Series(flow).Size(), 300u);
  EXPECT_EQ(trend->Recorder().Series(flow).Newest().value, 198);
  trend->SetTicked(flow, true);
  EXPECT_EQ(trend->Ticked(), std::vector<std::size_t>{flow});
  trend->Redraw();
  QTest::qWait(50);

  QTemporaryDir dir;
  const QString png = dir.filePath("trend.png");
  std::string error;
  ASSERT_TRUE(trend->ExportPng(png, error)) << error;
  const QImage image(png);
  ASSERT_FALSE(image.isNull());
  std::set<QRgb> colours;
  for (int y = 0; y < image.height(); y += 2)
    for (int x = 0; x < image.width(); x += 2) colours.insert(image.pixel(x, y));
  EXPECT_GT(colours.size(), 8u) << "a chart with axes, labels and a line, not one flat colour";

  // The CSV holds the span shown: the last minute, every answer of it.
  const QString csv = dir.filePath("trend.csv");
  ASSERT_TRUE(trend->ExportCsv(csv, error)) << error;
  QFile file(csv);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QList<QByteArray> lines = file.readAll().split('\n');
  EXPECT_EQ(lines.front().trimmed().toStdString(), "time,Mass flow [kg/h]");
  EXPECT_EQ(lines.size(), 1 + 300 + 1);  // header, rows, nothing after the last CR LF
}

TEST_F(PolledSample, PauseHoldsThePictureAndTheReadOutNamesAPoint) {
  AnswerFlow(5);
  clock.AdvanceMs(1000);
  trend->SetTicked(0, true);
  trend->PauseButton().click();
  EXPECT_TRUE(trend->Paused());
  EXPECT_EQ(trend->PauseButton().text(), "Resume");
  AnswerFlow(7);  // recorded while paused, shown after
  EXPECT_EQ(trend->Recorder().Series(0).Size(), 2u);
  trend->ReadOut(0, trend->Recorder().WallMs(trend->Recorder().Series(0).At(0).ms));
  EXPECT_TRUE(trend->ReadOutLabel().text().startsWith("Mass flow [kg/h]: 5 "))
      << trend->ReadOutLabel().text().toStdString();
  trend->PauseButton().click();
  EXPECT_FALSE(trend->Paused());
  trend->SetSpanSeconds(24 * 3600);
  EXPECT_EQ(trend->SpanBox().currentData().toInt(), 24 * 3600);
}

}  // namespace
}  // namespace quorvel::testing
