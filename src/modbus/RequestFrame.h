#pragma once

// The master's request message as it goes on the line: address, function and
// the fields each function code carries, plus the length of the answer the
// request calls for. The port seals the message afterwards (CRC or ASCII).

#include <cstdint>
#include <span>

#include "project/ReqProp.h"

namespace quorvel::MODBUS {

// Why a request could not be laid out.
enum class RequestRefusal {
  None,
  TooLong,     // a byte count beyond 255, or more than the buffer holds
  DataShort,   // the request's data lacks bytes the frame carries
  FieldRange,  // an address or quantity beyond 16 bits
};

struct RequestFrame {
  // Message bytes laid into the buffer (address and function included); 0 when
  // the request cannot be sent and nothing should go on the line.
  std::int32_t n = 0;
  // Length of the awaited answer in RTU bytes (message + CRC). 0 for function
  // codes whose answer is unknown here: whatever arrives then comes as a frame
  // of another length.
  std::int32_t expected = 0;
  RequestRefusal refusal = RequestRefusal::None;

  explicit operator bool() const { return n > 0; }
};

// Lays the request for slave `ID` into the front of buf. Function codes
// without a known layout send address and function only.
//
// The request is refused (n = 0, no promise about the buffer's content) when
// - a field that goes on the line as 16 bits (addresses, quantities) lies
//   outside 0..65535, or a byte count outside 0..255, since the frame would
//   then say something other than the request;
// - the request's data buffer lacks bytes the frame carries;
// - the message and its CRC would not fit the buffer.
// An ASCII port must still check that ToASCII accepts the message.
RequestFrame LayRequest(std::span<std::uint8_t> buf, std::uint8_t ID, const ReqProp& request);

// The refusal in words, as the message window shows it after the label.
const char* RefusalText(RequestRefusal refusal);

// Byte count of a coil block: one bit per coil, the last byte partly used.
constexpr std::int32_t CoilBytes(std::int32_t quantity) { return quantity / 8 + (quantity % 8 != 0 ? 1 : 0); }

}  // namespace quorvel::MODBUS
