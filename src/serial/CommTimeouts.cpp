#include "serial/CommTimeouts.h"

namespace quorvel {

CommTimeouts TimeoutsFor(std::uint32_t baudRate, bool ascii, std::int16_t mode) {
  CommTimeouts t;
  if (ascii) {
    t.ReadIntervalTimeout = kMaxDword;
    t.ReadTotalTimeoutMultiplier = kMaxDword;
    t.ReadTotalTimeoutConstant = 1000;
    return t;
  }
  // The gap is at least 32 ms, which the slow rates stretch to more than
  // three character times; the multiplier is about one character time.
  switch (baudRate) {
    case 300:
      t.ReadIntervalTimeout = 128;
      t.ReadTotalTimeoutMultiplier = 37;
      break;
    case 600:
      t.ReadIntervalTimeout = 64;
      t.ReadTotalTimeoutMultiplier = 18;
      break;
    case 1200:
      t.ReadIntervalTimeout = 32;
      t.ReadTotalTimeoutMultiplier = 9;
      break;
    case 2400:
      t.ReadIntervalTimeout = 32;
      t.ReadTotalTimeoutMultiplier = 5;
      break;
    case 4800:
      t.ReadIntervalTimeout = 32;
      t.ReadTotalTimeoutMultiplier = 2;
      break;
    default:
      t.ReadIntervalTimeout = 32;
      t.ReadTotalTimeoutMultiplier = 1;
      break;
  }
  if (mode == kModeSlave) {
    // A request can come at any time; only the gap after it delimits it.
    t.ReadTotalTimeoutMultiplier = 0;
  } else {
    t.ReadTotalTimeoutConstant = 100;
  }
  return t;
}

}  // namespace quorvel
