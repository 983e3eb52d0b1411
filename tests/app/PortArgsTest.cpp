// The --line text and the whole numbers of the port options: what is taken,
// and that a refused text leaves the port's record as it was.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "app/cli/PortArgs.h"

namespace quorvel::cli {
namespace {

struct IntegerCase {
  const char* name;
  const char* text;
  std::optional<std::int64_t> expected;
};

class ParseIntegerTest : public ::testing::TestWithParam<IntegerCase> {};

TEST_P(ParseIntegerTest, TakesWholeNumbersInRangeOnly) {
  EXPECT_EQ(ParseInteger(GetParam().text, -1000, 100'000'000), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, ParseIntegerTest,
                         ::testing::Values(IntegerCase{"Plain", "19200", 19200}, IntegerCase{"Exponent", "1e3", 1000},
                                           IntegerCase{"Negative", "-1000", -1000},
                                           IntegerCase{"BelowRange", "-1001", std::nullopt},
                                           IntegerCase{"AboveRange", "100000001", std::nullopt},
                                           IntegerCase{"Fraction", "2.5", std::nullopt},
                                           // Beyond any 64-bit integer: refused, never converted.
                                           IntegerCase{"BeyondInt64", "1e49", std::nullopt},
                                           IntegerCase{"BelowInt64", "-1e49", std::nullopt},
                                           IntegerCase{"TwoToThe63", "9223372036854775808", std::nullopt},
                                           IntegerCase{"NotANumber", "nan", std::nullopt},
                                           IntegerCase{"Infinite", "inf", std::nullopt},
                                           IntegerCase{"Text", "fast", std::nullopt}),
                         [](const auto& info) { return std::string(info.param.name); });

struct LineCase {
  const char* name;
  const char* text;
  bool taken;
  std::uint32_t baud;
  std::uint8_t byteSize, parity, stopBits;
  bool ascii;
};

class ApplyLineTest : public ::testing::TestWithParam<LineCase> {};

TEST_P(ApplyLineTest, SetsTheRecordOrLeavesIt) {
  const LineCase& c = GetParam();
  PortEntry entry;
  entry.dcb.BaudRate = 1;
  const DCB before = entry.dcb;
  ASSERT_EQ(ApplyLine(c.text, entry), c.taken);
  if (!c.taken) {
    EXPECT_EQ(entry.dcb, before);
    return;
  }
  EXPECT_EQ(entry.dcb.BaudRate, c.baud);
  EXPECT_EQ(entry.dcb.ByteSize, c.byteSize);
  EXPECT_EQ(entry.dcb.Parity, c.parity);
  EXPECT_EQ(entry.dcb.StopBits, c.stopBits);
  EXPECT_EQ(entry.ASCII, c.ascii);
}

INSTANTIATE_TEST_SUITE_P(Texts, ApplyLineTest,
                         ::testing::Values(LineCase{"Rtu", "19200-8E1", true, 19200, 8, 2, 0, false},
                                           LineCase{"Ascii", "9600-7O1.5-ascii", true, 9600, 7, 1, 1, true},
                                           LineCase{"ExponentBaud", "1e4-8s2-rtu", true, 10000, 8, 4, 2, false},
                                           LineCase{"HugeBaud", "1e49-8N1", false, 0, 0, 0, 0, false},
                                           LineCase{"SlowBaud", "49-8N1", false, 0, 0, 0, 0, false},
                                           LineCase{"SixBits", "9600-6N1", false, 0, 0, 0, 0, false},
                                           LineCase{"OddFraming", "9600-8N1-tcp", false, 0, 0, 0, 0, false}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace quorvel::cli
