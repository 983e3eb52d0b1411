#include <cstring>
#include <iostream>

#include "Version.h"

// The desktop frame is drawn by a later stage of the program; until then the
// desktop binary answers for its version so packaging and the demo can find it.
int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--version") == 0) {
    std::cout << "quorvel " << quorvel::kVersion << "\n";
    return 0;
  }
  std::cerr << "quorvel: the desktop window is not available in this build; use quorvel-cli\n";
  return 1;
}
