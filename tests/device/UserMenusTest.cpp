// The user request menus: which requests become items of which menu, and what
// choosing an item sends.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "FakeHost.h"
#include "TestProject.h"
#include "dialogs/frmUserWrite.h"

namespace quorvel::testing {
namespace {

RequestRecord Command(std::int32_t func, std::int32_t control, std::string label, std::int32_t addr = 0,
                      std::int32_t qnt = 1) {
  RequestRecord r;
  r.Func = func;
  r.Control = control;
  r.Label = std::move(label);
  r.WriteAddr = addr;
  r.WriteQnt = qnt;
  r.Data = std::vector<std::uint8_t>(func == 16 || func == 23 ? 2 * qnt : (func == 22 ? 4 : 2), 0);
  return r;
}

struct Fixture {
  FakeHost host;
  frmQuorvel w{host};
  explicit Fixture(const TestProject& project) { Load(w, project); }
};

TestProject Commands() {
  TestProject p;
  p.requests = {
      Read(3, 0, 4),
      Command(6, 1, "Reset totaliser", 5),
      Command(16, 3, "Zero point", 10, 2),
      Command(6, 2, "Set limit", 7),
      Command(6, 5, "Hidden", 8),
      Command(6, 1, "Reset totaliser", 6),  // same label: never chosen
      Command(5, 4, "Pump", 3),
      Command(3, 2, "Typed read", 0),
  };
  return p;
}

TEST(UserMenuClick, FixedRequestIsQueuedItselfEveryTimeChosen) {
  Fixture f(Commands());
  f.w.SetNextTime(99);
  f.w.mnuUser1_Click(3);  // the second "Reset totaliser" item
  f.w.mnuUser1_Click(1);
  ASSERT_EQ(f.w.PendingRequests.size(), 2u);
  // Both name the first request of that label, the project's own object.
  EXPECT_EQ(f.w.PendingRequests[0], f.w.Requests[1]);
  EXPECT_EQ(f.w.PendingRequests[1], f.w.Requests[1]);
  EXPECT_EQ(f.w.NextTime(), frmQuorvel::kAtOnce);
  EXPECT_TRUE(f.host.userWrites.empty());
}

TEST(UserMenuClick, TypedWritesGoToTheDialogWithTheirTableOthersAreQueued) {
  Fixture f(Commands());
  f.w.mnuUser1_Click(2);  // "Set limit", function 6
  f.w.mnuUser2_Click(2);  // "Pump", function 5
  ASSERT_EQ(f.host.userWrites.size(), 2u);
  EXPECT_EQ(f.host.userWrites[0].elements, &f.w.HoldingElements);
  EXPECT_EQ(f.host.userWrites[0].request, f.w.Requests[3]);
  EXPECT_EQ(f.host.userWrites[1].elements, &f.w.CoilElements);
  EXPECT_EQ(f.host.userWrites[1].request, f.w.Requests[6]);
  EXPECT_TRUE(f.w.PendingRequests.empty());
  // A typed request of a function without write data is queued directly.
  f.w.mnuUser1_Click(4);  // "Typed read", function 3
  ASSERT_EQ(f.w.PendingRequests.size(), 1u);
  EXPECT_EQ(f.w.PendingRequests[0], f.w.Requests[7]);
  EXPECT_EQ(f.host.userWrites.size(), 2u);
}

TEST(UserMenuClick, ItemsOutsideTheMenuOrOfTheOtherMenusControlDoNothing) {
  Fixture f(Commands());
  f.w.mnuUser1_Click(0);
  f.w.mnuUser1_Click(99);
  f.w.mnuUser2_Click(-1);
  f.w.menus.mnuUser2[1].Caption = "Reset totaliser";  // a label of the other menu's kind
  f.w.mnuUser2_Click(1);
  EXPECT_TRUE(f.w.PendingRequests.empty());
  EXPECT_TRUE(f.host.userWrites.empty());
}

// The dialog over the requests handed to it.
TestProject Writable() {
  TestProject p;
  p.elements = {
      Box(0x00000009, 1),  // holding 9: before the block
      Box(0x0000000A, 2),  // holding 10
      Box(0x0020000B, 0),  // holding 11..12, Float
      Box(0x0000000C, 3),  // holding 12: inside, but the float already covers it
      Box(0x0010000C, 0),  // holding 12..13, Long: runs out of the block
  };
  p.requests = {
      Command(16, 2, "Limits", 10, 3),
  };
  return p;
}

std::vector<std::int32_t> RowAddresses(const frmUserWrite& dialog) {
  std::vector<std::int32_t> addresses;
  for (const UserWriteRow& row : dialog.Rows()) addresses.push_back(row.element->Address() & 0xFFFF);
  return addresses;
}

TEST(frmUserWrite, ListsTheWriteBlocksElementsAndQueuesAFilledCopy) {
  Fixture f(Writable());
  frmUserWrite dialog(f.w, f.w.HoldingElements, f.w.PendingRequests, f.w.Requests[0]);
  EXPECT_EQ(RowAddresses(dialog), (std::vector<std::int32_t>{10, 11, 12}));
  dialog.Rows()[0].Text = "40000";  // beyond a signed integer: the dialog stays and queues nothing
  EXPECT_FALSE(dialog.cmdOK_Click());
  EXPECT_TRUE(dialog.Visible());
  EXPECT_FALSE(dialog.Rows()[0].Refusal.empty());
  EXPECT_TRUE(f.w.PendingRequests.empty());

  dialog.Rows()[0].Text = "-1";
  dialog.Rows()[1].Text = "1.5";  // 3FC00000h, low word first
  dialog.Rows()[2].Text = "0";    // typed after the float: its register ends as this
  EXPECT_TRUE(dialog.cmdOK_Click());
  ASSERT_EQ(f.w.PendingRequests.size(), 1u);
  const ReqProp& sent = *f.w.PendingRequests.front();
  EXPECT_NE(&sent, f.w.Requests[0].get());
  EXPECT_EQ(sent.Func(), 16);
  EXPECT_EQ(sent.WriteAddr(), 10);
  EXPECT_EQ(sent.Data(), (std::vector<std::uint8_t>{0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00}));
  EXPECT_EQ(f.w.Requests[0]->Data(), (std::vector<std::uint8_t>(6, 0)));
  EXPECT_EQ(f.w.NextTime(), frmQuorvel::kAtOnce);
}

}  // namespace
}  // namespace quorvel::testing
