#pragma once

#include <string>

namespace quorvel::platform {

// Whether `path` is a serial line this process could open now: it opens (for
// reading and writing, without waiting for a carrier), is a terminal
// (pseudo-terminals count), and no other program holds it exclusively. The
// line's settings are not touched and it is closed again at once.
bool ProbeSerialPath(const std::string& path);

}  // namespace quorvel::platform
