#pragma once

// The first copy with its windows: the desktop frame on screen until it closes.

#include "app/Startup.h"

namespace quorvel {

int RunDesktop(int& argc, char** argv, FirstCopy& first);

}  // namespace quorvel
