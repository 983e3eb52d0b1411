#pragma once

// Why a serial port did not open, and the two-line message that tells the
// user. The first line is the one the program has always shown ("Can not open
// COM3"); the second names the cause in terms the user can act on.

#include <sys/types.h>
#include <optional>
#include <string>

namespace quorvel::platform {

enum class OpenCause {
  None,              // opened
  Held,              // another program (or another copy) has the port
  PermissionDenied,  // the device's group does not include this login
  NoSuchDevice,      // nothing at the mapped path, or no hardware behind it
  NotSerial,         // the path is not a serial line
  NotAnAddress,      // a network path that does not read as one (scheme://HOST:PORT)
  UnknownHost,       // a network path whose host name does not resolve
  Other,             // any other system error
};

struct PortHolder {
  pid_t pid = 0;
  std::string name;  // the process's command name; may be empty
};

struct OpenFailure {
  OpenCause cause = OpenCause::None;
  int error = 0;                     // the errno that showed the cause
  std::string path;                  // the device path the port is mapped to
  std::optional<PortHolder> holder;  // for Held, when it could be found
  std::string group;                 // for PermissionDenied: the device's group, when known
  bool groupNeedsLogin = false;      // the user is in that group, but not in this login's groups

  // True when the port did not open, so that `if (auto f = line.Open(s))` reads naturally.
  explicit operator bool() const { return cause != OpenCause::None; }
};

// The cause an errno from opening or configuring a device stands for.
OpenCause CauseOfError(int error);

// Gathers what is known about a failed open of `path` with `error`: the cause,
// the holding process (looked up in /proc) and the device's group.
OpenFailure DescribeOpenFailure(const std::string& path, int error);

// The process that holds the character device at `path`: the one with a lock
// on it, else the first seen with it open, if any can be seen. The calling
// process counts too: two port numbers mapped to one device are caught the
// same way.
std::optional<PortHolder> FindPortHolder(const std::string& path);

// "Can not open COM<n>", a line break, and the cause. A failure without a
// cause gives the first line alone.
std::string OpenFailureText(int comNumber, const OpenFailure& failure);

}  // namespace quorvel::platform
