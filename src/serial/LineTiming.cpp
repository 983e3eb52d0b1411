#include "serial/LineTiming.h"

#include <algorithm>
#include <cctype>

namespace quorvel {
namespace {

// Above this rate the guide fixes the silences instead of scaling them: the
// character times would be too short for most UARTs and drivers to keep.
constexpr double kFixedAboveBaud = 19200;
constexpr double kFixedT35Ms = 1.75;
constexpr double kFixedT15Ms = 0.75;

bool SameLetters(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

std::string_view LineTimingName(LineTiming timing) {
  switch (timing) {
    case LineTiming::Standard:
      return "Standard";
    case LineTiming::Fast:
      return "Fast";
    case LineTiming::Classic:
      break;
  }
  return "Classic";
}

std::optional<LineTiming> ParseLineTiming(std::string_view text) {
  for (LineTiming t : {LineTiming::Classic, LineTiming::Standard, LineTiming::Fast})
    if (SameLetters(text, LineTimingName(t))) return t;
  return std::nullopt;
}

double CharacterMs(double baudRate) { return baudRate > 0 ? 11000.0 / baudRate : 0; }

double SilenceT35Ms(double baudRate) {
  return baudRate > kFixedAboveBaud || baudRate <= 0 ? kFixedT35Ms : 3.5 * CharacterMs(baudRate);
}

double GapT15Ms(double baudRate) {
  return baudRate > kFixedAboveBaud || baudRate <= 0 ? kFixedT15Ms : 1.5 * CharacterMs(baudRate);
}

}  // namespace quorvel
