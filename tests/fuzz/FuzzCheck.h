#pragma once

// What every fuzz target uses to state a property: a broken one ends the run
// at once (libFuzzer keeps the input as a crash), with a line on stderr that
// says which property it was.

#include <cstdio>
#include <cstdlib>

namespace quorvel::fuzz {

inline void Check(bool condition, const char* property) {
  if (condition) return;
  std::fprintf(stderr, "property broken: %s\n", property);
  std::abort();
}

}  // namespace quorvel::fuzz
