// Register lists: every type shows register bytes as its name promises, and
// every kind of bad row is refused with its line and reason.

#include "project/RegisterList.h"

#include <gtest/gtest.h>

#include <vector>

#include "convert/AddressCode.h"
#include "convert/DisplayText.h"
#include "convert/RegisterDecode.h"
#include "project/CodePage.h"

namespace quorvel {
namespace {

const std::string kHeader = "label,table,address,type,order,format,k,x0,writable\n";

RegisterList Parse(const std::string& text, int codePage = 1252) {
  return ParseRegisterCsv(text, *CodePage::Find(codePage));
}

struct TypeCase {
  const char* name;
  const char* row;  // after the label
  std::vector<std::uint8_t> wire;
  const char* shown;
};

class RegisterTypes : public testing::TestWithParam<TypeCase> {};

// The text a value box of the row shows for these register bytes.
TEST_P(RegisterTypes, ShowRegisterBytesAsTheirNameSays) {
  const TypeCase& c = GetParam();
  const RegisterList list = Parse(kHeader + "v," + c.row + "\n");
  ASSERT_EQ(list.errors, std::vector<std::string>{});
  ASSERT_EQ(list.rows.size(), 1u);
  const RegisterRow& row = list.rows[0];
  ASSERT_EQ(static_cast<std::size_t>(AddressCode(row.code).byteCount()), c.wire.size());
  std::vector<std::uint8_t> bytes = c.wire;
  const double v = DecodeRegisters(bytes, row.code);
  const std::string format = row.format.empty() ? DefaultFormat(row.code) : row.format;
  EXPECT_EQ(DisplayText(v, row.code, format, row.k, row.x0), c.shown);
}

INSTANTIATE_TEST_SUITE_P(
    EveryType, RegisterTypes,
    testing::Values(TypeCase{"int16", "HR,0,int16", {0xFB, 0x2E}, "-1 234"},
                    TypeCase{"int16ByDefault", "HR,0", {0xFB, 0x2E}, "-1 234"},
                    TypeCase{"uint16", "HR,0,uint16", {0xFB, 0x2E}, "64 302"},
                    TypeCase{"int32", "HR,0,int32", {0xFD, 0x2E, 0xB6, 0x69}, "-1 234 567 890"},
                    TypeCase{"int32Swapped", "HR,0,int32,swapped", {0xB6, 0x69, 0xFD, 0x2E}, "-1 234 567 890"},
                    TypeCase{"uint32", "IR,0,uint32", {0xFD, 0x2E, 0xB6, 0x69}, "3 060 399 406"},
                    TypeCase{"float32", "HR,0,float32", {0x00, 0x00, 0x40, 0x50}, "3.25"},
                    TypeCase{"float32Swapped", "HR,0,float32,Swapped", {0x40, 0x50, 0x00, 0x00}, "3.25"},
                    TypeCase{"float64", "HR,0,float64", {0, 0, 0, 0, 0, 0, 0x3F, 0xF0}, "1.000 E+00"},
                    TypeCase{"float64Swapped", "HR,0,float64,swapped", {0x3F, 0xF0, 0, 0, 0, 0, 0, 0}, "1.000 E+00"},
                    TypeCase{"hex16", "HR,0,hex16", {0xBE, 0xEF}, "BEEFh"},
                    TypeCase{"hex32", "HR,0,hex32", {0x23, 0x45, 0x00, 0x01}, "0001 2345h"},
                    TypeCase{"bin16", "HR,0,bin16", {0x00, 0x05}, "0000 0000 0000 0101"},
                    TypeCase{"bin8IsTheLowByte", "HR,0,bin8", {0x12, 0x05}, "0000 0101"},
                    TypeCase{"hi8IsUnsigned", "HR,0,hi8", {0x80, 0x01}, "128"},
                    TypeCase{"lo8IsUnsigned", "HR,0,lo8", {0x80, 0xFF}, "255"},
                    TypeCase{"scaledWithFormat", "HR,0,int16,,0.0,0.1,-40", {0x02, 0xF8}, "36.0"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RegisterListTest, BitsTakeTheirCountAndTheirTable) {
  const RegisterList list = Parse(kHeader + "a,C,3,bits:8\nb,DI,0x10\nc,c,7,BITS:16\n");
  ASSERT_EQ(list.errors, std::vector<std::string>{});
  ASSERT_EQ(list.rows.size(), 3u);
  EXPECT_EQ(AddressCode(list.rows[0].code).table(), Table::Coil);
  EXPECT_EQ(AddressCode(list.rows[0].code).width(), 8);
  EXPECT_EQ(AddressCode(list.rows[1].code).table(), Table::Discrete);
  EXPECT_EQ(AddressCode(list.rows[1].code).address(), 16);
  EXPECT_EQ(AddressCode(list.rows[1].code).width(), 1);
  EXPECT_EQ(AddressCode(list.rows[2].code).width(), 16);
}

TEST(RegisterListTest, ReadsQuotedCellsDefaultsAndTheFileTrimmings) {
  const RegisterList ok = Parse(
      "\xEF\xBB\xBFlabel,table,address,type,order,format,k,x0,writable\r\n"
      "\r\n"
      "\"Flow, \"\"net\"\"\",HR,0x20,,,,,,yes\r\n"
      ",IR,7\r\n");
  ASSERT_EQ(ok.errors, std::vector<std::string>{});
  ASSERT_EQ(ok.rows.size(), 2u);
  EXPECT_EQ(ok.rows[0].label, "Flow, \"net\"");
  EXPECT_EQ(ok.rows[0].line, 3);
  EXPECT_EQ(AddressCode(ok.rows[0].code).address(), 0x20);
  EXPECT_TRUE(ok.rows[0].writable);
  EXPECT_EQ(ok.rows[0].k, 1);
  EXPECT_EQ(ok.rows[1].label, "IR0007");
  EXPECT_FALSE(ok.rows[1].writable);
}

struct BadRow {
  const char* rule;
  const char* row;
  const char* reason;  // part of the message
};

class BadRows : public testing::TestWithParam<BadRow> {};

TEST_P(BadRows, AreRefusedWithTheirLineAndReason) {
  const BadRow& c = GetParam();
  // A good row around the bad one: the bad one's line is named, the others not.
  const RegisterList list = Parse(kHeader + "ok,HR,0\n" + c.row + "\nok,HR,1\n", 1253);
  ASSERT_EQ(list.errors.size(), 1u) << c.row;
  EXPECT_EQ(list.errors[0].rfind("line 3: ", 0), 0u) << list.errors[0];
  EXPECT_NE(list.errors[0].find(c.reason), std::string::npos) << list.errors[0];
}

INSTANTIATE_TEST_SUITE_P(
    EveryRule, BadRows,
    testing::Values(BadRow{"ExtraCell", "a,HR,0,int16,,,1,0,no,surplus", "10 cells"},
                    BadRow{"NoTable", "a,,0", "table is empty"}, BadRow{"UnknownTable", "a,XR,0", "table 'XR'"},
                    BadRow{"AddressNotANumber", "a,HR,forty", "address 'forty'"},
                    BadRow{"AddressTooLarge", "a,HR,65536", "address '65536'"},
                    BadRow{"NegativeAddress", "a,HR,-1", "address '-1'"},
                    BadRow{"UnknownType", "a,HR,0,int64", "type 'int64' is not one of"},
                    BadRow{"RegisterTypeOnCoils", "a,C,0,int16", "coils and discrete inputs take bits:N"},
                    BadRow{"BitsOnRegisters", "a,IR,0,bits:4", "is for coils and discrete inputs"},
                    BadRow{"TooManyBits", "a,C,0,bits:17", "a bit count is 1..16"},
                    BadRow{"NoBits", "a,DI,0,bits:0", "a bit count is 1..16"},
                    BadRow{"UnknownOrder", "a,HR,0,int32,reversed", "order 'reversed'"},
                    BadRow{"SwappedSingleRegister", "a,HR,0,uint16,swapped", "needs a type of two or four"},
                    BadRow{"PastTheLastAddress", "a,HR,65533,float64", "runs past 65535"},
                    BadRow{"ScaleNotANumber", "a,HR,0,,,,ten", "k 'ten'"}, BadRow{"ScaleZero", "a,HR,0,,,,0", "k '0'"},
                    BadRow{"OffsetNotANumber", "a,HR,0,,,,1,1e999", "x0 '1e999'"},
                    BadRow{"WritableNeitherYesNorNo", "a,HR,0,,,,,,maybe", "writable 'maybe'"},
                    BadRow{"WritableInputRegister", "a,IR,0,,,,,,yes", "cannot be written"},
                    BadRow{"LabelOutsideTheCodePage", "\xD0\x96\xD0\xB8\xD0\xB2,HR,0", "label"},
                    BadRow{"UnclosedQuote", "\"a,HR,0", "not closed"}),
    [](const auto& info) { return std::string(info.param.rule); });

TEST(RegisterListTest, ReportsEveryBadRowAndTheHeaderFaults) {
  const RegisterList two = Parse(kHeader + "a,HR,x\nb,HR,0\nc,HR,0,int8\n");
  EXPECT_EQ(two.rows.size(), 1u);
  ASSERT_EQ(two.errors.size(), 2u);
  EXPECT_EQ(two.errors[0].rfind("line 2: ", 0), 0u);
  EXPECT_EQ(two.errors[1].rfind("line 4: ", 0), 0u);

  struct Case {
    std::string text;
    std::string error;
  };
  const Case cases[] = {
      {"label,table,address,type,order,format,k,x0,writable,comment\n", "line 1: extra column 'comment'"},
      {"label,address,table\n", "line 1: column 2 is 'address', expected 'table'"},
      {"\n\n", "no header row"},
      {kHeader, "no rows after the header"},
  };
  for (const Case& c : cases) {
    const RegisterList list = Parse(c.text);
    ASSERT_EQ(list.errors.size(), 1u) << c.text;
    EXPECT_EQ(list.errors[0].rfind(c.error, 0), 0u) << list.errors[0];
  }
}

TEST(RegisterListTest, RangesMakeWholeValuesLabelledByAddress) {
  struct Case {
    const char* range;
    std::vector<std::string> labels;
    int width;
  };
  const Case cases[] = {
      {"HR:0-2", {"HR0000", "HR0001", "HR0002"}, 1},
      {"IR:10-13:float32:swapped", {"IR0010", "IR0012"}, 2},
      {"C:0-15:bits:8", {"C 0000", "C 0008"}, 8},
      {"DI:5", {"DI0005"}, 1},
  };
  for (const Case& c : cases) {
    std::string error;
    const auto rows = ParseRangeText(c.range, error);
    ASSERT_TRUE(rows) << c.range << ": " << error;
    std::vector<std::string> labels;
    for (const auto& row : *rows) {
      labels.push_back(row.label);
      EXPECT_EQ(AddressCode(row.code).width(), c.width) << c.range;
    }
    EXPECT_EQ(labels, c.labels) << c.range;
  }
  for (const char* bad : {"HR", "HR:9-0", "HR:0-2:int32", "C:0-1:int16", "HR:0-1:int16:sideways", "HR:0-70000"}) {
    std::string error;
    EXPECT_FALSE(ParseRangeText(bad, error)) << bad;
    EXPECT_FALSE(error.empty()) << bad;
  }
}

}  // namespace
}  // namespace quorvel
