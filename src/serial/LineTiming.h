#pragma once

// How a port decides where frames end and when the next one may go out.
//
// Classic is the port as it always was: a frame ends at a fixed character gap
// (32 ms from 2400 baud up, longer below) and a request goes out whenever the
// port is free. It is the default, and what a session without a word about
// timing gets.
//
// Standard follows the Modbus serial line guide: the silences are measured in
// characters of 11 bits (t1.5, t3.5), fixed at 0.75 ms and 1.75 ms above
// 19200 baud; a frame also ends as soon as it has the length its header
// announces and its checksum holds; a master leaves t3.5 of silence before
// each request and, after a failed transaction, waits for the line to be
// quiet for a whole answer time-out so that a late answer is never taken for
// the next one. Fast is Standard without the silence before a request.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

enum class LineTiming : std::int16_t { Classic = 0, Standard = 1, Fast = 2 };

// "Classic", "Standard", "Fast".
std::string_view LineTimingName(LineTiming timing);

// Reads a timing by its name, in any case ("standard", "FAST"); nothing for
// another text.
std::optional<LineTiming> ParseLineTiming(std::string_view text);

// One character on the line (11 bit times: start, 8 data, parity or second
// stop, stop), in ms; 0 for a rate that is not positive.
double CharacterMs(double baudRate);

// The silence that ends a frame (t3.5) and the longest gap allowed inside one
// (t1.5), in ms, for a line at `baudRate`.
//
// A frame whose header promises more bytes than have come is given
// kLatencyAllowanceMs on top of t3.5 before it is taken as cut short: the
// serial driver and USB adapters hand bytes on in bursts, and a pause of a
// few milliseconds inside a frame is their doing far more often than the
// sender's. Bytes that cannot begin a frame end at t3.5 itself.
double SilenceT35Ms(double baudRate);
double GapT15Ms(double baudRate);
inline constexpr double kLatencyAllowanceMs = 20;

}  // namespace quorvel
