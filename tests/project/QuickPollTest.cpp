// Quick polls: each function reads its own table, and a poll that cannot be
// made is refused with the reason.

#include "project/QuickPoll.h"

#include <gtest/gtest.h>

#include "convert/AddressCode.h"
#include "project/CodePage.h"

namespace quorvel {
namespace {

TEST(QuickPollTest, ReadsTheBlockWithItsFunctionAndShowsEachValue) {
  struct Case {
    QuickPoll poll;
    Table table;
    std::size_t values;
  };
  const Case cases[] = {{{3, 100, 10, "float32", 500}, Table::Holding, 5},
                        {{4, 0, 2, "hex16", 1000}, Table::InputReg, 2},
                        {{1, 8, 16, "bits:8", 1000}, Table::Coil, 2},
                        {{2, 0, 3, "bits:1", 1000}, Table::Discrete, 3}};
  for (const Case& c : cases) {
    const ProjectFile file = BuildQuickPollProject(c.poll, CodePage::Default());
    ASSERT_EQ(file.Requests.size(), 1u) << c.poll.function;
    EXPECT_EQ(file.Requests[0].Func, c.poll.function);
    EXPECT_EQ(file.Requests[0].ReadAddr, c.poll.start);
    EXPECT_EQ(file.Requests[0].ReadQnt, c.poll.quantity);
    EXPECT_EQ(file.Requests[0].Period, c.poll.periodMs);
    std::size_t boxes = 0;
    for (const auto& e : file.Elements) {
      if (e.CtrlName != "TBox") continue;
      ++boxes;
      EXPECT_EQ(AddressCode(e.Address).table(), c.table);
    }
    EXPECT_EQ(boxes, c.values) << c.poll.function;
  }
}

TEST(QuickPollTest, RefusesPollsThatCannotBeMade) {
  const QuickPoll bad[] = {{5, 0, 1, "int16", 1000},   {3, 0, 0, "int16", 1000}, {3, 65535, 2, "int16", 1000},
                           {3, 0, 3, "float32", 1000}, {1, 0, 4, "int16", 1000}, {3, 0, 1, "int8", 1000}};
  for (const QuickPoll& poll : bad) {
    EXPECT_THROW(BuildQuickPollProject(poll, CodePage::Default()), std::invalid_argument)
        << poll.function << " " << poll.start << " " << poll.quantity << " " << poll.type;
  }
}

}  // namespace
}  // namespace quorvel
