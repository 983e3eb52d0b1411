// The in-memory line: delivery times driven by a manual clock, data bits,
// damage, unplugging, exclusive opening and purging.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/MemoryLine.h"

namespace quorvel::platform {
namespace {

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

std::string ReadAll(SerialLine& line) {
  std::uint8_t buffer[1024];
  const IoResult r = line.ReadAvailable(buffer);
  return std::string(buffer, buffer + r.count);
}

LineSettings AtBaud(int baud, int dataBits = 8) {
  return {baud, dataBits, Parity::None, StopBits::One, true, RtsControl::Toggle};
}

class MemoryLineTest : public ::testing::Test {
 protected:
  void OpenBoth(const LineSettings& settings = {}) {
    ASSERT_FALSE(lineA.Open(settings));
    ASSERT_FALSE(lineB.Open(settings));
  }

  ManualClock clock{1'000'000'000};
  std::shared_ptr<MemoryWire> wire = std::make_shared<MemoryWire>(clock);
  MemoryLine lineA{wire, End::A};
  MemoryLine lineB{wire, End::B};
};

TEST_F(MemoryLineTest, LatencyAndPiecesDecideWhenBytesArrive) {
  wire->SetTiming(End::A, {5.0, 0, 0, false});
  wire->SetTiming(End::B, {0, 3, 10.0, false});
  OpenBoth();
  lineA.Write(Bytes("abc"));
  clock.AdvanceMs(4.999);
  EXPECT_EQ(lineB.BytesAvailable(), 0U);
  EXPECT_EQ(lineA.OutputQueued(), 0U);  // it has left; it is only not there yet
  clock.AdvanceMs(0.001);
  EXPECT_EQ(ReadAll(lineB), "abc");
  EXPECT_EQ(ReadAll(lineB), "");

  lineB.Write(Bytes("abcdefgh"));  // pieces abc, def, gh at +0, +10, +20 ms
  EXPECT_EQ(ReadAll(lineA), "abc");
  clock.AdvanceMs(9.9);
  EXPECT_EQ(ReadAll(lineA), "");
  clock.AdvanceMs(0.1);
  EXPECT_EQ(ReadAll(lineA), "def");
  clock.AdvanceMs(10);
  EXPECT_EQ(ReadAll(lineA), "gh");
}

TEST_F(MemoryLineTest, PacingTakesElevenBitTimesPerCharacter) {
  wire->SetTiming(End::A, {0, 0, 0, true});
  OpenBoth(AtBaud(9600));
  lineA.Write(Bytes("12345678"));
  // At 9600 baud a character takes 11/9600 s = 1.1458 ms: 4 have left by 5 ms
  // (the 4th at 4.583 ms, the 5th at 5.729 ms), and the 8th at 9.167 ms.
  clock.AdvanceMs(5);
  EXPECT_EQ(lineA.OutputQueued(), 4U);
  EXPECT_EQ(ReadAll(lineB), "1234");
  clock.AdvanceMs(4.166);
  EXPECT_EQ(ReadAll(lineB), "567");
  clock.AdvanceMs(0.001);
  EXPECT_EQ(ReadAll(lineB), "8");
  EXPECT_EQ(lineA.OutputQueued(), 0U);
}

TEST_F(MemoryLineTest, SevenDataBitsLoseTheTopBit) {
  OpenBoth(AtBaud(9600, 7));
  lineA.Write(std::vector<std::uint8_t>{0xFF, 0x3A, 0x8D});
  EXPECT_EQ(ReadAll(lineB), "\x7F\x3A\x0D");
}

TEST_F(MemoryLineTest, DamageCountsCharactersAcrossWrites) {
  wire->SetDamage(End::A, {3, 0, 0});
  wire->SetDamage(End::B, {0, 2, 2});
  OpenBoth();
  lineA.Write(Bytes("abcd"));
  lineA.Write(Bytes("efg"));
  EXPECT_EQ(ReadAll(lineB), "abdeg");  // the 3rd and 6th are lost
  EXPECT_EQ(wire->Damage(End::A).dropped, 2U);
  // Every 2nd flipped, bit 0 then bit 1 ('b' ^ 1 = 'c', 'd' ^ 2 = 'f'), and
  // followed by a noise character.
  lineB.Write(Bytes("abcd"));
  const std::string got = ReadAll(lineA);
  ASSERT_EQ(got.size(), 6U);
  EXPECT_EQ(got.substr(0, 2) + got.substr(3, 2), "accf");
  EXPECT_EQ(wire->Damage(End::B).flipped, 2U);
  EXPECT_EQ(wire->Damage(End::B).noise, 2U);
}

TEST_F(MemoryLineTest, AnUnpluggedEndIsGoneUntilPluggedAndOpenedAgain) {
  OpenBoth();
  lineB.Write(Bytes("lost"));
  wire->Unplug(End::A);
  EXPECT_TRUE(lineA.IsGone());
  std::uint8_t buffer[8];
  EXPECT_EQ(lineA.ReadAvailable(buffer).status, IoStatus::Gone);
  EXPECT_EQ(lineA.Write(Bytes("x")).status, IoStatus::Gone);
  EXPECT_EQ(lineB.Write(Bytes("also lost")).status, IoStatus::Ok);  // the far end just hears nothing
  lineA.Close();
  const OpenFailure missing = lineA.Open({});
  EXPECT_EQ(missing.cause, OpenCause::NoSuchDevice);
  EXPECT_EQ(missing.error, ENOENT);

  wire->Plug(End::A);
  ASSERT_FALSE(lineA.Open({}));
  EXPECT_EQ(ReadAll(lineA), "");
  lineB.Write(Bytes("back"));
  EXPECT_EQ(ReadAll(lineA), "back");
  EXPECT_EQ(wire->OpenCount(End::A), 2);
}

TEST_F(MemoryLineTest, OpeningIsExclusiveAndFailuresCanBeInjected) {
  ASSERT_FALSE(lineA.Open(AtBaud(19200)));
  EXPECT_EQ(wire->SettingsOf(End::A).baudRate, 19200);
  MemoryLine second(wire, End::A);
  EXPECT_EQ(second.Open({}).cause, OpenCause::Held);
  lineA.Close();

  OpenFailure denied;
  denied.cause = OpenCause::PermissionDenied;
  denied.group = "dialout";
  wire->FailNextOpen(End::A, denied);
  EXPECT_EQ(second.Open({}).group, "dialout");
  EXPECT_FALSE(second.IsOpen());
  EXPECT_FALSE(second.Open({}));  // only once
}

TEST_F(MemoryLineTest, PurgeDropsWhatHasArrivedOrHasNotLeft) {
  wire->SetTiming(End::A, {0, 2, 10.0, false});
  OpenBoth();
  lineA.Write(Bytes("abcd"));  // ab now, cd at +10 ms
  lineB.Purge(PurgeWhat::Input);
  clock.AdvanceMs(10);
  EXPECT_EQ(ReadAll(lineB), "cd");  // still on the wire when purged

  lineA.Write(Bytes("efgh"));  // ef now, gh at +10 ms
  lineA.Purge(PurgeWhat::Output);
  EXPECT_EQ(lineA.OutputQueued(), 0U);
  clock.AdvanceMs(10);
  EXPECT_EQ(ReadAll(lineB), "ef");
}

}  // namespace
}  // namespace quorvel::platform
