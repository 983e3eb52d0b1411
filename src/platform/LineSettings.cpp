#include "platform/LineSettings.h"

#include <limits>

namespace quorvel::platform {

LineSettings LineSettingsFromDcb(const DcbFields& dcb) {
  LineSettings s;
  s.baudRate =
      dcb.baudRate > static_cast<std::uint32_t>(std::numeric_limits<int>::max()) ? 0 : static_cast<int>(dcb.baudRate);
  s.dataBits = dcb.byteSize;
  switch (dcb.parity) {
    case 1:
      s.parity = Parity::Odd;
      break;
    case 2:
      s.parity = Parity::Even;
      break;
    case 3:
      s.parity = Parity::Mark;
      break;
    case 4:
      s.parity = Parity::Space;
      break;
    default:
      s.parity = Parity::None;
      break;
  }
  switch (dcb.stopBits) {
    case 1:
      s.stopBits = StopBits::OnePointFive;
      break;
    case 2:
      s.stopBits = StopBits::Two;
      break;
    default:
      s.stopBits = StopBits::One;
      break;
  }
  s.dtr = ((dcb.flags >> 4) & 3U) != 0;
  switch ((dcb.flags >> 12) & 3U) {
    case 0:
      s.rts = RtsControl::Off;
      break;
    case 3:
      s.rts = RtsControl::Toggle;
      break;
    default:
      s.rts = RtsControl::On;
      break;
  }
  return s;
}

bool IsUsableBaudRate(int baudRate) { return baudRate > 0; }

bool IsUsableDataBits(int dataBits) { return dataBits >= 5 && dataBits <= 8; }

}  // namespace quorvel::platform
