// Frames typed by hand: sealed for RTU and ASCII, with and without the
// checksum added, and sent once or every period as the port allows.

#include <gtest/gtest.h>

#include "app/HandFrame.h"

namespace quorvel {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Text(std::string_view text) { return Bytes(text.begin(), text.end()); }

std::string Repeated(int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += "01 ";
  return text;
}

TEST(HandFrame, TypedBytesAreSealedForTheFramingOrRefused) {
  struct Row {
    std::string typed;
    bool ascii;
    bool addChecksum;
    Bytes wire;
    const char* error = nullptr;  // refused: found in the message
  };
  const Row rows[] = {
      {"01 03 00 00 00 0A", false, true, {0x01, 0x03, 0x00, 0x00, 0x00, 0x0A, 0xC5, 0xCD}},
      {"0103 0000 000a", false, true, {0x01, 0x03, 0x00, 0x00, 0x00, 0x0A, 0xC5, 0xCD}},
      // A broken CRC on purpose goes out as typed.
      {"01 03 00 00 00 0A 00 00", false, false, {0x01, 0x03, 0x00, 0x00, 0x00, 0x0A, 0x00, 0x00}},
      {"01 03 00 00 00 0A", true, true, Text(":01030000000AF2\r\n")},
      {"01 03 00 00 00 0A F2", true, false, Text(":01030000000AF2\r\n")},
      {"01 03 00 00 00 0A 00", true, false, Text(":01030000000A00\r\n")},
      {"", false, true, {}, "no bytes"},
      {"01 0G", false, true, {}, "hex digit"},
      {"01 3", false, true, {}, "odd"},
      {Repeated(255), false, true, {}, "at most 256"},
      {Repeated(255), true, true, {}, "at most 513"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.typed.substr(0, 20) + (row.ascii ? " ascii" : " rtu") + (row.addChecksum ? " sealed" : ""));
    std::string error;
    const auto wire = SealHandFrame(row.typed, row.ascii, row.addChecksum, error);
    if (row.error) {
      EXPECT_FALSE(wire);
      EXPECT_NE(error.find(row.error), std::string::npos) << error;
    } else {
      ASSERT_TRUE(wire) << error;
      EXPECT_EQ(*wire, row.wire);
    }
  }
}

struct FakePort final : FramePort {
  bool free = true;
  bool refuse = false;
  std::vector<double> sentAt;
  const platform::ManualClock& clock;
  explicit FakePort(const platform::ManualClock& c) : clock(c) {}
  bool CanSend() const override { return free; }
  bool Send(std::span<const std::uint8_t>, std::string& why) override {
    if (refuse) {
      why = "refused";
      return false;
    }
    sentAt.push_back(clock.GetTimeMs());
    return true;
  }
};

// Ticks every 10 ms from now to `untilMs`, as the dialog's timer does.
void RunUntil(platform::ManualClock& clock, HandFrameSender& sender, double untilMs) {
  while (clock.GetTimeMs() < untilMs) {
    clock.AdvanceMs(10);
    sender.Tick();
  }
}

TEST(HandFrameSender, SendsOnceOrEveryPeriodWithoutCatchingUp) {
  platform::ManualClock clock;
  FakePort port(clock);
  HandFrameSender sender(port, clock);

  sender.Start({1, 2}, 0);
  EXPECT_TRUE(sender.Tick());
  RunUntil(clock, sender, 100);
  EXPECT_EQ(port.sentAt, std::vector<double>{0});
  EXPECT_FALSE(sender.Active());

  port.sentAt.clear();
  sender.Start({1, 2}, 100);
  sender.Tick();
  RunUntil(clock, sender, 300);
  // Busy from 300 to 470: one frame once free, then a whole period later.
  port.free = false;
  RunUntil(clock, sender, 470);
  port.free = true;
  RunUntil(clock, sender, 600);
  EXPECT_EQ(port.sentAt, (std::vector<double>{100, 200, 300, 480, 580}));
  sender.Stop();
  RunUntil(clock, sender, 800);
  EXPECT_EQ(port.sentAt.size(), 5U);
  EXPECT_EQ(sender.Sent(), 6);
}

TEST(HandFrameSender, ARefusalIsCountedWithItsReason) {
  platform::ManualClock clock;
  FakePort port(clock);
  port.refuse = true;
  HandFrameSender sender(port, clock);
  sender.Start({1}, 0);
  EXPECT_FALSE(sender.Tick());
  EXPECT_EQ(sender.Refused(), 1);
  EXPECT_EQ(sender.Sent(), 0);
  EXPECT_EQ(sender.Refusal(), "refused");
}

}  // namespace
}  // namespace quorvel
