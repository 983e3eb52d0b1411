#include "convert/NumberFormat.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>

#include "ConvertTestSupport.h"

namespace quorvel::test {
namespace {

struct Case {
  double value;
  const char* picture;
  const char* expected;
};

void ExpectAll(std::initializer_list<Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string("picture \"") + c.picture + "\" value " + std::to_string(c.value));
    EXPECT_EQ(FormatNumber(c.value, c.picture), c.expected);
  }
}

// Results the Windows format-picture engine is documented to give; project
// files were written against it, so odd pictures must come out the same here.
TEST(FormatNumber, AgreesWithTheWindowsPictureEngine) {
  ExpectAll({
      {1, "1#####0000", "10001"},
      {1, "#00##00#0", "00000001"},
      {1, "##abcdefghijklmnopqrstuvwxyz", "1abcdefghijklmnopqrstuvwxyz"},
      {123456789, "#,#.#", "123,456,789."},
      {123456789, "###, ###, ###", "123, 456, 789"},
      {1.23456789, "0#.0#0#0#0#0", "01.234567890"},
      {0.00000008, "#0.#0#0#0#0#0", "0.0000000800"},
      {17, "#3.33", "173.33"},
      {0.17, "#.33", ".33"},
      {1.7, "0.0000E-000", "1.7000E000"},
      {86.936849, "#0.000000000000e-000", "86.936849000000e000"},
      {450.0001e+43, "#000.0000e+0", "4500.0010e+42"},
      {0.0317e-11, "0000.0000e-0", "3170.0000e-16"},
      {47.11, ".0000E+0", ".4711E+2"},
      {-0.1, ".#", "-.1"},
      {0.0049, "#.##", "."},
      {8.0995, "#.##", "8.1"},
      {0, "#", ""},
      {1, "00\\c\\o\\p\\y", "01copy"},
      {0, "\"pos\";\"neg\";\"zero\"", "zero"},
  });
}

// The pictures elements receive by default, worked out by hand.
TEST(FormatNumber, DefaultPictures) {
  ExpectAll({
      // Literals stay at their place even where no digit reaches them.
      {0, "## ##0", " 0"},
      {-12, "## ##0", "- 12"},
      {1234567, "## ##0", "1234 567"},
      {5, "# ### ### ##0", "   5"},
      {2.5, "0.00", "2.50"},
      {1e21, "0.00", "1000000000000000000000.00"},
      {-1234.5, "0.000 E+00", "-1.235 E+03"},
      {9.9996, "0.000 E+00", "1.000 E+01"},
      {1e-300, "0.000 E+00", "1.000 E-300"},
  });
}

// Half away from zero on the value the double really holds.
TEST(FormatNumber, RoundsTheStoredValueHalfAwayFromZero) {
  ExpectAll({
      {0.625, "0.00", "0.63"},                   // exact tie where ties-to-even would give 0.62
      {1.005, "0.00", "1.00"},                   // stored as 1.00499999999999989...
      {-0.5, "0", "-1"},                         //
      {99.5, "0", "100"},                        // carry into a new digit
      {0.00012345, "0.000 E+00", "1.234 E-04"},  // stored below 1.2345E-04
      // A negative that rounds to zero shows no sign.
      {-0.001, "0.00", "0.00"},
      {-0.00001, "0.000 E+00", "-1.000 E-05"},  // scientific keeps the digits
  });
}

TEST(FormatNumber, PlacesLiteralsGroupingAndPercent) {
  ExpectAll({
      {42, "\"T=\"0\" C\"", "T=42 C"},
      {42, "0\\", "42"},  // a lone trailing backslash escapes nothing
      {42, "0\"unterminated", "42unterminated"},
      {5, "abc", "abc"},             // no digit places: no number
      {1234567, "#,##0,", "1,235"},  // a comma closing the integer places divides by 1000
      {0.125, "0.0%", "12.5%"},
      {0.5, "0\\%", "1%"},  // an escaped percent does not scale
  });
}

TEST(FormatNumber, Sections) {
  const char* three = "\"pos\";\"neg\";\"zero\"";
  ExpectAll({
      {-1, three, "neg"},
      {-1.5, "0.00;(0.00)", "(1.50)"},  // the negative section shows no sign of its own
      {-5, "0;;\\Z\\e\\r\\o", "-5"},    // an empty section falls back to the first
      {-2, "0\";\";\"n\"0", "n2"},      // a quoted ';' does not split
      {3, ";x", "3"},                   // an empty first section is the general form
  });
}

TEST(FormatNumber, GeneralNumberAndNamedFormats) {
  ExpectAll({
      {1e15, "", "1E+15"},
      {1.5e-5, "", "1.5E-05"},
      {0.1 + 0.2, "", "0.3"},
      {2.0 / 3, "", "0.666666666666667"},
      {999999999999999.9, "", "1E+15"},
      {0.5, "general number", "0.5"},
      {-0.125, "Fixed", "-0.13"},
      {1234.5, "Standard", "1,234.50"},
      {0.5, "Percent", "50.00%"},
      {1234.5, "Scientific", "1.23E+03"},
      {2, "Yes/No", "Yes"},
      {1, "Fixed ", "Fixed "},  // not a name: a picture of literals
  });
}

TEST(FormatNumber, NonFiniteValuesNeverThrow) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  for (const char* picture : {"", "0.00", "## ##0", "0.000 E+00", "Fixed", "0;(0);z"}) {
    SCOPED_TRACE(picture);
    EXPECT_EQ(FormatNumber(nan, picture), "NaN");
    EXPECT_EQ(FormatNumber(inf, picture), "Inf");
    EXPECT_EQ(FormatNumber(-inf, picture), "-Inf");
  }
}

TEST(FormatNumber, ScalingPastTheDoubleRangeIsAnOverflow) {
  ExpectOverflow([] { FormatNumber(1e306, "0%%%%"); });
  // The largest double still prints in full.
  EXPECT_EQ(FormatNumber(1.7976931348623157e308, "0").size(), 309u);
  // Many places neither crash nor lose the value.
  EXPECT_EQ(FormatNumber(0.5, "0." + std::string(400, '0')), "0.5" + std::string(399, '0'));
}

TEST(FormatTimeOfDay, SecondsAsTimeOfDay) {
  const struct {
    double seconds;
    const char* expected;
  } cases[] = {
      {3661, "01:01:01"},
      {86400, "00:00:00"},
      {59.5, "00:01:00"},
      {60.5, "00:01:01"},  // half away from zero, not to even
      {59.6, "00:01:00"},
      {59.4, "00:00:59"},
      {86399.5, "00:00:00"},            // rounding up past midnight wraps too
      {-21600, "06:00:00"},             // -0.25 day: the time of the fraction's size
      {2958465.5 * 86400, "12:00:00"},  // last day of the date range
      {-657434.5 * 86400, "12:00:00"},  // first day of the date range
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.seconds);
    EXPECT_EQ(FormatTimeOfDay(c.seconds), c.expected);
  }
}

TEST(FormatTimeOfDay, OutsideTheDateRangeIsAnOverflow) {
  for (double seconds : {2958466.0 * 86400, -657435.0 * 86400, 1e300, std::numeric_limits<double>::quiet_NaN(),
                         -std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(seconds);
    ExpectOverflow([&] { FormatTimeOfDay(seconds); });
  }
}

}  // namespace
}  // namespace quorvel::test
