// The value notation of session files: what the writer puts on each line and
// what the reader accepts, converts or refuses.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/WriteNotation.h"

namespace quorvel {
namespace {

TEST(WriteNotation, WritesOneValuePerLineInTheBasicNotation) {
  WriteNotationWriter out;
  out.Boolean(true);
  out.Boolean(false);
  out.Integer(-32768);
  out.Integer(2147483647);
  out.String("C:\\Data\\a b.qvc");
  out.String("say \"hi\"");
  out.String("");
  out.Single(15360);
  out.Single(0.5f);
  out.Single(-2133.333f);
  out.Single(1e20f);
  EXPECT_EQ(out.Text(),
            "#TRUE#\r\n#FALSE#\r\n-32768\r\n2147483647\r\n\"C:\\Data\\a b.qvc\"\r\n\"say \"\"hi\"\"\"\r\n\"\"\r\n"
            "15360\r\n0.5\r\n-2133.333\r\n1E+20\r\n");
}

TEST(WriteNotation, SinglesReadBackExactly) {
  // Twips are mostly whole, but a frame scaled by a ratio is not.
  for (const float value : {0.0f, 1.0f, 28800.0f / 6, 16200.0f / 1.5f, 1234.5677f, 1.0f / 3, -7e-3f, 3.4e38f}) {
    WriteNotationWriter out;
    out.Single(value);
    WriteNotationReader in(out.Text());
    EXPECT_EQ(in.Single("x"), value) << out.Text();
  }
}

TEST(WriteNotation, ReadsValuesSeparatedByLineEndsOrCommas) {
  // Line ends in either form, blanks around values, several values on a line,
  // commas inside quotes, text after a closing quote, and a last line without an end.
  WriteNotationReader in("#true#\n  -7 ,\"a,b\"\r\n\"x\"junk,.5\r\n\"two\r\nlines\"\n+12");
  EXPECT_TRUE(in.Boolean("b"));
  EXPECT_EQ(in.Integer("i", -10, 10), -7);
  EXPECT_EQ(in.String("s"), "a,b");
  EXPECT_EQ(in.String("s"), "x");
  EXPECT_EQ(in.Single("f"), 0.5f);
  EXPECT_EQ(in.Line(), 4);
  EXPECT_EQ(in.String("s"), "two\r\nlines");
  EXPECT_EQ(in.Integer("i", 0, 100), 12);
}

// Whole numbers from fractions round half to even; booleans take numbers as the conversion does.
TEST(WriteNotation, ReadsNumbersAsTheConversionDoes) {
  for (const auto& [text, expected] : std::vector<std::pair<std::string, std::int64_t>>{
           {"2.5", 2}, {"3.5", 4}, {"-2.5", -2}, {"2.4999", 2}, {"1e3", 1000}, {"0", 0}, {"-0", 0}}) {
    WriteNotationReader in(text);
    EXPECT_EQ(in.Integer("n", -32768, 32767), expected) << text;
  }
  for (const auto& [text, expected] : std::vector<std::pair<std::string, bool>>{
           {"#TRUE#", true}, {"#False#", false}, {"-1", true}, {"0", false}, {"1", true}}) {
    WriteNotationReader in(text);
    EXPECT_EQ(in.Boolean("b"), expected) << text;
  }
}

struct Refusal {
  std::string text;
  enum Kind { Boolean, Integer, Single, String } kind;
  std::string expected;  // the start of the message
};

TEST(WriteNotation, RefusesWhatCannotBeReadAndSaysWhereAndWhy) {
  const std::vector<Refusal> cases = {
      {"", Refusal::Integer, "line 1: Input past end of file reading the value"},
      {"1\r\n", Refusal::String, "line 2: Input past end of file"},  // the one value was read first
      {"abc", Refusal::Integer, "line 1: Type mismatch reading the value, found \"abc\""},
      {"\"12\"", Refusal::Integer, "line 1: Type mismatch"},
      {"inf", Refusal::Single, "line 1: Type mismatch"},
      {"nan", Refusal::Integer, "line 1: Type mismatch"},
      {"0x10", Refusal::Integer, "line 1: Type mismatch"},
      {"1.5.2", Refusal::Single, "line 1: Type mismatch"},
      {"\r\n", Refusal::Integer, "line 1: Type mismatch reading the value, found \"\""},
      {"99999999999999999999", Refusal::Integer, "line 1: Overflow"},
      {"32767.5", Refusal::Integer, "line 1: Overflow"},  // rounds to 32768
      {"1E+39", Refusal::Single, "line 1: Overflow"},
      {"\"open", Refusal::String, "line 1: Input past end of file"},
  };
  for (const Refusal& c : cases) {
    WriteNotationReader in(c.text);
    if (c.text == "1\r\n") in.Integer("first", 0, 9);
    try {
      switch (c.kind) {
        case Refusal::Boolean:
          in.Boolean("the value");
          break;
        case Refusal::Integer:
          in.Integer("the value", -32768, 32767);
          break;
        case Refusal::Single:
          in.Single("the value");
          break;
        case Refusal::String:
          in.String("the value");
          break;
      }
      ADD_FAILURE() << "read \"" << c.text << "\"";
    } catch (const WriteNotationError& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, c.expected.size()), c.expected) << error.what();
    }
  }
}

}  // namespace
}  // namespace quorvel
