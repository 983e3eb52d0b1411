#pragma once

// The master's judgement of an answer: what the port delivered (result code,
// length, frame buffer) checked against the request that was sent, with the
// counting and the texts that go with each kind of failure. The device window
// owns the counters and acts on the outcome (display, message window,
// statistics line, waiting on).

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "project/ReqProp.h"

namespace quorvel::MODBUS {

// Result codes the port hands over with an answer.
inline constexpr std::int32_t kFrameComplete = 1;  // exactly the expected length
inline constexpr std::int32_t kFrameOtherLength = 4;
inline constexpr std::int32_t kTimeout = 8;
inline constexpr std::int32_t kParityError = 16;

// The traffic counters of a device window, for both the master and the
// emulated slave side. A counter that reaches its top stays there.
struct TrafficCounters {
  std::int32_t RequestCount = 0;
  std::int32_t SlaveRequestCount = 0;
  std::int32_t TOErr = 0;
  std::int32_t DtErr = 0;  // invalid responses
  std::int32_t PtyErr = 0;
  std::int32_t CRCErr = 0;  // CRC and LRC failures together
  std::int32_t FrErr = 0;
  std::int32_t Ex1 = 0;
  std::int32_t Ex2 = 0;
  std::int32_t Ex3 = 0;
  std::int32_t Ex4 = 0;
  // Requests that could not be laid out and so never went on the line.
  std::int32_t Unsent = 0;

  bool operator==(const TrafficCounters&) const = default;
};

// One up, without ever wrapping round.
void CountUp(std::int32_t& counter);

// Content check failures; when several apply the last one found is kept.
enum class ErrorKind : std::int32_t {
  None = 0,
  WrongFunction = 1,
  WrongByteCount = 2,
  WrongLength = 4,
  EchoMismatch = 8,
};

inline constexpr std::string_view kFrameErrorText = "Frame error!";
inline constexpr std::string_view kTimeoutText = "Timeout!";
inline constexpr std::string_view kParityErrorText = "Perity error!";
inline constexpr std::string_view kLrcErrorText = "LRC error!";
inline constexpr std::string_view kCrcErrorText = "CRC error!";
inline constexpr std::string_view kIllegalFunctionText = "ILLEGAL FUNCTION (Ex. 1)!";
inline constexpr std::string_view kIllegalAddressText = "ILLEGAL DATA ADDRESS (Ex. 2)!";
inline constexpr std::string_view kIllegalValueText = "ILLEGAL DATA VALUE (Ex. 3)!";
inline constexpr std::string_view kDeviceFailureText = "SLAVE DEVICE FAILURE (Ex. 4)!";
inline constexpr std::string_view kInvalidResponceText = "Invalid responce!";
inline constexpr std::string_view kResponceOkText = "Responce is OK.";

struct ResponceOutcome {
  // The frame came from another slave: the window waits on (WaitResponce and
  // the port's Busy set again, the port re-armed). Nothing was counted.
  bool keepWaiting = false;
  // Hand the buffer and the message length to the display.
  bool deliver = false;
  ErrorKind errorKind = ErrorKind::None;
  // The text the checks chose; empty when none was.
  std::string_view text;
  // For a user-started request (Control set): show `message` in the message window.
  bool show = false;
  std::string message;
};

// Checks the answer to `request`, sent to slave `ID`, in the order the checks
// must run; the first failure decides. `length` comes in as the received count
// and leaves as the message length (without CRC, or decoded from ASCII) when
// the frame's checksum was checked. The buffer is decoded in place for ASCII.
//
// Deliberate oddities that are kept:
// - an exception answer with code 4 sets Ex3 to Ex4 + 1 and leaves Ex4 alone;
// - an exception answer is recognised only at message length 5, so an ASCII
//   exception delivered as a short frame (11 characters) is an invalid
//   response; an RTU one (5 bytes) is recognised;
// - wrong ASCII frame markers, another slave's answer and an exception code
//   other than 1..4 choose no text, so a user-started request reports
//   "Responce is OK." for them.
//
// Bytes at or past the message length are never read; a check that needs one
// fails. A length below 0 or above the buffer's size, for a frame, or a result
// code the port never produces, is a frame error.
ResponceOutcome CheckResponce(std::int32_t code, std::int32_t& length, std::span<std::uint8_t> buffer,
                              const ReqProp& request, std::uint8_t ID, bool ascii, TrafficCounters& counters);

}  // namespace quorvel::MODBUS
