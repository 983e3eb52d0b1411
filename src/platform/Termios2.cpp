#include "platform/Termios2.h"

#include <sys/ioctl.h>

namespace quorvel::platform {

bool GetTermios(int fd, termios2& settings) { return ioctl(fd, TCGETS2, &settings) == 0; }

bool SetTermios(int fd, const termios2& settings) { return ioctl(fd, TCSETS2, &settings) == 0; }

void MakeRaw(termios2& t) {
  t.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | IXANY |
                                      IMAXBEL | IUCLC | INPCK | IGNPAR);
  t.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  t.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ECHOE | ECHOK | ICANON | ISIG | IEXTEN);
  t.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
  t.c_cflag |= CREAD | CLOCAL;
  t.c_cc[VMIN] = 0;
  t.c_cc[VTIME] = 0;
}

void ApplyFraming(termios2& t, const LineSettings& line) {
  if (IsUsableBaudRate(line.baudRate)) {
    // BOTHER with the rate in both speed fields; a zero input field means
    // "same as output".
    t.c_cflag &= ~static_cast<tcflag_t>(CBAUD | CIBAUD);
    t.c_cflag |= BOTHER;
    t.c_ispeed = static_cast<speed_t>(line.baudRate);
    t.c_ospeed = static_cast<speed_t>(line.baudRate);
  }
  if (IsUsableDataBits(line.dataBits)) {
    static constexpr tcflag_t kSizes[] = {CS5, CS6, CS7, CS8};
    t.c_cflag &= ~static_cast<tcflag_t>(CSIZE);
    t.c_cflag |= kSizes[line.dataBits - 5];
  }
  t.c_cflag &= ~static_cast<tcflag_t>(PARENB | PARODD | CMSPAR);
  switch (line.parity) {
    case Parity::None:
      break;
    case Parity::Odd:
      t.c_cflag |= PARENB | PARODD;
      break;
    case Parity::Even:
      t.c_cflag |= PARENB;
      break;
    case Parity::Mark:
      t.c_cflag |= PARENB | CMSPAR | PARODD;
      break;
    case Parity::Space:
      t.c_cflag |= PARENB | CMSPAR;
      break;
  }
  if (line.stopBits == StopBits::One)
    t.c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
  else
    t.c_cflag |= CSTOPB;
}

int BaudRateOf(const termios2& t) { return static_cast<int>(t.c_ospeed); }

}  // namespace quorvel::platform
