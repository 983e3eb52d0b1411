// The pocket-calculator commands: frame, check, decode, encode.

#include <gtest/gtest.h>

#include "CliTestSupport.h"

namespace quorvel::cli {
namespace {

TEST(CalculatorCommands, PrintExactly) {
  const struct {
    std::vector<std::string> args;
    int status;
    std::string out;        // expected standard output, exactly
    const char* says = "";  // found in the standard error
  } cases[] = {
      {{"frame", "rtu", "01", "03", "00", "00", "00", "0A"}, 0, "01 03 00 00 00 0A C5 CD\n"},
      {{"frame", "rtu", "010300000 00A"}, 2, ""},  // odd run of digits
      {{"frame", "ASCII", "0x11", "0x03", "00 6B", "00:03"}, 0, ":1103006B00037E\n"},
      {{"check", "rtu", "01 03 00 00 00 0A C5 CD"}, 0, "CRC ok\n01 03 00 00 00 0A\n"},
      {{"check", "rtu", "01 03 00 00 00 0A C5 CE"}, 1, "CRC error! (expected C5 CD)\n"},
      {{"check", "rtu", "01 03"}, 1, "Frame error! (shorter than address, function and CRC)\n"},
      {{"check", "ascii", ":01030000FC"}, 0, "LRC ok\n01 03 00 00\n"},
      // The sender's LRC of a zero-sum message is not what the receiver expects.
      {{"check", "ascii", ":01FF00"}, 1, "LRC error!\n"},
      {{"check", "ascii", ":01030000FC\\n\\r"}, 1, "Frame error! (a frame is ':', hex digits, LRC, CR LF)\n"},
      // The value, then the label's text: literal blanks of the picture stay, the sign goes in front.
      {{"decode", "0", "FF FE"}, 0, "-2\n- 2\n"},
      {{"decode", "0x00210000", "3F 80 00 00", "--k", "2", "--x0", "0.5"}, 0, "1\n2.50\n"},
      {{"decode", "0", "0E 11", "--format", "hh:mm:ss"}, 0, "3601\n01:00:01\n"},
      // A quiet NaN of a float element: both lines spell it as the panel does.
      {{"decode", "0x00210000", "7F C0 00 00"}, 0, "NaN\nNaN\n"},
      {{"decode", "0x00210000", "FF 80 00 00"}, 0, "-Inf\n-Inf\n"},
      {{"encode", "0", "-2"}, 0, "FF FE\n"},
      {{"encode", "0", "5", "--k", "nan"}, 2, "", "not a number for --k: 'nan'"},
      {{"encode", "0", "5", "--x0", "-inf"}, 2, "", "not a number for --x0: '-inf'"},
      {{"decode", "0", "00 05", "--k", "infinity"}, 2, "", "not a number for --k: 'infinity'"},
      {{"encode", "0", "01:00:01", "--format", "hh:mm:ss"}, 0, "0E 11\n"},
      {{"encode", "0x00400000", "200"}, 1, "", "-128 to 127"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.args));
    const CliRun run = RunCli(c.args);
    EXPECT_EQ(run.status, c.status) << run.err;
    EXPECT_EQ(run.out, c.out);
    EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
  }
}

}  // namespace
}  // namespace quorvel::cli
