// The COM settings and master/slave settings dialogs over a real frame on an
// in-memory cable (COM1 <-> COM2).

#include <gtest/gtest.h>

#include "../device/DeviceTestSupport.h"
#include "convert/Val.h"
#include "dialogs/frmCOMSettings.h"
#include "dialogs/frmSlaveAddress.h"

namespace quorvel::testing {
namespace {

TEST(Val, ReadsTheLeadingNumberAsBasicDoes) {
  const struct {
    const char* text;
    double value;
  } cases[] = {{"  12abc", 12}, {"1 2", 12}, {"-1.5e2", -150}, {"+.5", 0.5},   {"abc", 0},         {"", 0},
               {"1.2.3", 1.2},  {"2D1", 20}, {"&HFF", 255},    {"&HFFFF", -1}, {"&H10000", 65536}, {"&O17", 15},
               {" COM12", 0},   {"3e", 3},   {"1e999", 1e308}};
  for (const auto& c : cases) EXPECT_EQ(Val(c.text), c.value) << '"' << c.text << '"';
}

struct ComDialog : ::testing::Test {
  Bench bench;
  frmCOMSettings dialog{bench.frame};
  void Select(const std::string& item) {
    for (std::size_t i = 0; i < dialog.cmbCOM.size(); ++i)
      if (dialog.cmbCOM[i] == item) dialog.cmbCOM_ListIndex = static_cast<int>(i);
    dialog.cmbCOM_Click();
  }
};

TEST_F(ComDialog, ShowsThePortAsItsRecordSaysAndStoresWhatTheControlsSay) {
  PortEntry& entry = bench.frame.Port(5);
  entry.dcb.Parity = 2;
  entry.dcb.StopBits = 1;    // anything but one stop bit shows as two
  entry.dcb.Flags = 0x1001;  // one toggle bit is enough to show RTS toggle; no DTR
  entry.ASCII = true;
  entry.Timing = LineTiming::Fast;
  entry.Echo = true;
  dialog.ShowForm(5);
  EXPECT_EQ(dialog.cmbCOM.size(), 16u);
  EXPECT_EQ(dialog.cmbCOM[dialog.cmbCOM_ListIndex], " COM5");
  EXPECT_EQ(dialog.cmbBaudRate, " 9600");
  EXPECT_EQ(dialog.cmbParity, " Even");
  EXPECT_EQ(dialog.cmbStopBits, " 2 stop bits");
  EXPECT_TRUE(dialog.optASCII && !dialog.optRTU && dialog.chkASCII8bits_Enabled && !dialog.chkASCII8bits);
  EXPECT_FALSE(dialog.chkDTR);
  EXPECT_TRUE(dialog.chkRTSToggle);
  EXPECT_EQ(dialog.cmbTiming, LineTiming::Fast);
  EXPECT_TRUE(dialog.chkEcho);

  dialog.cmbBaudRate = " 12345.6";  // typed, not in the list: kept unchecked
  dialog.cmbStopBits = " 1 stop bit";
  dialog.chkDTR = true;
  dialog.chkRTSToggle = false;
  dialog.optASCII = false;
  dialog.cmbTiming = LineTiming::Standard;
  dialog.chkEcho = false;
  dialog.Control_Click();
  EXPECT_FALSE(dialog.chkASCII8bits_Enabled);
  const DCB& dcb = dialog.Working(5).dcb;
  EXPECT_EQ(dcb.BaudRate, 12346u);
  EXPECT_EQ(dcb.StopBits, 0);
  EXPECT_EQ(dcb.Flags, 0x0011u);
  EXPECT_EQ(entry.dcb.BaudRate, 9600u) << "nothing reaches the table before OK";

  dialog.cmdOK_Click();
  EXPECT_FALSE(dialog.Visible);
  EXPECT_EQ(entry.dcb.BaudRate, 12346u);
  EXPECT_FALSE(entry.ASCII);
  EXPECT_EQ(entry.Timing, LineTiming::Standard);
  EXPECT_FALSE(entry.Echo);
  EXPECT_TRUE(bench.frame.Globals().SessionChanged);
}

TEST_F(ComDialog, BrowsingPortsAppliesNothing) {
  dialog.ShowForm(1);
  for (const char* item : {" COM3", " COM7", " COM1"}) Select(item);
  dialog.Form_KeyDown(13);
  EXPECT_FALSE(dialog.Visible);
  EXPECT_FALSE(bench.frame.Globals().SessionChanged);
  dialog.ShowForm(2);
  dialog.cmbBaudRate = " 19200";
  dialog.Control_Click();
  dialog.Form_KeyDown(27);
  EXPECT_EQ(bench.frame.Port(2).dcb.BaudRate, 9600u);
}

TEST_F(ComDialog, ShowAvailableListsOnlyPortsThatDidNotFail) {
  bench.frame.Port(2).State = PortEntry::kNotAvailable;
  dialog.ShowForm(3);
  dialog.chkAvailable = true;
  dialog.chkAvailable_Click();
  EXPECT_EQ(dialog.cmbCOM.size(), 15u);
  EXPECT_EQ(dialog.cmbCOM[1], " COM3");
  EXPECT_EQ(dialog.cmbCOM[dialog.cmbCOM_ListIndex], " COM3") << "the selection survives the refill";
  dialog.chkAvailable = false;
  dialog.chkAvailable_Click();
  Select(" COM2");
  dialog.chkAvailable = true;
  dialog.chkAvailable_Click();
  EXPECT_EQ(dialog.cmbCOM_ListIndex, 0) << "a vanished selection falls back to the first port";
}

TEST_F(ComDialog, ChangingAnOpenPortReopensItAtOnce) {
  const struct {
    const char* what;
    void (*change)(frmCOMSettings&);
    std::uint32_t baud;
    LineTiming timing;
    bool echo;
  } cases[] = {
      {"baud rate", [](frmCOMSettings& d) { d.cmbBaudRate = " 19200"; }, 19200, LineTiming::Classic, false},
      {"timing", [](frmCOMSettings& d) { d.cmbTiming = LineTiming::Standard; }, 9600, LineTiming::Standard, false},
      {"echo", [](frmCOMSettings& d) { d.chkEcho = true; }, 9600, LineTiming::Classic, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bench fresh;
    frmCOMSettings settings{fresh.frame};
    frmQuorvel& master = fresh.Open(1, kMaster);
    fresh.Connect(master);
    ASSERT_EQ(fresh.frame.Port(1).State, PortEntry::kOpen);
    settings.ShowForm(1);
    c.change(settings);
    settings.Control_Click();
    settings.cmdOK_Click();
    const PortEntry& entry = fresh.frame.Port(1);
    EXPECT_EQ(entry.State, PortEntry::kOpen);
    EXPECT_EQ(fresh.wire->OpenCount(platform::End::A), 2);
    EXPECT_EQ(fresh.wire->SettingsOf(platform::End::A).baudRate, static_cast<int>(c.baud));
    EXPECT_EQ(entry.Timing, c.timing);
    EXPECT_EQ(entry.Echo, c.echo);
    EXPECT_TRUE(fresh.frame.Globals().SessionChanged);
    EXPECT_TRUE(fresh.boxes.empty());
  }
}

struct SettingsDialog : ::testing::Test {
  Bench bench;
  frmQuorvel& window = bench.Open(1, kMaster);
  frmSlaveAddress dialog;
};

TEST_F(SettingsDialog, FillsFromTheWindowByMode) {
  window.SetID(17);
  window.SetTimeout(250);
  window.SetInterval(0);
  dialog.ID(window);
  EXPECT_EQ(dialog.tbID, "17");
  EXPECT_EQ(dialog.tbTimeout, "250");
  EXPECT_EQ(dialog.tbInterval, "Standard");
  EXPECT_EQ(dialog.Caption, "Master Settings");
  EXPECT_TRUE(dialog.tbTimeout_Enabled);
  window.SetMode(kSlave);
  window.SetInterval(5);
  dialog.ID(window);
  EXPECT_EQ(dialog.Caption, "Slave Settings");
  EXPECT_FALSE(dialog.tbTimeout_Enabled);
  EXPECT_TRUE(dialog.tbTimeout_ButtonFace);
  EXPECT_EQ(dialog.tbInterval, "5");
  window.SetMode(kMonitor);
  dialog.ID(window);
  EXPECT_EQ(dialog.Caption, "Slave Settings") << "a monitor keeps what the dialog showed before";
}

TEST_F(SettingsDialog, OkValidatesTheAddressAndClampsTheRest) {
  const struct {
    const char* id;
    const char* timeout;
    const char* interval;
    bool refused;
    int wantId;
    int wantTimeout;
    int wantInterval;
    bool sessionChanged;
  } cases[] = {
      {"0", "500", "7", true, 9, 100, 3, false},
      {"248", "100", "Standard", true, 9, 100, 3, false},
      {"247", "100", "Standard", false, 247, 100, 0, false},  // address alone is no session change
      {"1", "50000", "-4", false, 1, 30000, 0, true},
      {"9", "-5", "12.5", false, 9, 0, 12, true},
      {"9abc", "100", "20ms", false, 9, 100, 20, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.id) + " / " + c.timeout + " / " + c.interval);
    bench.boxes.clear();
    bench.frame.Globals().SessionChanged = false;
    window.SetID(9);
    window.SetTimeout(100);
    window.SetInterval(3);
    dialog.ID(window);
    dialog.tbID = c.id;
    dialog.tbTimeout = c.timeout;
    dialog.tbInterval = c.interval;
    dialog.Form_KeyDown(13);
    EXPECT_EQ(dialog.Visible, c.refused);
    EXPECT_EQ(bench.boxes, c.refused ? std::vector<std::string>{frmSlaveAddress::kBadID} : std::vector<std::string>{});
    EXPECT_EQ(window.ID(), c.wantId);
    EXPECT_EQ(window.Timeout(), c.wantTimeout);
    EXPECT_EQ(window.Interval(), c.wantInterval);
    EXPECT_EQ(bench.frame.Globals().SessionChanged, c.sessionChanged);
  }
}

}  // namespace
}  // namespace quorvel::testing
