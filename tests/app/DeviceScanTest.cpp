// The device scan's reading of answers: what proves a device is there, and
// the id lists it takes.

#include "app/DeviceScan.h"

#include <gtest/gtest.h>

#include "modbus/FrameCodec.h"

namespace quorvel {
namespace {

// A message sealed as it comes off the wire.
std::vector<std::uint8_t> Wire(std::vector<std::uint8_t> message, bool ascii) {
  const auto n = static_cast<std::int32_t>(message.size());
  message.resize(ascii ? 2 * message.size() + 5 : message.size() + 2);
  if (ascii) {
    MODBUS::ToASCII(message, n);
  } else {
    MODBUS::AddCRC(message, n);
  }
  return message;
}

struct AnswerCase {
  const char* name;
  bool ascii;
  bool timedOut;
  std::vector<std::uint8_t> answer;  // message bytes, sealed by the case
  bool damaged;                      // the checksum spoilt
  const char* found;                 // nullptr: nobody there
};

class Answers : public testing::TestWithParam<AnswerCase> {};

TEST_P(Answers, ProveADeviceOnlyWhenItsOwnAnswerArrivesWhole) {
  const AnswerCase& c = GetParam();
  DeviceScan scan({5, 6}, c.ascii);
  EXPECT_EQ(scan.Message(), (std::vector<std::uint8_t>{5, 3, 0, 0, 0, 1}));
  auto wire = Wire(c.answer, c.ascii);
  if (c.damaged) wire[wire.size() - 3] ^= 0x01;
  const auto hit = scan.Take(c.timedOut, wire);
  ASSERT_EQ(hit.has_value(), c.found != nullptr);
  if (hit) {
    EXPECT_EQ(hit->id, 5);
    EXPECT_EQ(hit->what, c.found);
  }
  // Whatever came, the next id is asked next.
  EXPECT_FALSE(scan.Done());
  EXPECT_EQ(scan.CurrentId(), 6);
  EXPECT_EQ(scan.Percent(), 50);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Answers,
    testing::Values(AnswerCase{"Registers", false, false, {5, 3, 2, 0x12, 0x34}, false, "registers"},
                    AnswerCase{"RegistersAscii", true, false, {5, 3, 2, 0x12, 0x34}, false, "registers"},
                    AnswerCase{"Exception", false, false, {5, 0x83, 2}, false, "exception 2"},
                    AnswerCase{"ExceptionAscii", true, false, {5, 0x83, 1}, false, "exception 1"},
                    AnswerCase{"TimedOut", false, true, {}, false, nullptr},
                    AnswerCase{"Damaged", false, false, {5, 3, 2, 0x12, 0x34}, true, nullptr},
                    AnswerCase{"FromAnotherId", false, false, {4, 3, 2, 0x12, 0x34}, false, nullptr},
                    AnswerCase{"ToAnotherFunction", false, false, {5, 4, 2, 0x12, 0x34}, false, nullptr}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(DeviceScanTest, ReadsIdLists) {
  struct Case {
    const char* text;
    std::vector<int> ids;
  };
  const Case good[] = {{"7", {7}}, {"1-3", {1, 2, 3}}, {"9,1-2,2", {9, 1, 2}}, {"247", {247}}};
  for (const Case& c : good) {
    std::string error;
    const auto ids = ParseIdList(c.text, error);
    ASSERT_TRUE(ids) << c.text << ": " << error;
    EXPECT_EQ(*ids, c.ids) << c.text;
  }
  for (const char* bad : {"", "0", "248", "3-1", "1,,2", "a", "1-", "-5"}) {
    std::string error;
    EXPECT_FALSE(ParseIdList(bad, error)) << bad;
    EXPECT_NE(error.find("1 to 247"), std::string::npos) << bad;
  }
}

}  // namespace
}  // namespace quorvel
