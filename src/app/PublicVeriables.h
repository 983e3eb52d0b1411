#pragma once

// The program-wide values, kept together in one place: the port table, the
// recent lists, the session bookkeeping and where the program lives.

#include <array>
#include <string>
#include <vector>

#include "serial/PortEntry.h"

namespace quorvel {

struct PublicVeriables {
  std::string ProgramTitle = "Quorvel";
  std::string AppPath;
  std::string LastPath;
  std::string CurrentSession;
  bool SessionChanged = false;
  std::vector<std::string> RecentFiles;
  std::vector<std::string> RecentSessions;
  // Record i for COM port i; element 0 is not used.
  std::array<PortEntry, 17> Ports{};
};

}  // namespace quorvel
