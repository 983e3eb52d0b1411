#pragma once

// The emulated slave's side of a transaction: the port's check of a received
// request, and the answer to it, normal or exception, built in the frame
// buffer for the port to seal and send.

#include <cstdint>
#include <optional>
#include <span>

#include "modbus/MasterTransaction.h"
#include "modbus/SlaveData.h"

namespace quorvel::MODBUS {

// Bits of a slave's Exeptions mask.
inline constexpr std::uint16_t kAnswerEx1 = 1;
inline constexpr std::uint16_t kAnswerEx2 = 2;
inline constexpr std::uint16_t kAnswerEx3 = 4;
inline constexpr std::uint16_t kAnswerEx4 = 8;
inline constexpr std::uint16_t kServe15 = 16;
inline constexpr std::uint16_t kServe16 = 32;
inline constexpr std::uint16_t kServe22 = 64;
inline constexpr std::uint16_t kServe23 = 128;

// A received frame on a listening port: its checksum, then its address. Gives
// the slave address it is meant for (1..247) with `count` set to the message
// length (without CRC, or decoded from ASCII in place); nothing when the frame
// is to be dropped unanswered: too short (RTU below 8 bytes, ASCII below 17
// characters), a bad CRC or LRC, the broadcast address 0 or 248..255.
std::optional<std::uint8_t> CheckRequest(std::span<std::uint8_t> buffer, std::int32_t& count, bool ascii);

// Answers the checked request of `count` message bytes at the front of buffer
// from and into `data`, as the slave whose Exeptions mask is `exeptions`.
// Returns the length of the answer laid in the buffer (message bytes only;
// the port adds CRC or ASCII framing), 0 when nothing is to be sent.
//
// Every request is counted. A request is judged in the Modbus order: function
// served at all (exception 1), request well-formed (exception 3: quantity out
// of its limits, byte count not matching the quantity, or fewer bytes than it
// announces), addresses within the table (exception 2), and finally whether
// the table could give or take the values (exception 4). Exception 1 is
// counted only when it is answered; the others are counted even when the mask
// keeps them from being answered.
//
// Writes are answered with their standard echo, reads with byte count and
// data; a mask write is result = (current AND and_mask) OR (or_mask AND NOT
// and_mask); read/write writes before it reads. Nothing is written past the
// buffer, and room is left for the CRC; a buffer too small for an answer is
// an exception 4, too small even for that (below 5 bytes) answers nothing.
std::int32_t BuildResponce(std::span<std::uint8_t> buffer, std::int32_t count, std::uint16_t exeptions, SlaveData& data,
                           TrafficCounters& counters);

}  // namespace quorvel::MODBUS
