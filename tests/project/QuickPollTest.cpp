// Quick polls: each function reads its own table, a poll that cannot be
// made is refused with the reason, and a value retyped or given another
// display picture changes the list as the window's menu promises.

#include "project/QuickPoll.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "convert/AddressCode.h"
#include "project/CodePage.h"
#include "project/ListProject.h"

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
    const RequestRecord& r = file.Requests[0];
    EXPECT_EQ(std::tuple(r.Func, r.ReadAddr, r.ReadQnt, r.Period),
              std::tuple(c.poll.function, c.poll.start, c.poll.quantity, c.poll.periodMs));
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

// "HR 0:int16 1:int32/sw IR 0:int16": a table's name, then its rows, each an
// address and a type.
std::vector<RegisterRow> Rows(const std::string& text) {
  std::istringstream in(text);
  std::string table, item;
  std::vector<RegisterRow> rows;
  while (in >> item) {
    const auto colon = item.find(':');
    if (colon == std::string::npos) {
      table = item;
      continue;
    }
    const auto slash = item.find("/sw");
    std::string error;
    RegisterRow row;
    row.code = *ElementCodeFor(table, std::stoul(item.substr(0, colon)),
                               item.substr(colon + 1, slash == std::string::npos ? slash : slash - colon - 1),
                               slash != std::string::npos, error);
    row.label = AddressCaption(row.code);
    rows.push_back(row);
  }
  return rows;
}

// The same notation back, tables named where they change.
std::string RowsText(const std::vector<RegisterRow>& rows) {
  std::string out, table;
  for (const RegisterRow& row : rows) {
    if (TableNameOf(row.code) != table) {
      table = TableNameOf(row.code);
      out += (out.empty() ? "" : " ") + table;
    }
    out += " " + std::to_string(row.code & AddressCode::kAddressMask) + ":" + TypeNameOf(row.code) +
           (AddressCode(row.code).swapped() ? "/sw" : "");
  }
  return out;
}

struct RetypeCase {
  const char* name;
  const char* before;
  const char* table;
  std::uint32_t address;
  const char* type;
  bool swapped;
  const char* after;  // nullptr: refused, the rows stay
  const char* why;    // part of the refusal
};

struct RetypeTest : ::testing::TestWithParam<RetypeCase> {};

TEST_P(RetypeTest, ChangesTheListAsTheMenuPromises) {
  const RetypeCase& c = GetParam();
  std::vector<RegisterRow> rows = Rows(c.before);
  std::string error;
  const auto code = ElementCodeFor(c.table, c.address, "", false, error);
  ASSERT_TRUE(code) << error;
  const bool done = RetypeRow(rows, *code, c.type, c.swapped, error);
  if (!c.after) {
    EXPECT_FALSE(done);
    EXPECT_NE(error.find(c.why), std::string::npos) << error;
    EXPECT_EQ(RowsText(rows), RowsText(Rows(c.before))) << "a refused change leaves the list as it was";
    return;
  }
  ASSERT_TRUE(done) << error;
  EXPECT_EQ(RowsText(rows), RowsText(Rows(c.after)));
  // What is left still makes a project whose reads cover every value.
  ListProjectOptions options;
  EXPECT_NO_THROW(BuildListProject(rows, options, CodePage::Default()));
}

