#pragma once

#include <string>

#include "platform/OpenFailure.h"

namespace quorvel::platform {

// The same, with the reason when it is not: what opening it failed on, a
// device that is no terminal, or the program that holds it locked.
OpenFailure ProbeSerialLine(const std::string& path);

// Whether `path` is a serial line this process could open now: it opens (for
// reading and writing, without waiting for a carrier), is a terminal
// (pseudo-terminals count), and no other program holds it exclusively. The
// line's settings are not touched and it is closed again at once.
bool ProbeSerialPath(const std::string& path);

}  // namespace quorvel::platform
