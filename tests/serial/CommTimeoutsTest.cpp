// The port's time-outs by baud rate, framing and mode.

#include <gtest/gtest.h>

#include "serial/CommTimeouts.h"

namespace quorvel {
namespace {

struct Row {
  std::uint32_t baud;
  bool ascii;
  std::int16_t mode;
  CommTimeouts expected;
};

TEST(CommTimeoutsTest, FollowTheRateTable) {
  const Row rows[] = {
      {300, false, kModeMaster, {128, 37, 100, 0, 0}},
      {1200, false, kModeMaster, {32, 9, 100, 0, 0}},
      {4800, false, kModeMaster, {32, 2, 100, 0, 0}},
      {9600, false, kModeMaster, {32, 1, 100, 0, 0}},
      {110, false, kModeMaster, {32, 1, 100, 0, 0}},  // below the table: as any other rate
      {9600, false, kModeMonitor, {32, 1, 100, 0, 0}},
      // A listening slave has no total limit at all.
      {300, false, kModeSlave, {128, 0, 0, 0, 0}},
      {19200, false, kModeSlave, {32, 0, 0, 0, 0}},
      // ASCII gathers pieces whatever the rate and mode.
      {300, true, kModeMaster, {kMaxDword, kMaxDword, 1000, 0, 0}},
      {115200, true, kModeSlave, {kMaxDword, kMaxDword, 1000, 0, 0}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.baud << (row.ascii ? " ASCII" : " RTU") << " mode " << row.mode);
    EXPECT_EQ(TimeoutsFor(row.baud, row.ascii, row.mode), row.expected);
  }
}

}  // namespace
}  // namespace quorvel
