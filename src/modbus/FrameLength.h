#pragma once

// How long an RTU frame is, told from its first bytes. A Modbus RTU frame
// carries no length of its own: the function code fixes it, or a byte count
// a few bytes in does. Knowing it lets a receiver end a frame the moment its
// last byte is in, instead of waiting for the line to go quiet, and lets it
// find a frame that follows a stray byte.
//
// Each function reads only the bytes it is given and answers with the length
// of the whole frame, CRC included; kNeedMore when the bytes that announce it
// have not arrived yet, kUnknown when the function code does not say (one
// this program neither sends nor answers).

#include <cstdint>
#include <span>

namespace quorvel::MODBUS {

inline constexpr int kNeedMore = 0;
inline constexpr int kUnknown = -1;

// A request as a master sends it (address, function, ...).
int RtuRequestLength(std::span<const std::uint8_t> head);

// An answer as a slave sends it, exception answers included.
int RtuAnswerLength(std::span<const std::uint8_t> head);

// True when `frame` is a whole ASCII frame (':' ... CR LF) whose hex digits
// are well formed and whose LRC holds. Unlike the receiving check, it leaves
// the frame as it is and reads the LRC as the sender computes it.
bool AsciiFrameOk(std::span<const std::uint8_t> frame);

}  // namespace quorvel::MODBUS
