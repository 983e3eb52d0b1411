#pragma once

// Terminal settings through the kernel's termios2 record, which carries the
// baud rate as a plain number, so that any rate a driver can make (not only
// the classic list) can be set. The kernel header used here defines its own
// `struct termios`: a file including this one must not include <termios.h>.

#include <asm/termbits.h>

#include "platform/LineSettings.h"

namespace quorvel::platform {

// False with errno set when `fd` is not a terminal or the call fails.
bool GetTermios(int fd, termios2& settings);
bool SetTermios(int fd, const termios2& settings);

// A byte pipe: no echo, no line editing, no signal characters, no translation
// either way, modem status lines ignored, and reads that return at once with
// what is there (VMIN 0, VTIME 0). Framing is left alone.
void MakeRaw(termios2& settings);

// Speed, data bits, parity and stop bits of `line` into `settings`. A baud
// rate or data-bit count that cannot be used leaves that field as it was.
// One and a half stop bits are asked for as two: a UART sends 1.5 when two
// are set with 5 data bits, and no other way to ask exists.
void ApplyFraming(termios2& settings, const LineSettings& line);

// The output baud rate held in `settings`.
int BaudRateOf(const termios2& settings);

}  // namespace quorvel::platform
