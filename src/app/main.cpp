#include <algorithm>
#include <cstring>
#include <iostream>
#include <span>

#include "Version.h"
#include "app/Startup.h"
#ifdef QUORVEL_HAVE_DESKTOP
#include "app/qt/DesktopMain.h"
#endif

namespace {

int StartDesktop([[maybe_unused]] int& argc, [[maybe_unused]] char** argv, [[maybe_unused]] quorvel::FirstCopy& first) {
#ifdef QUORVEL_HAVE_DESKTOP
  return quorvel::RunDesktop(argc, argv, first);
#else
  std::cerr << "quorvel: built without the desktop; use --headless or quorvel-cli\n";
  return 1;
#endif
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--version") == 0) {
    std::cout << "quorvel " << quorvel::kVersion << "\n";
    return 0;
  }
  const bool headless = argc > 1 && std::strcmp(argv[1], "--headless") == 0;
  const int skip = std::min(argc, headless ? 2 : 1);
  const char* const* rest = argv + skip;
  const std::span<const char* const> args(rest, static_cast<std::size_t>(argc - skip));

  auto first = quorvel::Main(args, quorvel::platform::LinkDirectory(), {}, quorvel::platform::FallbackLinkDirectory());
  if (!first) return 0;  // a later copy: its file went to the first copy
  return headless ? quorvel::RunHeadless(std::move(*first), std::cout, std::cerr) : StartDesktop(argc, argv, *first);
}
