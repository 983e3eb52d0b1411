// Session files through the frame: what is written, what comes back, and
// what a damaged or foreign file does.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "SessionTestSupport.h"
#include "app/QuickPollWindow.h"
#include "app/Session.h"
#include "app/SessionFile.h"
#include "serial/clsCOM.h"

namespace quorvel {
namespace {

using testing::TempDir;
using testing::TestFrame;
using testing::WriteTestProject;

struct WindowSettings {
  std::int16_t mode;
  std::int16_t com;
  std::uint8_t id;
  std::int32_t timeout, period, interval;
  bool autoEnable;
  WindowPlacement place;
};

frmQuorvel& Open(TestFrame& t, const std::string& project, const WindowSettings& s) {
  frmQuorvel* window = t.frame.OpenProject(project);
  if (!window) throw std::runtime_error("test project did not open: " + project);
  window->SetMode(s.mode);
  window->SetCOM(s.com);
  window->SetID(s.id);
  window->SetTimeout(s.timeout);
  window->SetPollingPeriod(s.period);
  window->SetInterval(s.interval);
  window->SetAutoEnable(s.autoEnable);
  window->Placement = s.place;
  return *window;
}

void ExpectWindow(const frmQuorvel& window, const std::string& project, const WindowSettings& s) {
  SCOPED_TRACE(project);
  EXPECT_EQ(window.ProjectFile(), project);
  EXPECT_EQ(window.Mode(), s.mode);
  EXPECT_EQ(window.COM(), s.com);
  EXPECT_EQ(window.ID(), s.id);
  EXPECT_EQ(window.Timeout(), s.timeout);
  EXPECT_EQ(window.PollingPeriod(), s.period);
  EXPECT_EQ(window.Interval(), s.interval);
  EXPECT_EQ(window.AutoEnable(), s.autoEnable);
  EXPECT_EQ(window.Placement, s.place);
}

TEST(SessionFile, TheSampleFollowsTheLayout) {
  const std::string bytes = testing::ReadBytes(QUORVEL_TEST_DATA "/../../samples/Coriolis.qvs");
  ASSERT_FALSE(bytes.empty());
  SessionFile expected;
  expected.Ports[0] = {false, false, 19200, 1, 2, 12305, 0};
  expected.Ports[1] = {false, false, 19200, 2, 2, 12305, 0};
  expected.Width = 15360;
  expected.Height = 11520;
  expected.Windows = {{"Coriolis.qvc", 1, 1, 1, 1000, 1000, 20, true, 0, 0, 11040, 7800},
                      {"Coriolis.qvc", 2, 1, 2, 1000, 1000, 20, true, 600, 600, 11040, 7800}};
  EXPECT_EQ(ParseSession(bytes), expected);
  // Written again it is the same file, byte for byte.
  EXPECT_EQ(FormatSession(expected), bytes);
}

// Every field of a port and of a window holds a value of its own, so that
// two fields written or read in each other's place show (the sample has
// Timeout = PollingPeriod and Left = Top).
TEST(SessionFile, EveryFieldHasItsOwnLine) {
  SessionFile session;
  session.Ports[4] = {true, false, 38400, 3, 4, 4097, 1};
  session.Width = 12000;
  session.Height = 9000;
  session.Windows = {{"A.qvc", 5, 17, 3, 1500, 250, 30, false, 120, 240, 5000, 4000}};
  std::string text;
  for (int com = 1; com <= 16; ++com) {
    const auto port = com == 5 ? std::vector<std::string>{"#TRUE#", "#FALSE#", "38400", "3", "4", "4097", "1"}
                               : std::vector<std::string>{"#FALSE#", "#FALSE#", "9600", "0", "0", "12305", "0"};
    for (const std::string& value : port) text += value + "\r\n";
  }
  for (const char* value : {"12000", "9000", "1", "\"A.qvc\"", "5", "17", "3", "1500", "250", "30", "#FALSE#", "120",
                            "240", "5000", "4000"})
    text += std::string(value) + "\r\n";
  EXPECT_EQ(FormatSession(session), text);
  EXPECT_EQ(ParseSession(text), session);
}

// The line timing block as written: the tag, then timing and echo of each
// port, with `lines` replacing the values at their 0-based places.
std::string TimingBlock(const std::vector<std::pair<std::size_t, std::string>>& lines = {}) {
  std::vector<std::string> values;
  for (int com = 1; com <= 16; ++com) {
    values.push_back("0");
    values.push_back("#FALSE#");
  }
  for (const auto& [at, text] : lines) values[at] = text;
  std::string block = "\"LineTiming\"\r\n";
  for (const std::string& value : values) block += value + "\r\n";
  return block;
}

TEST(SessionFile, LineTimingFollowsTheWindowsOnlyWhenAPortUsesIt) {
  SessionFile classic;
  classic.Ports[0].BaudRate = 19200;
  classic.Windows = {{"P.qvc", 1, 1, 1, 1000, 1000, 20, true, 0, 0, 100, 100}};
  const std::string old = FormatSession(classic);
  EXPECT_EQ(old.find("LineTiming"), std::string::npos);
  EXPECT_EQ(ParseSession(old), classic);

  SessionFile timed = classic;
  timed.Ports[1].Timing = LineTiming::Standard;
  timed.Ports[15].Timing = LineTiming::Fast;
  timed.Ports[15].Echo = true;
  const std::string text = FormatSession(timed);
  // A reader that stops after the windows finds the file it knows.
  EXPECT_EQ(text, old + TimingBlock({{2, "1"}, {30, "2"}, {31, "#TRUE#"}}));
  EXPECT_EQ(ParseSession(text), timed);
  SessionFile echoOnly = classic;
  echoOnly.Ports[4].Echo = true;
  EXPECT_EQ(ParseSession(FormatSession(echoOnly)), echoOnly);
}

TEST(SessionFile, ATimingBlockThatCannotBeReadLeavesThePortsClassic) {
  SessionFile classic;
  classic.Windows = {{"P.qvc", 2, 1, 2, 0, 0, 0, true, 0, 0, 100, 100}};
  const std::string old = FormatSession(classic);
  const std::string good = TimingBlock({{2, "2"}, {3, "#TRUE#"}});
  const struct {
    const char* what;
    std::string tail;
    LineTiming com2;
    bool echo2;
    LineTiming com3;
  } cases[] = {
      {"cut short", good.substr(0, good.size() - 4), LineTiming::Classic, false, LineTiming::Classic},
      {"another block", "\"Bookmarks\"\r\n2\r\n#TRUE#\r\n", LineTiming::Classic, false, LineTiming::Classic},
      {"not a flag", TimingBlock({{2, "2"}, {3, "#TRUE#"}, {20, "maybe"}}), LineTiming::Classic, false,
       LineTiming::Classic},
      // A timing a later version added: that port alone falls back.
      {"unknown timing", TimingBlock({{2, "7"}, {3, "#TRUE#"}, {4, "1"}}), LineTiming::Classic, true,
       LineTiming::Standard},
      {"followed by more", good + "\"Bookmarks\"\r\n", LineTiming::Fast, true, LineTiming::Classic},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    SessionFile read;
    ASSERT_NO_THROW(read = ParseSession(old + c.tail));
    EXPECT_EQ(read.Windows, classic.Windows);
    EXPECT_EQ(read.Ports[1].Timing, c.com2);
    EXPECT_EQ(read.Ports[1].Echo, c.echo2);
    EXPECT_EQ(read.Ports[2].Timing, c.com3);
    for (std::size_t i = 0; i < 16; ++i) {
      if (i == 1 || i == 2) continue;
      EXPECT_EQ(read.Ports[i].Timing, LineTiming::Classic) << i;
      EXPECT_FALSE(read.Ports[i].Echo) << i;
    }
    EXPECT_FALSE(read.Ports[2].Echo);
  }
}

TEST(Session, RoundTripRestoresWindowsPortsAndPlaces) {
  TempDir dir, elsewhere;
  const std::string beside = WriteTestProject(dir.Make("work/Beside.qvc"));
  const std::string sibling = WriteTestProject(dir.Make("projects/Sibling.qvc"));
  const std::string below = WriteTestProject(dir.Make("work/sub/Below.qvc"));
  const std::string foreign = WriteTestProject(elsewhere.Make("Foreign.qvc"));
  const std::vector<std::pair<std::string, WindowSettings>> windows = {
      {beside, {kMaster, 1, 1, 1000, 2000, 20, true, {0, 0, 6000, 4000}}},
      {sibling, {kMaster, 1, 247, 300, 100, 0, false, {300, 300, 6000.25f, 4000}}},
      {below, {kSlave, 2, 5, 50, 60, 70, true, {600, 600, 5000, 3000}}},
      {foreign, {kMonitor, 0, 9, 0, 0, 0, true, {1, 2, 3, 4}}},
      {beside, {kMonitor, 16, 0, 0, 2147483647, -2147483647 - 1, false, {-15, -30, 0, 0}}},
  };
  const std::string file = dir.Make("work/s.qvs");
  {
    TestFrame t;
    for (const auto& [project, settings] : windows) Open(t, project, settings);
    PortEntry& com2 = t.frame.Port(2);
    com2.ASCII = true;
    com2.ASCII8bits = true;
    com2.dcb = {28, 115200, 0x0011, 1024, 512, 7, 1, 2};
    t.frame.Port(9).dcb.BaudRate = 300;
    com2.Timing = LineTiming::Standard;
    t.frame.Port(16).Timing = LineTiming::Fast;
    t.frame.Port(16).Echo = true;
    t.frame.Placement = {10, 20, 12345.5f, 6789};
    ASSERT_TRUE(SaveSession(t.frame, file)) << t.messages.front();
  }
  // Projects beside and below the session are stored relative to it, and so
  // is the sibling directory; the only way to the other folder is through
  // their common parent.
  const SessionFile stored = ParseSession(testing::ReadBytes(file));
  ASSERT_EQ(stored.Windows.size(), windows.size());
  EXPECT_EQ(stored.Windows[0].ProjectFile, "Beside.qvc");
  EXPECT_EQ(stored.Windows[1].ProjectFile, "../projects/Sibling.qvc");
  EXPECT_EQ(stored.Windows[2].ProjectFile, "sub/Below.qvc");
  EXPECT_EQ(stored.Windows[3].ProjectFile, "../../" + elsewhere.path().filename().string() + "/Foreign.qvc");

  TestFrame t;
  t.frame.Port(2).dcb.ByteSize = 5;  // not in the file: stays
  t.frame.Port(3).Echo = true;       // in the file as no echo: goes
  ASSERT_TRUE(LoadSession(t.frame, file));
  EXPECT_TRUE(t.messages.empty()) << t.messages.front();
  ASSERT_EQ(t.frame.Devices().size(), windows.size());
  for (std::size_t i = 0; i < windows.size(); ++i) {
    ExpectWindow(*t.frame.Devices()[i], windows[i].first, windows[i].second);
  }
  const PortEntry& com2 = t.frame.Port(2);
  EXPECT_TRUE(com2.ASCII);
  EXPECT_TRUE(com2.ASCII8bits);
  EXPECT_EQ(com2.dcb.BaudRate, 115200U);
  EXPECT_EQ(com2.dcb.Flags, 0x0011U);
  EXPECT_EQ(com2.dcb.Parity, 1);
  EXPECT_EQ(com2.dcb.StopBits, 2);
  EXPECT_EQ(com2.dcb.ByteSize, 5);
  EXPECT_EQ(com2.Mode, kSlave);
  EXPECT_EQ(t.frame.Port(9).dcb.BaudRate, 300U);
  EXPECT_EQ(com2.Timing, LineTiming::Standard);
  EXPECT_FALSE(com2.Echo);
  EXPECT_EQ(t.frame.Port(16).Timing, LineTiming::Fast);
  EXPECT_TRUE(t.frame.Port(16).Echo);
  EXPECT_FALSE(t.frame.Port(3).Echo);
  EXPECT_EQ(t.frame.Port(1).Users, 2);
  EXPECT_EQ(t.frame.Port(1).Mode, kMaster);
  EXPECT_EQ(t.frame.Port(16).Mode, kMonitor);
  EXPECT_EQ(t.frame.Placement.Width, 12345.5f);
  EXPECT_EQ(t.frame.Placement.Height, 6789);
  EXPECT_EQ(t.frame.Placement.Left, 0);  // the session keeps only the size
}

TEST(Session, ANameOutsideTheCodePageIsNotSavedAndTheOldFileStays) {
  TempDir dir;
  const std::string project = WriteTestProject(dir.Make("\xD0\x96uk/P.qvc"));  // "Жuk": Cyrillic Zhe
  const std::string file = dir.Make("s.qvs");
  testing::WriteBytes(file, "old");
  TestFrame t;
  Open(t, project, {kMaster, 0, 1, 0, 0, 0, true, {}});
  t.frame.Globals().SessionChanged = true;
  EXPECT_FALSE(SaveSession(t.frame, file));
  ASSERT_EQ(t.messages.size(), 1U);
  EXPECT_EQ(t.messages[0].rfind("Cannot write " + file + ": ", 0), 0U) << t.messages[0];
  EXPECT_EQ(testing::ReadBytes(file), "old");
  EXPECT_TRUE(t.frame.Globals().SessionChanged);

  // In the Cyrillic code page the same name is one byte, 0xC6, and comes back.
  const CodePage& cyrillic = *CodePage::Find(1251);
  ASSERT_TRUE(SaveSession(t.frame, file, cyrillic));
  EXPECT_NE(testing::ReadBytes(file).find("\"\xC6uk/P.qvc\""), std::string::npos);
  TestFrame back;
  ASSERT_TRUE(LoadSession(back.frame, file, cyrillic));
  ASSERT_EQ(back.frame.Devices().size(), 1U);
  EXPECT_EQ(back.frame.Devices()[0]->ProjectFile(), project);
}

// A quick poll not saved as a project is named by its temporary file: the
// session is written, and the user is told how to keep the poll.
TEST(Session, AQuickPollNotSavedAsAProjectIsPointedOut) {
  TempDir dir;
  const std::string file = dir.Make("s.qvs");
  TestFrame t;
  QuickPollTarget target;
  target.poll = {3, 0, 2, "int16", 1000};
  std::string error;
  frmQuorvel* poll = OpenQuickPoll(t.frame, target, error);
  ASSERT_NE(poll, nullptr) << error;
  t.messages.clear();  // the port here opens nothing
  ASSERT_TRUE(SaveSession(t.frame, file));
  ASSERT_EQ(t.messages.size(), 1U);
  EXPECT_NE(t.messages[0].find(poll->ProjectFile() + ", a quick poll's temporary project"), std::string::npos)
      << t.messages[0];
  // Once saved as a project, the session names that file and says nothing.
  const std::string saved = dir.Make("Poll.qvc");
  ASSERT_TRUE(SaveProjectAs(*poll, saved, error)) << error;
  t.messages.clear();
  ASSERT_TRUE(SaveSession(t.frame, file));
  EXPECT_TRUE(t.messages.empty()) << t.messages.front();
}

// A damaged session opens what comes before the damage: the complete port
// blocks, the frame's size once read, every complete window block in order;
// then it names the first damage and its line.
TEST(Session, ADamagedFileOpensWhatComesBeforeTheDamage) {
  TempDir dir;
  const std::string project = WriteTestProject(dir.Make("P.qvc"));
  const std::string file = dir.Make("s.qvs");
  {
    TestFrame t;
    t.frame.Placement = {0, 0, 9000, 6000};
    Open(t, project, {kSlave, 5, 1, 100, 0, 0, true, {}});
    Open(t, project, {kMaster, 6, 7, 200, 0, 0, true, {}});
    for (int com = 1; com <= 16; ++com) t.frame.Port(com).dcb.BaudRate = 1200 * com;
    ASSERT_TRUE(SaveSession(t.frame, file));
  }
  const std::string good = testing::ReadBytes(file);
  std::vector<std::size_t> lineStarts = {0};
  for (std::size_t i = 0; i < good.size(); ++i) {
    if (good[i] == '\n') lineStarts.push_back(i + 1);
  }
  // 16 ports of 7 lines, the size and the count (113-115), windows at 116 and 128.
  ASSERT_EQ(lineStarts.size(), 16 * 7 + 3 + 2 * 12 + 1U);
  const auto replaced = [&](std::size_t line, const std::string& text) {
    return good.substr(0, lineStarts[line - 1]) + text + good.substr(lineStarts[line]);
  };

  struct Damage {
    const char* what;
    std::string text;
    int ports;              // port blocks applied, from COM1
    bool size;              // the frame's size applied
    std::size_t windows;    // windows opened
    std::int32_t timeout1;  // the first window's Timeout, when open
    std::string message;    // after the file's name; empty when read whole
    // A value out of range is told but costs nothing else: the file counts
    // as read and the field takes its default, which `fallback` checks.
    bool readWhole = false;
    std::function<void(const frmQuorvelMain&)> fallback = {};
  };
  const auto com5Baud = [](const frmQuorvelMain& f) { EXPECT_EQ(f.Port(5).dcb.BaudRate, 9600U); };
  const auto com5Parity = [](const frmQuorvelMain& f) { EXPECT_EQ(f.Port(5).dcb.Parity, 0); };
  const Damage damages[] = {
      {"count too large", replaced(115, "3\r\n"), 16, true, 2, 100,
       "line 140: Input past end of file reading the project file of window 3"},
      {"blank line for a number", replaced(120, "\r\n"), 16, true, 2, 0, ""},
      {"truncated window block", good.substr(0, lineStarts[133]), 16, true, 1, 100,
       "line 134: Input past end of file reading Interval of window 2"},
      {"type mismatch in a window", replaced(129, "yes\r\n"), 16, true, 1, 100,
       "line 129: Type mismatch reading COM of window 2, found \"yes\""},
      {"overflow in a port block", replaced(31, "2147483648\r\n"), 4, false, 0, 0,
       "line 31: Overflow reading BaudRate of COM5, found \"2147483648\""},
      {"cut in the size", good.substr(0, lineStarts[113]), 16, false, 0, 0,
       "line 114: Input past end of file reading the frame height"},
      {"negative count", replaced(115, "-1\r\n"), 16, true, 0, 0,
       "line 115: Overflow reading the number of windows, found \"-1\""},
      // Lines 29-35 are COM5's block: ASCII, ASCII8bits, BaudRate, Mode, Parity, flags, StopBits.
      {"baud rate of 0", replaced(31, "0\r\n"), 16, true, 2, 100,
       "line 31: BaudRate of COM5: a baud rate is 1 to 4000000, not '0'", true, com5Baud},
      {"negative baud rate", replaced(31, "-1\r\n"), 16, true, 2, 100,
       "line 31: BaudRate of COM5: a baud rate is 1 to 4000000, not '-1'", true, com5Baud},
      {"baud rate above 4000000", replaced(31, "4000001\r\n"), 16, true, 2, 100,
       "line 31: BaudRate of COM5: a baud rate is 1 to 4000000, not '4000001'", true, com5Baud},
      // A port's mode follows the windows that open on it, so COM7, which has none.
      {"port mode 4", replaced(46, "4\r\n"), 16, true, 2, 100,
       "line 46: Mode of COM7: a mode is 0 (none) to 3, not '4'", true,
       [](const frmQuorvelMain& f) { EXPECT_EQ(f.Port(7).Mode, 0); }},
      {"parity 5", replaced(33, "5\r\n"), 16, true, 2, 100, "line 33: Parity of COM5: a parity is 0 to 4, not '5'",
       true, com5Parity},
      {"parity past a byte", replaced(33, "300\r\n"), 16, true, 2, 100,
       "line 33: Parity of COM5: a parity is 0 to 4, not '300'", true, com5Parity},
      {"stop bits 3", replaced(35, "3\r\n"), 16, true, 2, 100,
       "line 35: StopBits of COM5: stop bits are 0 to 2, not '3'", true,
       [](const frmQuorvelMain& f) { EXPECT_EQ(f.Port(5).dcb.StopBits, 0); }},
      // Lines 116-127 are window 1: project, COM, ID, Mode, Timeout, ...
      {"ID 256", replaced(118, "256\r\n"), 16, true, 2, 100, "line 118: ID of window 1: an ID is 0 to 255, not '256'",
       true, [](const frmQuorvelMain& f) { EXPECT_EQ(f.Devices()[0]->ID(), 1); }},
      {"negative ID", replaced(130, "-1\r\n"), 16, true, 2, 100,
       "line 130: ID of window 2: an ID is 0 to 255, not '-1'", true,
       [](const frmQuorvelMain& f) { EXPECT_EQ(f.Devices()[1]->ID(), 1); }},
      {"window mode 0", replaced(119, "0\r\n"), 16, true, 2, 100,
       "line 119: Mode of window 1: a mode is 1 to 3, not '0'", true,
       [](const frmQuorvelMain& f) { EXPECT_EQ(f.Devices()[0]->Mode(), kMaster); }},
      {"window mode 4", replaced(131, "4\r\n"), 16, true, 2, 100,
       "line 131: Mode of window 2: a mode is 1 to 3, not '4'", true},
      {"negative timeout", replaced(120, "-1\r\n"), 16, true, 2, 0,
       "line 120: Timeout of window 1: a timeout is 0 or more milliseconds, not '-1'", true},
  };
  for (const Damage& d : damages) {
    SCOPED_TRACE(d.what);
    testing::WriteBytes(file, d.text);
    TestFrame t;
    EXPECT_EQ(LoadSession(t.frame, file), d.message.empty() || d.readWhole);
    if (d.message.empty()) {
      EXPECT_TRUE(t.messages.empty()) << t.messages.front();
    } else {
      ASSERT_EQ(t.messages.size(), 1U);
      EXPECT_EQ(t.messages[0], file + ", " + d.message);
    }
    for (int com = 1; com <= 16; ++com) {
      if (d.readWhole && com == 5) continue;
      EXPECT_EQ(t.frame.Port(com).dcb.BaudRate, com <= d.ports ? 1200U * com : DCB{}.BaudRate) << com;
    }
    EXPECT_EQ(t.frame.Placement.Width, d.size ? 9000 : 0);
    ASSERT_EQ(t.frame.Devices().size(), d.windows);
    if (d.fallback) d.fallback(t.frame);
    if (d.windows > 0) {
      if (!d.readWhole) {
        EXPECT_EQ(t.frame.Devices()[0]->Mode(), kSlave);
      }
      EXPECT_EQ(t.frame.Devices()[0]->Timeout(), d.timeout1);
    }
    if (d.windows > 1 && !d.readWhole) {
      EXPECT_EQ(t.frame.Devices()[1]->ID(), 7);
    }
  }

  // Bytes that are no text at all change nothing.
  std::string noise;
  for (int i = 0; i < 4096; ++i) noise += static_cast<char>((i * 7919 + 13) % 256);
  testing::WriteBytes(file, noise);
  TestFrame t;
  EXPECT_FALSE(LoadSession(t.frame, file));
  EXPECT_EQ(t.messages.size(), 1U);
  EXPECT_TRUE(t.frame.Devices().empty());
  for (int com = 1; com <= 16; ++com) EXPECT_EQ(t.frame.Port(com).dcb, DCB{}) << com;
}

}  // namespace
}  // namespace quorvel
