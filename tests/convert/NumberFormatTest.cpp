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
      {12, "## ##0", " 12"},
      {1234, "## ##0", "1 234"},
      {-1234, "## ##0", "-1 234"},
      {-12, "## ##0", "- 12"},
      {1234567, "## ##0", "1234 567"},
      {-32768, "## ##0", "-32 768"},
      {2147483647, "# ### ### ##0", "2 147 483 647"},
      {-2147483648.0, "# ### ### ##0", "-2 147 483 648"},
      {5, "# ### ### ##0", "   5"},
      {2.5, "0.00", "2.50"},
      {0, "0.00", "0.00"},
      {1e21, "0.00", "1000000000000000000000.00"},
      {0, "0.000 E+00", "0.000 E+00"},
      {1234.5, "0.000 E+00", "1.235 E+03"},
      {-1234.5, "0.000 E+00", "-1.235 E+03"},
      {9.9996, "0.000 E+00", "1.000 E+01"},
      {1e-300, "0.000 E+00", "1.000 E-300"},
      {255, "0", "255"},
  });
}

// Half away from zero on the value the double really holds.
TEST(FormatNumber, RoundsTheStoredValueHalfAwayFromZero) {
  ExpectAll({
      {0.125, "0.00", "0.13"},                   // exact tie, away from zero
      {0.625, "0.00", "0.63"},                   // exact tie where ties-to-even would give 0.62
      {1.005, "0.00", "1.00"},                   // stored as 1.00499999999999989...
      {2.675, "0.00", "2.67"},                   // stored as 2.67499999999999982...
      {0.5, "0", "1"},                           //
      {-0.5, "0", "-1"},                         //
      {9.995, "0.00", "9.99"},                   // stored below the tie
      {99.5, "0", "100"},                        // carry into a new digit
      {0.00012345, "0.000 E+00", "1.234 E-04"},  // stored below 1.2345E-04
      {1.5e-7, "0.0000000", "0.0000001"},        // 1.4999999999999999e-7 is stored: below
      // A negative that rounds to zero shows no sign.
      {-0.001, "0.00", "0.00"},
      {-0.4, "## ##0", " 0"},
      {-0.0, "0.00", "0.00"},
      {-0.00001, "0.000 E+00", "-1.000 E-05"},  // scientific keeps the digits
  });
}

TEST(FormatNumber, PlacesLiteralsGroupingAndPercent) {
  ExpectAll({
      {0, "#.##", "."},
      {1.25, "0.0#", "1.25"},
      {1, "#00000000", "00000001"},
      {1, "000###", "000001"},
      {1.2, "0#.0#0#0#0#0", "01.200000000"},
      {9.8, "#0.#0#0#0#0#", "9.80000000"},
      {0.17, "#.00", ".17"},
      {1.7, ".00", "1.70"},
      {-5, "(##0)", "(-5)"},
      {42, "\"T=\"0\" C\"", "T=42 C"},
      {42, "0\\", "42"},  // a lone trailing backslash escapes nothing
      {42, "0\"unterminated", "42unterminated"},
      {3, "0 \\0 0", "0 0 3"},  // an escaped 0 is no digit place
      {5, "0.0.0", "5.0.0"},    // only the first point is the decimal point
      {5, "abc", "abc"},        // no digit places: no number
      {1234567, "#,##0", "1,234,567"},
      {-1234.5, "#,##0.00", "-1,234.50"},
      {5, "0,000", "0,005"},
      {1, "0,000,000,000", "0,000,000,001"},
      {1234567, "#,##0,", "1,235"},  // a comma closing the integer places divides by 1000
      {1234567, "0,,.00", "1.23"},
      {7, ",0", ",7"},  // a comma before any place is a literal
      {0.125, "0.0%", "12.5%"},
      {0.5, "0\\%", "1%"},  // an escaped percent does not scale
  });
}

TEST(FormatNumber, ScientificPictures) {
  ExpectAll({
      {1.7, "0.0000e-1", "1.7000e01"},  // digits after the exponent's zeros are literal
      {1.73245, "0.0000E+000", "1.7325E+000"},
      {4.500001e45, "#000.0000e+0", "4500.0010e+42"},
      {123, "0.00E-00", "1.23E02"},
      {123, "00.0E+0", "12.3E+1"},
      {0, "#.00E+00", ".00E+00"},
      {5, "E+0", "E+5"},  // no digit place before it: literal text
  });
}

TEST(FormatNumber, Sections) {
  const char* three = "\"pos\";\"neg\";\"zero\"";
  ExpectAll({
      {1, three, "pos"},
      {-1, three, "neg"},
      {0, three, "zero"},
      {-1.5, "0.00;(0.00)", "(1.50)"},  // the negative section shows no sign of its own
      {-5, "0;;\\Z\\e\\r\\o", "-5"},    // an empty section falls back to the first
      {0, "0;;\\Z\\e\\r\\o", "Zero"},
      {0, "0;-0;", "0"},
      {-2, "0\";\";\"n\"0", "n2"},  // a quoted ';' does not split
      {-2, "0\\;x;n0", "n2"},       // nor an escaped one
      {3, ";x", "3"},               // an empty first section is the general form
      {-3, "0;(0);z;extra", "(3)"},
  });
}

TEST(FormatNumber, GeneralNumberAndNamedFormats) {
  ExpectAll({
      {0, "", "0"},
      {-0.0, "", "0"},
      {1234.5, "", "1234.5"},
      {1e15, "", "1E+15"},
      {1.5e-5, "", "1.5E-05"},
      {123456789012345, "", "123456789012345"},
      {0.1 + 0.2, "", "0.3"},
      {1.0 / 3, "", "0.333333333333333"},
      {2.0 / 3, "", "0.666666666666667"},
      {999999999999999.9, "", "1E+15"},
      {-1.25e-100, "", "-1.25E-100"},
      {4294967295.0, "", "4294967295"},
      {3.4028234663852886e38, "", "3.40282346638529E+38"},
      {1234.5, "General Number", "1234.5"},
      {0.5, "general number", "0.5"},
      {1234.5, "Fixed", "1234.50"},
      {-0.125, "Fixed", "-0.13"},
      {1234.5, "Standard", "1,234.50"},
      {0.5, "Percent", "50.00%"},
      {1234.5, "Scientific", "1.23E+03"},
      {2, "Yes/No", "Yes"},
      {0, "Yes/No", "No"},
      {0, "On/Off", "Off"},
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
      {0, "00:00:00"},
      {3661, "01:01:01"},
      {43200, "12:00:00"},
      {86399, "23:59:59"},
      {86400, "00:00:00"},
      {90000, "01:00:00"},  // wraps at a day
      {59.4, "00:00:59"},   // nearest second
      {59.5, "00:01:00"},
      {86399.5, "00:00:00"},  // rounding up past midnight wraps too
      {-21600, "06:00:00"},   // -0.25 day: the time of the fraction's size
      {-90000, "01:00:00"},
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
