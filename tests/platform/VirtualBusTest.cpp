// The bus forwarder run in-process on a thread: who hears what, in which
// order, and what two ends talking at once make of each other's characters.

#include <gtest/gtest.h>

#include <memory>

#include "LineTestSupport.h"
#include "platform/TermiosLine.h"
#include "platform/VirtualBus.h"

namespace quorvel::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A VirtualBus with every end opened as a line; it forwards once started.
struct RunningBus : Running<VirtualBus> {
  explicit RunningBus(const VirtualBusOptions& options) : Running(options) {
    for (std::size_t i = 0; i < forwarder.Ends(); ++i) {
      lines.push_back(std::make_unique<TermiosLine>(forwarder.Path(i)));
      EXPECT_FALSE(lines.back()->Open({}));
    }
  }
  TermiosLine& End(std::size_t i) { return *lines[i]; }

  std::vector<std::unique_ptr<TermiosLine>> lines;
};

struct TurnsCase {
  int baud;
  bool echo;
};

class VirtualBusTurns : public ::testing::TestWithParam<TurnsCase> {};

// Ends take turns, each waiting until the others have heard the last one, as
// a master and its devices do. A copy missing, doubled or heard by its own
// sender without echo shows up in a later turn's place; the last turn's
// extras would be waiting once the forwarder has stopped.
TEST_P(VirtualBusTurns, EveryOtherEndHearsEachTurnOnceAndInOrder) {
  const TurnsCase& c = GetParam();
  RunningBus bus({.ends = 3, .baudRate = c.baud, .damage = {}, .echo = c.echo});
  bus.Start();
  const struct {
    std::size_t from;
    Bytes bytes;
  } turns[] = {{0, {0x01, 0x03, 0x00, 0x00, 0x00, 0x0A, 0xC5, 0xCD}},
               {1, {0xA5, 0x5A, 0x00}},
               {0, {0x7E}},
               {2, {0x10, 0x20, 0x30, 0x40}},
               {1, {0xFF, 0x00}}};
  std::uint64_t sent[3] = {};
  for (const auto& turn : turns) {
    bus.End(turn.from).Write(turn.bytes);
    sent[turn.from] += turn.bytes.size();
    for (std::size_t r = 0; r < 3; ++r) {
      if (r == turn.from && !c.echo) continue;
      EXPECT_EQ(ReadLine(bus.End(r), turn.bytes.size()), turn.bytes) << "end " << r << ", turn of end " << turn.from;
    }
  }
  EXPECT_EQ(bus.Stop(), 0);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(bus.End(i).BytesAvailable(), 0U) << "end " << i;
    const ForwarderCounts counts = bus.forwarder.Counts(i);
    EXPECT_EQ(counts.received, sent[i]);
    EXPECT_EQ(counts.delivered, 2 * sent[i]) << "a copy for each other end, echo not counted";
    EXPECT_EQ(counts.collided, 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(PacedOrNot, VirtualBusTurns,
                         ::testing::Values(TurnsCase{19200, false}, TurnsCase{19200, true}, TurnsCase{0, false},
                                           TurnsCase{0, true}));

struct TogetherCase {
  int baud;
  Bytes thirdHears;  // end 2, which keeps quiet
  Bytes firstHears;  // end 0, of end 1's frame
  Bytes secondHears;
  std::uint64_t collided;  // of each talking end
};

class VirtualBusTogether : public ::testing::TestWithParam<TogetherCase> {};

// Both frames are written before the forwarder starts, so it takes them at
// one reading of the clock: they go on the wire at the same moment,
// character against character, whatever the machine's load.
TEST_P(VirtualBusTogether, TwoEndsTalkingAtOnce) {
  const TogetherCase& c = GetParam();
  RunningBus bus({.ends = 3, .baudRate = c.baud, .damage = {}});
  bus.End(0).Write(Bytes{0x01, 0x03, 0x0F, 0x80});
  bus.End(1).Write(Bytes{0x11, 0x06, 0xF0, 0x80});
  bus.Start();
  EXPECT_EQ(ReadLine(bus.End(2), c.thirdHears.size()), c.thirdHears);
  EXPECT_EQ(ReadLine(bus.End(0), c.firstHears.size()), c.firstHears);
  EXPECT_EQ(ReadLine(bus.End(1), c.secondHears.size()), c.secondHears);
  bus.Stop();
  EXPECT_EQ(bus.forwarder.Counts(0).collided, c.collided);
  EXPECT_EQ(bus.forwarder.Counts(1).collided, c.collided);
  EXPECT_EQ(bus.forwarder.Counts(2).collided, 0U);
  EXPECT_EQ(bus.forwarder.Counts(0).delivered, 8U) << "garbled characters still arrive";
}

INSTANTIATE_TEST_SUITE_P(Cases, VirtualBusTogether,
                         ::testing::Values(
                             // On the wire at once: each pair of characters collides, and every
                             // end hears both of each pair as their XOR, end 0's copy first.
                             TogetherCase{9600,
                                          {0x10, 0x10, 0x05, 0x05, 0xFF, 0xFF, 0x00, 0x00},
                                          {0x10, 0x05, 0xFF, 0x00},
                                          {0x10, 0x05, 0xFF, 0x00},
                                          4},
                             // Without a baud rate characters take no time on the wire: nothing
                             // collides, and what came at once is passed on end by end.
                             TogetherCase{0,
                                          {0x01, 0x03, 0x0F, 0x80, 0x11, 0x06, 0xF0, 0x80},
                                          {0x11, 0x06, 0xF0, 0x80},
                                          {0x01, 0x03, 0x0F, 0x80},
                                          0}));

}  // namespace
}  // namespace quorvel::platform
