#pragma once

// What a frame heard on the line says, for people: who it is for, which
// function, which block, which values. The traffic log, the Monitor and
// `quorvel-cli monitor` and `send` all read frames through this one decoder.
//
// A frame is given whole as it was on the wire (RTU with its CRC, ASCII as
// ':' ... CR LF). Whether it is a request or an answer cannot always be told
// from the bytes alone (a write of one register and its answer are the same
// bytes), so the caller says which it expects; an answer is read against the
// request it answers when that is known, for the address it does not carry.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::MODBUS {

enum class FrameRole : std::uint8_t { Request, Response, Exception, Broken };

struct DecodedFrame {
  FrameRole role = FrameRole::Broken;
  bool checksumOk = false;  // CRC or LRC held (and ASCII markers and digits were right)
  int slave = -1;
  int function = -1;
  int address = -1;  // first register or coil; on an answer, that of its request
  int count = -1;    // registers or coils
  // Registers as unsigned 16-bit words, or coils and inputs as 0 and 1.
  std::vector<std::uint32_t> values;
  // Function 23: the block written, beside the block read above.
  int writeAddress = -1;
  int writeCount = -1;
  std::vector<std::uint32_t> writeValues;
  // Function 22: the two masks.
  std::uint32_t andMask = 0, orMask = 0;
  int exception = 0;    // exception code of an exception answer
  std::string problem;  // why a frame is Broken, or what in it did not add up

  bool Ok() const { return checksumOk && role != FrameRole::Broken; }
};

// `asResponse`: the frame is taken for an answer (to `request`, when given).
DecodedFrame DecodeFrame(std::span<const std::uint8_t> wire, bool ascii, bool asResponse,
                         const DecodedFrame* request = nullptr);

// The message bytes of a wire frame (address to data, without CRC or ASCII
// framing); nothing when the checksum or the markers do not hold.
std::optional<std::vector<std::uint8_t>> MessageOf(std::span<const std::uint8_t> wire, bool ascii);

// "Read Holding Registers", ..., "Function 43".
std::string FunctionName(int function);
// "ILLEGAL FUNCTION", ..., "Exception 10".
std::string ExceptionName(int code);
// "request", "response", "exception", "broken".
std::string_view RoleName(FrameRole role);

// One line for people: "17 Read Holding Registers 0 x5: 1234 65534 0 16464 40000".
std::string Summary(const DecodedFrame& frame);

// Hex pairs, blank-separated: "01 03 00 00".
std::string HexBytes(std::span<const std::uint8_t> bytes);

}  // namespace quorvel::MODBUS
