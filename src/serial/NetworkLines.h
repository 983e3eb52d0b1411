#pragma once

// The line behind a mapped path: a network address ("tcp://", "mbtcp://",
// "mbtcp-listen://") gives the network line of its kind, anything else the
// serial device at that path.

#include <memory>
#include <string>

#include "platform/SerialLine.h"

namespace quorvel {

std::unique_ptr<platform::SerialLine> LineForPath(const std::string& path);

}  // namespace quorvel
