#include "platform/SerialProbe.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Termios2.h"

namespace quorvel::platform {

OpenFailure ProbeSerialLine(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return DescribeOpenFailure(path, errno);
  int error = 0;
  termios2 settings{};
  if (!GetTermios(fd, settings))
    error = ENOTTY;
  else if (flock(fd, LOCK_EX | LOCK_NB) != 0)
    error = errno;
  close(fd);
  return error == 0 ? OpenFailure{} : DescribeOpenFailure(path, error);
}

bool ProbeSerialPath(const std::string& path) { return !ProbeSerialLine(path); }

}  // namespace quorvel::platform
