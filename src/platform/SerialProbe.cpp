#include "platform/SerialProbe.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/Termios2.h"

namespace quorvel::platform {

bool ProbeSerialPath(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  termios2 settings{};
  const bool usable = GetTermios(fd, settings) && flock(fd, LOCK_EX | LOCK_NB) == 0;
  close(fd);
  return usable;
}

}  // namespace quorvel::platform
