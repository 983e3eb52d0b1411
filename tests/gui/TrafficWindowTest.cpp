// The Traffic window over a port's log filled by hand: it takes the records
// in a batch, marks the errors, filters, saves as text and CSV, offers
// sending only on a free port, and the frame keeps one window per port.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryDir>

#include "../serial/SerialTestSupport.h"
#include "app/qt/MainWindow.h"
#include "app/qt/TrafficWindow.h"

namespace quorvel {
namespace {

using test::Bytes;
// RTU frames with their CRC.
constexpr auto Rtu = test::Sealed;

struct FreePort final : FramePort {
  bool free = false;
  bool CanSend() const override { return free; }
  bool Send(std::span<const std::uint8_t>, std::string&) override { return true; }
};

QString ReadAll(const QString& path) {
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
  return QString::fromUtf8(file.readAll());
}

struct Traffic : ::testing::Test {
  platform::ManualClock clock;
  PortEntry entry;
  FreePort* port = nullptr;
  std::unique_ptr<TrafficWindow> window;

  void SetUp() override {
    entry.Traffic = std::make_shared<TrafficLog>();
    TrafficLog& log = *entry.Traffic;
    log.Anchor(0, 1'700'000'000'000'000);
    // Two slaves polled; slave 2 answers once with a broken CRC and once not at all.
    Bytes broken = Rtu({0x02, 0x03, 0x02, 0x00, 0x07});
    broken.back() ^= 0x55;
    for (int round = 0; round < 3; ++round) {
      log.Add(round * 10, TrafficDirection::Tx, TrafficVerdict::Ok, false, false, Rtu({1, 3, 0, 0, 0, 1}));
      log.Add(round * 10 + 1, TrafficDirection::Rx, TrafficVerdict::Ok, false, true, Rtu({1, 3, 2, 0, 42}));
      log.Add(round * 10 + 2, TrafficDirection::Tx, TrafficVerdict::Ok, false, false, Rtu({2, 3, 0, 0, 0, 1}));
      if (round == 0) log.Add(round * 10 + 3, TrafficDirection::Rx, TrafficVerdict::ChecksumError, false, true, broken);
      if (round == 1) log.Add(round * 10 + 3, TrafficDirection::Rx, TrafficVerdict::Timeout, false, true, {});
      if (round == 2)
        log.Add(round * 10 + 3, TrafficDirection::Rx, TrafficVerdict::Ok, false, true, Rtu({2, 3, 2, 0, 7}));
    }
    auto owned = std::make_unique<FreePort>();
    port = owned.get();
    window = std::make_unique<TrafficWindow>(entry, 5, std::move(owned), clock);
    window->show();
  }
  int Rows() const { return window->Table().model()->rowCount(); }
  QString CellText(int row, TrafficColumn column) const {
    return window->Table().model()->index(row, int(column)).data().toString();
  }
};

TEST_F(Traffic, FillsFromTheLogAndMarksTheErrors) {
  ASSERT_EQ(Rows(), 12);
  EXPECT_EQ(CellText(3, TrafficColumn::Verdict), "CRC error");
  EXPECT_EQ(CellText(7, TrafficColumn::Verdict), "time-out");
  EXPECT_EQ(CellText(1, TrafficColumn::Function), "Read Holding Registers");
  EXPECT_EQ(CellText(0, TrafficColumn::Port), "COM5");
  QAbstractItemModel& model = *window->Table().model();
  const QVariant plain = model.index(1, 0).data(Qt::BackgroundRole);
  const QVariant error = model.index(3, 0).data(Qt::BackgroundRole);
  EXPECT_FALSE(plain.isValid());
  ASSERT_TRUE(error.isValid());
  EXPECT_EQ(error.value<QBrush>().color(), model.index(7, 0).data(Qt::BackgroundRole).value<QBrush>().color());

  // Later records come with the next batch.
  entry.Traffic->Add(99, TrafficDirection::Tx, TrafficVerdict::Ok, false, false, Rtu({1, 3, 0, 0, 0, 1}));
  window->Sync();
  EXPECT_EQ(Rows(), 13);
  window->Pause().click();
  entry.Traffic->Add(100, TrafficDirection::Tx, TrafficVerdict::Ok, false, false, Rtu({1, 3, 0, 0, 0, 1}));
  window->Sync();
  EXPECT_EQ(Rows(), 13);
  window->Pause().click();
  EXPECT_EQ(Rows(), 14);
}

TEST_F(Traffic, FiltersByErrorsAndSlave) {
  window->ErrorsOnly().setChecked(true);
  EXPECT_EQ(Rows(), 2);
  window->Slave().setValue(1);
  EXPECT_EQ(Rows(), 0);
  window->ErrorsOnly().setChecked(false);
  EXPECT_EQ(Rows(), 6);
  for (int r = 0; r < Rows(); ++r) EXPECT_EQ(CellText(r, TrafficColumn::Slave), "1") << "row " << r;
  EXPECT_TRUE(window->Status().text().startsWith("6 of 12 frames shown")) << window->Status().text().toStdString();
}

TEST_F(Traffic, SavesTheShownRowsAsTextOrCsv) {
  QTemporaryDir dir;
  window->Slave().setValue(2);
  window->ErrorsOnly().setChecked(true);
  std::string error;
  const QString text = dir.filePath("traffic.txt");
  ASSERT_TRUE(window->Save(text, error)) << error;
  const QStringList lines = ReadAll(text).split('\n', Qt::SkipEmptyParts);
  ASSERT_EQ(lines.size(), 2);
  EXPECT_TRUE(lines[0].contains(" COM5 RX CRC error | 02 03 02 00 ")) << lines[0].toStdString();
  EXPECT_TRUE(lines[1].endsWith(" COM5 RX time-out")) << lines[1].toStdString();

  const QString csv = dir.filePath("traffic.CSV");
  ASSERT_TRUE(window->Save(csv, error)) << error;
  const QStringList rows = ReadAll(csv).split("\r\n", Qt::SkipEmptyParts);
  ASSERT_EQ(rows.size(), 3);
  EXPECT_EQ(rows[0], "Time,Port,Dir,Verdict,Bytes,Slave,Function,Summary");
  EXPECT_TRUE(rows[2].endsWith(",COM5,RX,time-out,,2,Read Holding Registers,")) << rows[2].toStdString();

  // Through the button, with the file chosen.
  window->ChooseSaveFile = [&] { return dir.filePath("chosen.txt"); };
  for (QPushButton* button : window->findChildren<QPushButton*>())
    if (button->text() == "Save...") button->click();
  EXPECT_EQ(ReadAll(dir.filePath("chosen.txt")), ReadAll(text));
}

TEST_F(Traffic, OffersSendingOnlyWhileThePortIsFree) {
  window->Sync();
  EXPECT_FALSE(window->SendFrame().isEnabled());
  port->free = true;
  window->Sync();
  EXPECT_TRUE(window->SendFrame().isEnabled());
}

TEST(TrafficFrame, KeepsOneWindowPerPort) {
  platform::SystemClock clock;
  platform::MemorySettingsStore store;
  MainWindow frame(clock, {}, store);
  std::vector<std::string> boxes;
  frame.SetMsgBoxSink([&](const std::string& text) { boxes.push_back(text); });
  TrafficWindow* first = frame.OpenTraffic(2);
  ASSERT_NE(first, nullptr);
  first->close();
  EXPECT_EQ(frame.OpenTraffic(2), first);
  EXPECT_TRUE(first->isVisible());
  EXPECT_NE(frame.OpenTraffic(3), first);
  EXPECT_TRUE(frame.Port(2).Traffic);
  EXPECT_EQ(frame.OpenTraffic(0), nullptr);
  EXPECT_EQ(boxes.size(), 1U);
}

}  // namespace
}  // namespace quorvel
