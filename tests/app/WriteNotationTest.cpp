// The value notation of session files: singles that survive a round trip,
// and numbers read as the conversion reads them.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/WriteNotation.h"

namespace quorvel {
namespace {

TEST(WriteNotation, SinglesReadBackExactly) {
  // Twips are mostly whole, but a frame scaled by a ratio is not.
  for (const float value : {0.0f, 1.0f, 28800.0f / 6, 16200.0f / 1.5f, 1234.5677f, 1.0f / 3, -7e-3f, 3.4e38f}) {
    WriteNotationWriter out;
    out.Single(value);
    WriteNotationReader in(out.Text());
    EXPECT_EQ(in.Single("x"), value) << out.Text();
  }
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

}  // namespace
}  // namespace quorvel
