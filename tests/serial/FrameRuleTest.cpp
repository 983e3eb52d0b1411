// Finding frames by their announced length: the lengths by function code,
// and where a frame is found among other bytes.

#include <gtest/gtest.h>

#include "SerialTestSupport.h"
#include "modbus/FrameLength.h"
#include "serial/FrameRule.h"

namespace quorvel::test {
namespace {

TEST(FrameLengthTest, LengthsByFunction) {
  struct Row {
    Bytes head;
    int request, answer;
  };
  const Row rows[] = {
      {{0x01}, MODBUS::kNeedMore, MODBUS::kNeedMore},
      {{0x01, 0x03}, 8, MODBUS::kNeedMore},
      {{0x01, 0x03, 0x14}, 8, 25},
      {{0x01, 0x83}, MODBUS::kUnknown, 5},
      {{0x01, 0x06}, 8, 8},
      {{0x01, 0x10, 0, 0, 0, 2}, MODBUS::kNeedMore, 8},
      {{0x01, 0x10, 0, 0, 0, 2, 4}, 13, 8},
      {{0x01, 0x0F, 0, 0, 0, 9, 2}, 11, 8},
      {{0x01, 0x16}, 10, 10},
      {{0x01, 0x17, 0, 0, 0, 1, 0, 5, 0, 1, 2}, 15, 5},
      {{0x01, 0x17, 0x02}, MODBUS::kNeedMore, 7},
      {{0x01, 0x2B}, MODBUS::kUnknown, MODBUS::kUnknown},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::PrintToString(r.head));
    EXPECT_EQ(MODBUS::RtuRequestLength(r.head), r.request);
    EXPECT_EQ(MODBUS::RtuAnswerLength(r.head), r.answer);
  }
}

TEST(FrameLengthTest, AsciiFrameOkNeedsMarkersHexDigitsAndItsLrc) {
  EXPECT_TRUE(MODBUS::AsciiFrameOk(Text(":010304000A0014DA\r\n")));
  for (const char* bad :
       {":010304000A0014DB\r\n", ":010304000A0014DA\n\r", "010304000A0014DA\r\n", ":01G3\r\n", ":010304000A0014D\r\n"})
    EXPECT_FALSE(MODBUS::AsciiFrameOk(Text(bad))) << bad;
}

struct FindRow {
  const char* name;
  Bytes bytes;
  FrameKind kind;
  std::size_t start, length;
};

void ExpectFinds(const FrameRule& rule, std::initializer_list<FindRow> rows) {
  for (const FindRow& r : rows) {
    SCOPED_TRACE(r.name);
    const FrameMatch m = rule.Find(r.bytes);
    EXPECT_EQ(m.kind, r.kind);
    if (r.kind != FrameKind::None) {
      EXPECT_EQ(m.start, r.start);
      EXPECT_EQ(m.length, r.length);
    }
  }
}

const Bytes kRequest = Sealed({0x01, 0x03, 0x00, 0x6B, 0x00, 0x03});
const Bytes kAnswer = Sealed({0x01, 0x03, 0x06, 0x02, 0x2B, 0x00, 0x00, 0x00, 0x64});
const Bytes kException = Sealed({0x01, 0x83, 0x02});

TEST(FrameRuleTest, MasterFindsTheAnswerWhereverItStarts) {
  ExpectFinds(FrameRule::AnswerFrom(1, 3),
              {
                  {"answer", kAnswer, FrameKind::Awaited, 0, 11},
                  {"exception", kException, FrameKind::Awaited, 0, 5},
                  {"not all in", Bytes(kAnswer.begin(), kAnswer.end() - 1), FrameKind::None, 0, 0},
                  {"only the address in", {0x01}, FrameKind::None, 0, 0},
                  {"glitch first", Join({{0x00}, kAnswer}), FrameKind::Awaited, 1, 11},
                  {"own request echoed first", Join({kRequest, kAnswer}), FrameKind::Awaited, 8, 11},
                  {"another slave's", Sealed({0x02, 0x03, 0x02, 0x00, 0x01}), FrameKind::None, 0, 0},
                  {"another function's", Sealed({0x01, 0x04, 0x02, 0x00, 0x01}), FrameKind::None, 0, 0},
                  {"CRC broken", Join({Bytes(kAnswer.begin(), kAnswer.end() - 1), {0x00}}), FrameKind::None, 0, 0},
                  {"the longest a frame may be: 256 bytes", Sealed(Join({{0x01, 0x03, 251}, Bytes(251, 0x5A)})),
                   FrameKind::Awaited, 0, 256},
                  {"one byte longer", Sealed(Join({{0x01, 0x03, 252}, Bytes(252, 0x5A)})), FrameKind::None, 0, 0},
              });
}

// What may still begin a frame keeps a read open past t3.5; the address alone may.
TEST(FrameRuleTest, PendingWhileAFrameMayStillComplete) {
  const FrameRule rule = FrameRule::AnswerFrom(1, 3);
  EXPECT_TRUE(rule.Find(Bytes{0x01}).pending);
  EXPECT_TRUE(rule.Find(Bytes(kAnswer.begin(), kAnswer.end() - 1)).pending);
  EXPECT_FALSE(rule.Find(Bytes{0x07}).pending);
  EXPECT_FALSE(rule.Find(Bytes{0x01}, true).pending);
}

TEST(FrameRuleTest, SlaveTellsRequestsFromOtherSlavesAnswers) {
  // A write whose data is a whole request, CRC and all.
  const Bytes write = Sealed(Join({{0x03, 0x10, 0x00, 0x00, 0x00, 0x04, 0x08}, kRequest}));
  const Bytes writeCut(write.begin(), write.end() - 2);
  const Bytes glitchThenWrite = Join({{0x00}, write});  // read as 00 03 10: an answer of 21 bytes
  const FrameRule rule = FrameRule::Requests();
  ExpectFinds(rule, {
                        {"request", kRequest, FrameKind::Awaited, 0, 8},
                        {"another slave's answer", kAnswer, FrameKind::Foreign, 0, 11},
                        {"two requests at once: the first", Join({kRequest, kRequest}), FrameKind::Awaited, 0, 8},
                        {"glitch first", Join({{0x00}, kRequest}), FrameKind::Awaited, 1, 8},
                        {"write not all in: the request inside waits", writeCut, FrameKind::None, 0, 0},
                        {"write whole", write, FrameKind::Awaited, 0, 17},
                        {"glitch before a write, line still busy", glitchThenWrite, FrameKind::None, 0, 0},
                        {"address above 247", Sealed({0xF8, 0x03, 0x00, 0x00, 0x00, 0x01}), FrameKind::None, 0, 0},
                    });
  // Once the line is quiet, nothing can complete any more.
  const FrameMatch m = rule.Find(glitchThenWrite, true);
  EXPECT_EQ(m.kind, FrameKind::Awaited);
  EXPECT_EQ(m.start, 1U);
  EXPECT_EQ(m.length, 17U);
}

TEST(FrameRuleTest, AsciiFramesRunFromColonToLineFeed) {
  const Bytes frame = Text(":010300000001FB\r\n");
  ExpectFinds(FrameRule::Ascii(),
              {
                  {"frame", frame, FrameKind::Awaited, 0, 17},
                  {"two at once: the first", Join({frame, frame}), FrameKind::Awaited, 0, 17},
                  {"noise first", Join({Text("x\r\n"), frame}), FrameKind::Awaited, 3, 17},
                  {"cut short, then whole", Join({Text(":0103"), frame}), FrameKind::Awaited, 5, 17},
                  {"not all in", Text(":010300"), FrameKind::None, 0, 0},
              });
  EXPECT_TRUE(FrameRule::Ascii().Find(Text(":0103")).pending);
  EXPECT_FALSE(FrameRule::Ascii().Find(Text("0103\r\n")).pending);
}

}  // namespace
}  // namespace quorvel::test
