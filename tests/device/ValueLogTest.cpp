// Logging a window's values: the CSV text, the columns a panel gives, which
// answers make a row, empty cells for failed reads, and the flush each second.

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <sstream>

#include "Answers.h"
#include "FakeHost.h"
#include "TestProject.h"
#include "device/CsvWriter.h"
#include "device/TrendRecorder.h"
#include "device/ValueColumns.h"
#include "device/ValueLog.h"
#include "platform/Clock.h"

namespace quorvel::testing {
namespace {

TEST(CsvText, FieldsAreQuotedOnlyWhenTheyMustBe) {
  struct Case {
    const char* field;
    const char* written;
  };
  const Case cases[] = {
      {"Mass flow [kg/h]", "Mass flow [kg/h]"},
      {"Temperature [°C]", "Temperature [°C]"},  // UTF-8 passes as it is
      {"1,5", "\"1,5\""},
      {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"two\nlines", "\"two\nlines\""},
      {"cr\r", "\"cr\r\""},
      {"", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(CsvField(c.field), c.written) << c.field;
  EXPECT_EQ(CsvRow({"time", "a,b", ""}), "time,\"a,b\",\r\n");
}

TEST(CsvText, CellsAreShortestNumbersWithPointDecimals) {
  EXPECT_EQ(CellText(12.5), "12.5");
  EXPECT_EQ(CellText(-3.0), "-3");
  EXPECT_EQ(CellText(0.1), "0.1");
  EXPECT_EQ(CellText(1234567.891), "1234567.891");
  EXPECT_EQ(CellText(std::nullopt), "");
}

TEST(CsvText, TimeIsLocalIso8601WithMilliseconds) {
  const std::string text = IsoLocalTime(1715954587250);
  EXPECT_TRUE(std::regex_match(text, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.250)"))) << text;
  EXPECT_EQ(IsoLocalTime(1715954587999).substr(20), "999");
  EXPECT_EQ(IsoLocalTime(-1).substr(20), "999");  // floor, not towards zero
}

// A value box at a place on the panel, and a caption beside it.
ElementRecord BoxAt(std::uint32_t address, std::int32_t top, std::string format = "", double k = 1, double x0 = 0) {
  ElementRecord r = Box(address, 0, std::move(format));
  r.Top = top;
  r.Left = 2000;
  r.Width = 1000;
  r.Height = 300;
  r.k = k;
  r.x0 = x0;
  return r;
}

ElementRecord CaptionAt(std::string text, std::int32_t top) {
  ElementRecord r;
  r.CtrlName = "Lbl";
  r.Caption = std::move(text);
  r.Top = top;
  r.Left = 100;
  r.Width = 1500;
  r.Height = 300;
  r.k = 1;
  return r;
}

// HR0 "Flow [kg/h]" (k 0.1), HR1 without a caption, HR2 and HR3 both
// "Setpoint", HR4 "Pressure, abs." hex; one request reads them all, one HR4 alone.
std::unique_ptr<frmQuorvel> Window(FakeHost& host) {
  TestProject p;
  p.elements = {CaptionAt("&Flow [kg/h]", 0), BoxAt(0x00000000, 0, "0.0", 0.1),
                BoxAt(0x00000001, 400),       CaptionAt("Setpoint", 800),
                BoxAt(0x00000002, 800),       CaptionAt("Setpoint", 1200),
                BoxAt(0x00000003, 1200),      CaptionAt("Pressure, abs.", 1600),
                BoxAt(0x01000004, 1600)};
  p.requests = {Read(3, 0, 5), Read(3, 4, 1)};
  return Loaded(host, p);
}

TEST(ValueColumnsOfPanel, NamedByTheCaptionBesideElseTheAddress) {
  FakeHost host;
  const auto w = Window(host);
  std::vector<std::string> names, units;
  for (const ValueColumn& c : ColumnsOf(*w)) {
    names.push_back(c.name);
    units.push_back(c.unit);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Flow [kg/h]", "HR0001", "Setpoint HR0002", "Setpoint HR0003",
                                             "Pressure, abs."}));
  EXPECT_EQ(units, (std::vector<std::string>{"kg/h", "", "", "", ""}));
}

TEST(ValueColumnsOfPanel, CellsHoldTheNumberTheValueShows) {
  struct Case {
    const char* name;
    std::uint32_t address;
    const char* format;
    double k, x0, data, number;
  };
  const Case cases[] = {
      {"scaled and offset", 0x00000000, "0.0", 0.1, -40, 655, 25.5},
      {"rounded as shown", 0x00200002, "0.00", 1, 0, 1.23456, 1.23},
      {"grouped digits", 0x00000004, "# ##0", 1, 0, 12345, 12345},
      {"exponent", 0x00200006, "0.000 E+00", 1, 0, 1234.5, 1235},
      {"percent", 0x00000008, "0.0%", 0.001, 0, 125, 0.125},
      {"hex unscaled", 0x01000009, "", 10, 0, 31, 31},
      {"binary", 0x0200000A, "", 1, 0, 5, 5},
      {"time of day", 0x0000000B, "hh:mm:ss", 1, 0, 3723, 3723},
      {"coil bits", 0x20300000, "", 1, 0, 9, 9},
  };
  TestProject p;
  for (const Case& c : cases) p.elements.push_back(BoxAt(c.address, 0, c.format, c.k, c.x0));
  FakeHost host;
  frmQuorvel w(host);
  Load(w, p);
  for (const Case& c : cases) {
    CtrlProp& element = *ElementAt(w, c.address);
    element.SetData(c.data);
    EXPECT_DOUBLE_EQ(ShownNumber(element), c.number) << c.name << ": shown " << element.rCtrl()->Caption();
  }
}

void Fail(frmQuorvel& w, std::size_t r) {
  w.LastRequest = w.Requests.at(r);
  Answer(w, kAnswerTimeout);
}

// The rows after the header, each without its time.
std::vector<std::string> Cells(const std::string& text) {
  std::vector<std::string> rows;
  std::istringstream in(text);
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) rows.push_back(line.substr(line.find(',') + 1));
  return rows;
}

class ValueLogFile : public ::testing::Test {
 protected:
  frmQuorvel& Start(bool everyAnswer) {
    window_ = Window(host_);
    EXPECT_TRUE(window_->StartValueLog(path_, everyAnswer, clock_));
    return *window_;
  }