const RetypeCase kRetypes[] = {
    {"WiderTakesInTheNextValue", "HR 0:int16 1:int16 2:int16 3:int16", "HR", 0, "float32", false,
     "HR 0:float32 2:int16 3:int16", ""},
    {"SwappedWordOrder", "HR 0:int16 1:int16 2:int16 3:int16", "HR", 2, "int32", true, "HR 0:int16 1:int16 2:int32/sw",
     ""},
    {"NarrowerGivesBackRegistersOfItsOwnType", "HR 0:float32 2:float32", "HR", 0, "uint16", false,
     "HR 0:uint16 1:uint16 2:float32", ""},
    {"NarrowerButStillWideGivesBackInt16", "HR 0:float64 4:float64", "HR", 0, "int32", false,
     "HR 0:int32 2:int16 3:int16 4:float64", ""},
    {"ATakenInValueReachingFurtherLeavesItsTail", "HR 0:int16 1:int32 3:int16", "HR", 0, "uint32", false,
     "HR 0:uint32 2:int16 3:int16", ""},
    {"SameTypeChangesNothing", "HR 0:hex16 1:hex16", "HR", 1, "HEX16", false, "HR 0:hex16 1:hex16", ""},
    {"BitsWidenAndTakeInCoils", "C 0:bits:1 1:bits:1 2:bits:1 3:bits:1 4:bits:1", "C", 0, "bits:4", false,
     "C 0:bits:4 4:bits:1", ""},
    {"BitsNarrowGiveBackSingleBits", "DI 0:bits:8", "DI", 0, "bits:2", false,
     "DI 0:bits:2 2:bits:1 3:bits:1 4:bits:1 5:bits:1 6:bits:1 7:bits:1", ""},
    {"OtherTablesAtTheSameAddressesStay", "HR 0:int16 1:int16 IR 0:int16 1:int16", "HR", 0, "int32", false,
     "HR 0:int32 IR 0:int16 1:int16", ""},
    {"PastTheLastRegisterRead", "HR 0:int16 1:int16 2:int16", "HR", 2, "float32", false, nullptr, "past the last"},
    {"RegisterTypeForCoils", "C 0:bits:1 1:bits:1", "C", 0, "int16", false, nullptr, "coils and discrete inputs"},
    {"BitsForRegisters", "IR 0:int16 1:int16", "IR", 0, "bits:2", false, nullptr, "for coils"},
    {"SwappedSingleRegister", "HR 0:int16 1:int16", "HR", 0, "uint16", true, nullptr, "two or four registers"},
    {"UnknownType", "HR 0:int16", "HR", 0, "int8", false, nullptr, "is not one of"},
    {"NoValueThere", "HR 0:int16 1:int16", "HR", 7, "int16", false, nullptr, "no value HR0007"},
    {"NoValueInThatTable", "HR 0:int16", "IR", 0, "int16", false, nullptr, "no value IR0000"},
};

INSTANTIATE_TEST_SUITE_P(QuickPollTest, RetypeTest, ::testing::ValuesIn(kRetypes),
                         [](const ::testing::TestParamInfo<RetypeCase>& info) { return info.param.name; });

TEST(QuickPollTest, ARetypedValueKeepsItsLabelAndScaleButNotItsPicture) {
  std::vector<RegisterRow> rows = Rows("HR 0:int16 1:int16");
  rows[0].label = "Flow";
  rows[0].k = 0.1;
  rows[0].x0 = 5;
  rows[0].format = "0.0";
  std::string error;
  ASSERT_TRUE(RetypeRow(rows, rows[0].code, "float32", false, error)) << error;
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].label, "Flow");
  EXPECT_EQ(rows[0].k, 0.1);
  EXPECT_EQ(rows[0].x0, 5);
  EXPECT_EQ(rows[0].format, "") << "the picture of an int16 does not suit a float";
}

TEST(QuickPollTest, APictureIsOneLineTheCodePageCanWrite) {
  std::vector<RegisterRow> rows = Rows("HR 0:int16 1:int16");
  std::string error;
  ASSERT_TRUE(ReformatRow(rows, rows[1].code, "0.000", CodePage::Default(), error)) << error;
  EXPECT_EQ(rows[1].format, "0.000");
  EXPECT_EQ(rows[0].format, "");
  EXPECT_FALSE(ReformatRow(rows, rows[1].code, "0\r\n0", CodePage::Default(), error));
  EXPECT_FALSE(ReformatRow(rows, rows[1].code, "\xE4\xB8\xAD", CodePage::Default(), error));
  EXPECT_NE(error.find("display picture"), std::string::npos) << error;
  EXPECT_EQ(rows[1].format, "0.000") << "a refused picture leaves the one set";
  ASSERT_TRUE(ReformatRow(rows, rows[1].code, "", CodePage::Default(), error));
  EXPECT_EQ(rows[1].format, "") << "empty is the type's default";
}

}  // namespace
}  // namespace quorvel
