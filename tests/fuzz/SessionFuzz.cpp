// libFuzzer target: any bytes as a session file. Whatever a text gives (all
// of it, or what was read before the damage) must be written back as a text
// that reads whole and gives the same ports, frame size and windows; and the
// written text must be the reader's fixed point.

#include <cstdint>
#include <string_view>

#include "FuzzCheck.h"
#include "app/SessionFile.h"

using namespace quorvel;
using fuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const SessionReading reading = ReadSession(text);
  Check(reading.ports >= 0 && reading.ports <= 16, "port blocks counted 0..16");
  Check(!reading.failure || reading.failure->Line() >= 1, "a failure names a line");
  if (!reading.failure) Check(reading.ports == 16 && reading.size, "a whole reading has every block");

  const std::string written = FormatSession(reading.session);
  const SessionReading again = ReadSession(written);
  Check(!again.failure, "a written session reads whole");
  Check(again.session == reading.session, "a written session reads back the same");
  Check(FormatSession(again.session) == written, "writing is stable");
  return 0;
}