  TempDir folder_;
  const std::string path_ = folder_.Make("values.csv");
  FakeHost host_;
  platform::ManualClock clock_;
  std::unique_ptr<frmQuorvel> window_;
};

TEST_F(ValueLogFile, RowsForChangesWithFailedReadsEmpty) {
  frmQuorvel& w = Start(false);
  EXPECT_TRUE(w.menus.mnuLogValues.Checked);
  AnswerRegisters(w, 0, {123, 7, 1, 2, 0x1F});
  AnswerRegisters(w, 0, {123, 7, 1, 2, 0x1F});  // nothing changed: no row
  AnswerRegisters(w, 1, {0x20});
  Fail(w, 1);
  Fail(w, 1);  // still failed: no row
  Fail(w, 0);
  AnswerRegisters(w, 0, {124, 7, 1, 2, 0x21});
  w.StopValueLog();
  EXPECT_FALSE(w.menus.mnuLogValues.Checked);
  const std::string text = ReadBytes(path_);
  EXPECT_EQ(text.substr(0, text.find("\r\n")),
            "time,Flow [kg/h],HR0001,Setpoint HR0002,Setpoint HR0003,\"Pressure, abs.\"");
  // The shown number: k applied to Flow, the hex value as its integer.
  EXPECT_EQ(Cells(text), (std::vector<std::string>{"12.3,7,1,2,31\r", "12.3,7,1,2,32\r", "12.3,7,1,2,\r", ",,,,\r",
                                                   "12.4,7,1,2,33\r"}));
}

TEST_F(ValueLogFile, EveryAnswerWritesARowEachTime) {
  frmQuorvel& w = Start(true);
  AnswerRegisters(w, 0, {1, 2, 3, 4, 5});
  AnswerRegisters(w, 0, {1, 2, 3, 4, 5});
  Fail(w, 1);
  w.StopValueLog();
  EXPECT_EQ(Cells(ReadBytes(path_)), (std::vector<std::string>{"0.1,2,3,4,5\r", "0.1,2,3,4,5\r", "0.1,2,3,4,\r"}));
}

TEST_F(ValueLogFile, FlushedOnceASecondAndAtTheEnd) {
  frmQuorvel& w = Start(false);
  AnswerRegisters(w, 0, {1, 2, 3, 4, 5});
  w.ValueLogTick();
  EXPECT_EQ(Cells(ReadBytes(path_)).size(), 0u) << "within the second the row waits";
  clock_.AdvanceMs(999);
  w.ValueLogTick();
  EXPECT_EQ(Cells(ReadBytes(path_)).size(), 0u);
  clock_.AdvanceMs(1);
  w.ValueLogTick();
  EXPECT_EQ(Cells(ReadBytes(path_)).size(), 1u);
  // A row a full second after the last flush goes out at once.
  clock_.AdvanceMs(5000);
  AnswerRegisters(w, 0, {2, 2, 3, 4, 5});
  EXPECT_EQ(Cells(ReadBytes(path_)).size(), 2u);
  AnswerRegisters(w, 0, {3, 2, 3, 4, 5});
  EXPECT_EQ(Cells(ReadBytes(path_)).size(), 2u);
  w.StopValueLog();
  EXPECT_EQ(Cells(ReadBytes(path_)).size(), 3u);
}

TEST_F(ValueLogFile, AFileThatCannotBeWrittenIsToldAndNothingLogs) {
  window_ = Window(host_);
  const struct {
    std::string path;
    const char* why;
  } cases[] = {{(folder_.path() / "no" / "such.csv").string(), "No such file or directory"},
               {"/dev/full", "No space left on device"}};
  for (const auto& c : cases) {
    host_.boxes.clear();
    EXPECT_FALSE(window_->StartValueLog(c.path, false, clock_));
    ASSERT_EQ(host_.boxes.size(), 1u);
    EXPECT_EQ(host_.boxes[0], "Can not log the values to " + c.path + ": " + c.why);
    EXPECT_EQ(window_->Log(), nullptr);
    EXPECT_FALSE(window_->menus.mnuLogValues.Checked);
  }
  AnswerRegisters(*window_, 0, {1, 2, 3, 4, 5});  // and answers go on as before
}

TEST(TrendRecording, PointsForGoodValuesAndCsvOfAWindowInTime) {
  FakeHost host;
  platform::ManualClock clock;
  const auto w = Window(host);
  TrendRecorder trend(ColumnsOf(*w), clock);
  w->AddWatcher(trend);
  AnswerRegisters(*w, 0, {10, 1, 0, 0, 0});
  clock.AdvanceMs(100);
  AnswerRegisters(*w, 1, {9});
  clock.AdvanceMs(100);
  Fail(*w, 0);
  clock.AdvanceMs(100);
  AnswerRegisters(*w, 0, {20, 1, 0, 0, 9});
  w->RemoveWatcher(trend);
  AnswerRegisters(*w, 0, {30, 1, 0, 0, 9});
  EXPECT_EQ(trend.Series(0).Size(), 2u) << "a failed read adds no point, a watcher gone hears nothing";
  EXPECT_EQ(trend.Series(4).Size(), 3u);
  const std::string csv = trend.Csv({0, 4}, 50, 1000);
  EXPECT_EQ(Cells(csv), (std::vector<std::string>{",9\r", "2,9\r"}));
  EXPECT_EQ(csv.substr(0, csv.find("\r\n")), "time,Flow [kg/h],\"Pressure, abs.\"");
}

}  // namespace
}  // namespace quorvel::testing
