// What a device window says about itself: its caption and the statistics line.

#include <gtest/gtest.h>

#include <memory>

#include "Answers.h"
#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

TestProject Coriolis() {
  TestProject p;
  p.name = "Coriolis";
  p.timeout = 500;     // room for a 9600 baud answer
  p.exeptions = 0x0F;  // every exception answer enabled
  p.elements = {Box(0x00000000)};
  p.requests = {Read(3, 0, 1, 1000)};
  return p;
}

std::unique_ptr<frmQuorvel> NewWindow(FakeHost& host) {
  auto w = Loaded(host, Coriolis());
  w->LastRequest = w->Requests[0];
  return w;
}

TEST(Caption, NamesProjectModeAddressAndPort) {
  struct Case {
    std::int16_t mode;
    std::uint8_t id;
    std::int16_t com;
    std::int16_t state;
    bool connected;
    std::uint32_t baud;
    std::uint8_t stopBits, parity;
    bool ascii, ascii8;
    const char* caption;
    const char* path = nullptr;  // the port mapped to it, not by default
  };
  const Case cases[] = {
      {kMaster, 1, 1, PortEntry::kOpen, true, 9600, 0, 0, false, false,
       "Coriolis Master ID:1 Connected: COM1  9600-1-n-8 RTU"},
      {kMaster, 1, 4, PortEntry::kNotAvailable, false, 19200, 2, 2, false, false,
       "Coriolis Master ID:1 Not available: COM4  19200-2-e-8 RTU"},
      {kSlave, 247, 2, PortEntry::kClosed, true, 1200, 0, 1, true, false,
       "Coriolis Slave ID:247 COM2  1200-1-o-7 ASCII"},
      // One and a half stop bits and mark parity have no mark of their own.
      {kMaster, 3, 5, PortEntry::kOpen, true, 4800, 1, 3, false, false,
       "Coriolis Master ID:3 Connected: COM5  48008 RTU"},
      {kMaster, 1, 0, PortEntry::kOpen, true, 9600, 0, 0, false, false, "Coriolis Master ID:1"},
      // A network address stands in for the line settings; another serial line does not.
      {kMaster, 1, 3, PortEntry::kOpen, true, 9600, 0, 0, false, false,
       "Coriolis Master ID:1 Connected: COM3  mbtcp://127.0.0.1:502", "mbtcp://127.0.0.1:502"},
      {kMaster, 1, 4, PortEntry::kOpen, true, 9600, 0, 0, false, false,
       "Coriolis Master ID:1 Connected: COM4  9600-1-n-8 RTU", "/dev/ttyUSB0"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.caption);
    FakeHost host;
    if (c.path) host.paths[c.com] = c.path;
    auto w = NewWindow(host);
    w->SetMode(c.mode);
    w->SetID(c.id);
    w->SetCOM(c.com);
    w->SetConnected(c.connected);
    if (c.com != 0) {
      PortEntry& e = host.ports[static_cast<std::size_t>(c.com)];
      e.State = c.state;
      e.dcb.BaudRate = c.baud;
      e.dcb.StopBits = c.stopBits;
      e.dcb.Parity = c.parity;
      e.ASCII = c.ascii;
      e.ASCII8bits = c.ascii8;
    }
    w->ShowCaption();
    EXPECT_EQ(w->Caption(), c.caption);
  }
}

enum class Event { Good, Timeout, Parity, Frame, Crc, Data, Ex1, Ex2, Ex3 };

void Happen(frmQuorvel& w, Event e) {
  switch (e) {
    case Event::Good:
      return Answer(w, kAnswerExpected, {1, 3, 2, 0x00, 0x05});
    case Event::Timeout:
      return Answer(w, kAnswerTimeout);
    case Event::Parity:
      return Answer(w, kAnswerParity);
    case Event::Frame:
      return Answer(w, kAnswerOtherLength, {1, 3, 2, 0x00, 0x05, 0x00});
    case Event::Crc:
      return Answer(w, kAnswerExpected, {1, 3, 2, 0x00, 0x05}, false);
    case Event::Data:
      return Answer(w, kAnswerExpected, {1, 3, 4, 0x00, 0x05});  // byte count does not fit the request
    case Event::Ex1:
    case Event::Ex2:
    case Event::Ex3:  // exception codes 1 to 3
      const auto code = static_cast<std::uint8_t>(static_cast<int>(e) - static_cast<int>(Event::Ex1) + 1);
      return Answer(w, kAnswerOtherLength, {1, 0x83, code});
  }
}

TEST(Statistics, MasterLineSumsAllErrorsAndListsTheCountedOnes) {
  using enum Event;
  struct Case {
    std::vector<Event> events;
    const char* line;
  };
  const Case cases[] = {
      {{Timeout, Ex2, Timeout, Timeout}, " rQ:0 Err:4 TOErr:3 Ex2:1"},
      {{Ex3, Data, Crc, Ex1, Timeout, Frame, Parity, Good},
       " rQ:0 Err:7 TOErr:1 DtErr:1 FrErr:1 PtyErr:1 CRCErr:1 Ex1:1 Ex3:1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    FakeHost host;
    auto w = NewWindow(host);
    EXPECT_EQ(w->lblStatistic(), " rQ: 0000 Err: 0000") << "before any traffic";
    for (Event e : c.events) Happen(*w, e);
    EXPECT_EQ(w->lblStatistic(), c.line);

    w->mnuClearCounters_Click();
    EXPECT_EQ(w->lblStatistic(), " rQ:0 Err:0");
    EXPECT_EQ(w->Counters(), MODBUS::TrafficCounters{});
  }
}

}  // namespace
}  // namespace quorvel::testing
