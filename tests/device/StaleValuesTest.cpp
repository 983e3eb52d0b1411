// A Master's values whose last answer failed: which ones the window marks,
// when the mark goes, and the option that keeps the classic look.

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "Answers.h"
#include "FakeHost.h"
#include "TestProject.h"

namespace quorvel::testing {
namespace {

// Requests: 0 reads HR0..HR1, 1 reads HR5, 2 writes HR5 once.
std::unique_ptr<frmQuorvel> NewWindow(FakeHost& host) {
  TestProject p;
  p.elements = {Box(0x00000000), Box(0x00000001), Box(0x00000005)};
  p.requests = {Read(3, 0, 2), Read(3, 5, 1), WriteOne(5, 7)};
  return Loaded(host, p);
}

// Holding register `address`, an Integer.
CtrlProp& Element(frmQuorvel& w, std::uint32_t address) { return *ElementAt(w, address); }

enum class Reply { Good, Timeout, Exception, BadCrc, OtherSlave };

void Respond(frmQuorvel& w, int request, Reply reply) {
  w.LastRequest = w.Requests.at(static_cast<std::size_t>(request));
  const std::vector<std::vector<std::uint8_t>> good = {
      {1, 3, 4, 0x00, 0x07, 0x00, 0x09}, {1, 3, 2, 0x00, 0x2A}, {1, 6, 0x00, 0x05, 0x00, 0x07}};
  const auto& answer = good.at(static_cast<std::size_t>(request));
  switch (reply) {
    case Reply::Good:
      return Answer(w, kAnswerExpected, answer);
    case Reply::Timeout:
      return Answer(w, kAnswerTimeout);
    case Reply::Exception:
      return Answer(w, kAnswerOtherLength, {1, static_cast<std::uint8_t>(answer[1] + 0x80), 2});
    case Reply::BadCrc:
      return Answer(w, kAnswerExpected, answer, false);
    case Reply::OtherSlave: {
      auto other = answer;
      other[0] = 2;
      return Answer(w, kAnswerExpected, other);
    }
  }
}

// Marked and drawn dimmed: HR0, HR1, HR5.
std::array<bool, 3> Marks(frmQuorvel& w) {
  std::array<bool, 3> marks{};
  const std::array<std::uint32_t, 3> addresses{0, 1, 5};
  for (std::size_t i = 0; i < 3; ++i) {
    CtrlProp& element = Element(w, addresses[i]);
    EXPECT_EQ(element.rCtrl()->Dimmed(), w.Stale(element)) << "HR" << addresses[i];
    marks[i] = w.Stale(element);
  }
  return marks;
}

TEST(StaleValues, FailedAnswerMarksWhatItsRequestReadsUntilAGoodOne) {
  using enum Reply;
  struct Step {
    int request;
    Reply reply;
  };
  struct Case {
    const char* name;
    std::vector<Step> steps;
    std::array<bool, 3> stale;
  };
  const Case cases[] = {
      {"time-out marks the block read, nothing else", {{0, Timeout}}, {true, true, false}},
      {"good answer clears", {{0, Timeout}, {0, Good}}, {false, false, false}},
      {"another request's good answer does not", {{0, Timeout}, {1, Good}}, {true, true, false}},
      {"exception answer", {{1, Exception}}, {false, false, true}},
      {"checksum error", {{1, BadCrc}}, {false, false, true}},
      {"another slave's answer is no failure", {{0, OtherSlave}}, {false, false, false}},
      {"a write reads nothing, so neither marks nor clears",
       {{1, Timeout}, {2, Good}, {2, Timeout}},
       {false, false, true}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FakeHost host;
    auto w = NewWindow(host);
    for (const Step& step : c.steps) Respond(*w, step.request, step.reply);
    EXPECT_EQ(Marks(*w), c.stale);
  }
}

TEST(StaleValues, ValuesStayAsTheLastGoodAnswerBroughtThem) {
  FakeHost host;
  auto w = NewWindow(host);
  Respond(*w, 0, Reply::Good);
  const std::string shown = Element(*w, 1).rCtrl()->Caption();
  ASSERT_FALSE(shown.empty());
  Respond(*w, 0, Reply::Timeout);
  EXPECT_EQ(Element(*w, 1).rCtrl()->Caption(), shown);
}

TEST(StaleValues, ClassicLookDrawsNothingDimmedButTheWindowStillKnows) {
  FakeHost host;
  auto w = NewWindow(host);
  CtrlProp& hr0 = Element(*w, 0);
  ASSERT_TRUE(w->menus.mnuGreyStale.Checked);
  Respond(*w, 0, Reply::Timeout);
  w->mnuGreyStale_Click();
  EXPECT_TRUE(w->Stale(hr0));
  EXPECT_FALSE(hr0.rCtrl()->Dimmed());
  // Turned on again: dimmed as the last answers say, not as they said before.
  Respond(*w, 0, Reply::Good);
  Respond(*w, 1, Reply::Timeout);
  w->mnuGreyStale_Click();
  EXPECT_EQ(Marks(*w), (std::array<bool, 3>{false, false, true}));
}

TEST(StaleValues, OtherModeStartsUnmarkedAndHasNoOption) {
  FakeHost host;
  auto w = NewWindow(host);
  Respond(*w, 0, Reply::Timeout);
  w->SetMode(kSlave);
  EXPECT_EQ(Marks(*w), (std::array<bool, 3>{}));
  EXPECT_FALSE(w->menus.mnuGreyStale.Visible);
  w->SetMode(kMaster);
  EXPECT_TRUE(w->menus.mnuGreyStale.Visible);
}

}  // namespace
}  // namespace quorvel::testing
