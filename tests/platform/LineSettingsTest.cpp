// Line settings read from the port record's DCB fields.

#include <gtest/gtest.h>

#include "platform/LineSettings.h"

namespace quorvel::platform {
namespace {

struct DcbCase {
  DcbFields dcb;
  LineSettings expected;
};

void PrintTo(const DcbCase& c, std::ostream* out) {
  *out << c.dcb.baudRate << " baud, flags 0x" << std::hex << c.dcb.flags << std::dec << ", " << int{c.dcb.byteSize}
       << " bits, parity " << int{c.dcb.parity} << ", stop bits " << int{c.dcb.stopBits};
}

class DcbReading : public ::testing::TestWithParam<DcbCase> {};

TEST_P(DcbReading, GivesTheLineSettings) { EXPECT_EQ(LineSettingsFromDcb(GetParam().dcb), GetParam().expected); }

// Flag words: DTR enable is bit 4 (16); RTS control is bits 12-13 (0x3000 toggle).
INSTANTIATE_TEST_SUITE_P(
    Records, DcbReading,
    ::testing::Values(
        // The port table's default record: 9600 8N1, DTR on, RTS toggle.
        DcbCase{{9600, 0x3011, 8, 0, 0}, {9600, 8, Parity::None, StopBits::One, true, RtsControl::Toggle}},
        // The settings dialog with both boxes unchecked leaves only fBinary.
        DcbCase{{19200, 0x0001, 8, 2, 2}, {19200, 8, Parity::Even, StopBits::Two, false, RtsControl::Off}},
        DcbCase{{300, 0x1001, 7, 1, 0}, {300, 7, Parity::Odd, StopBits::One, false, RtsControl::On}},
        DcbCase{{250000, 0x2021, 8, 3, 1}, {250000, 8, Parity::Mark, StopBits::OnePointFive, true, RtsControl::On}},
        DcbCase{{1200, 0x3001, 8, 4, 0}, {1200, 8, Parity::Space, StopBits::One, false, RtsControl::Toggle}},
        // Codes out of range; a typed rate stored as it was typed.
        DcbCase{{0, 0x3011, 8, 9, 5}, {0, 8, Parity::None, StopBits::One, true, RtsControl::Toggle}},
        DcbCase{{0x80000000U, 0x3011, 0, 0, 0}, {0, 0, Parity::None, StopBits::One, true, RtsControl::Toggle}}),
    [](const ::testing::TestParamInfo<DcbCase>& info) {
      const DcbFields& d = info.param.dcb;
      return "Rate" + std::to_string(d.baudRate) + "Flags" + std::to_string(d.flags) + "Parity" +
             std::to_string(d.parity) + "Stop" + std::to_string(d.stopBits);
    });

}  // namespace
}  // namespace quorvel::platform
