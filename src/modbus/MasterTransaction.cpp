#include "modbus/MasterTransaction.h"

#include <array>
#include <limits>

#include "modbus/FrameCodec.h"
#include "modbus/RequestFrame.h"

namespace quorvel::MODBUS {
namespace {

// The smallest ASCII frame that can carry an exception answer: ':', address,
// function, code and LRC as hex pairs, CR LF.
constexpr std::int32_t kAsciiExceptionLength = 11;
// Address, function and code, then the CRC.
constexpr std::int32_t kRtuExceptionLength = 5;

bool MarkersRight(std::span<const std::uint8_t> buffer, std::int32_t length) {
  return length >= 2 && buffer[length - 1] == 10 && buffer[0] == ':' && buffer[length - 2] == 13;
}

// The content checks of an answer that came from the right slave and is no
// exception answer.
class ContentCheck {
 public:
  ContentCheck(std::span<const std::uint8_t> buffer, std::int32_t length, const ReqProp& request, std::uint8_t ID)
      : buffer_(buffer), length_(length), request_(request), id_(ID) {}

  ErrorKind Run() const {
    const std::int32_t func = request_.Func();
    if (Byte(1) != func) return ErrorKind::WrongFunction;
    switch (func) {
      case 1:
      case 2:
        return CountAndLength(CoilBytes(request_.ReadQnt()));
      case 3:
      case 4:
      case 23:
        return CountAndLength(2 * std::int64_t{request_.ReadQnt()});
      case 5:
      case 6:
        return EchoesSent(6);
      case 22:
        return EchoesSent(8);
      case 15:
      case 16:
        if (Word(2) != request_.WriteAddr() || Word(4) != request_.WriteQnt()) return ErrorKind::EchoMismatch;
        return ErrorKind::None;
      default:
        return ErrorKind::None;
    }
  }

 private:
  // A byte of the message, or -1, which matches nothing, past its end.
  std::int32_t Byte(std::int32_t i) const { return i < length_ ? buffer_[i] : -1; }
  std::int64_t Word(std::int32_t i) const {
    if (Byte(i) < 0 || Byte(i + 1) < 0) return -1;
    return Byte(i) * 256 + Byte(i + 1);
  }

  ErrorKind CountAndLength(std::int64_t count) const {
    ErrorKind kind = ErrorKind::None;
    if (Byte(2) != count) kind = ErrorKind::WrongByteCount;
    if (length_ != count + 3) kind = ErrorKind::WrongLength;
    return kind;
  }

  // Bytes 2 up to `end` must repeat the request as it went on the line (a
  // forced coil value included); a request that could not be laid out again
  // was never sent, so nothing can echo it.
  ErrorKind EchoesSent(std::int32_t end) const {
    std::array<std::uint8_t, 16> sent{};
    if (!LayRequest(sent, id_, request_)) return ErrorKind::EchoMismatch;
    for (std::int32_t i = 2; i < end; ++i) {
      if (Byte(i) != sent[i]) return ErrorKind::EchoMismatch;
    }
    return ErrorKind::None;
  }

  std::span<const std::uint8_t> buffer_;
  std::int32_t length_;
  const ReqProp& request_;
  std::uint8_t id_;
};

}  // namespace

void CountUp(std::int32_t& counter) {
  if (counter < std::numeric_limits<std::int32_t>::max()) ++counter;
}

ResponceOutcome CheckResponce(std::int32_t code, std::int32_t& length, std::span<std::uint8_t> buffer,
                              const ReqProp& request, std::uint8_t ID, bool ascii, TrafficCounters& counters) {
  ResponceOutcome out;
  // Set once the outcome is decided; only the reporting is left then.
  bool decided = false;
  auto fail = [&](std::int32_t& counter, std::string_view text) {
    CountUp(counter);
    out.text = text;
    decided = true;
  };

  const bool frame = code == kFrameComplete || code == kFrameOtherLength;
  if (frame && (length < 0 || static_cast<std::size_t>(length) > buffer.size())) {
    fail(counters.FrErr, kFrameErrorText);
  } else if (code == kFrameOtherLength) {
    // Only an exception answer may be shorter than expected. Its length is
    // left as received.
    const bool exceptionFrame = ascii ? length == kAsciiExceptionLength && FromASCII(buffer, length)
                                      : length == kRtuExceptionLength && AddCRC(buffer, length - 2);
    if (!exceptionFrame) fail(counters.FrErr, kFrameErrorText);
  } else if (code == kTimeout) {
    fail(counters.TOErr, kTimeoutText);
  } else if (code == kParityError) {
    fail(counters.PtyErr, kParityErrorText);
  } else if (code == kFrameComplete && ascii) {
    if (!MarkersRight(buffer, length)) {
      CountUp(counters.FrErr);
      decided = true;
    } else if (!FromASCII(buffer, length)) {
      fail(counters.CRCErr, kLrcErrorText);
    } else {
      length = (length - 5) / 2;
    }
  } else if (code == kFrameComplete) {
    if (!AddCRC(buffer, length - 2)) {
      fail(counters.CRCErr, kCrcErrorText);
    } else {
      length -= 2;
    }
  } else {
    fail(counters.FrErr, kFrameErrorText);
  }

  if (!decided && (length < 1 || buffer[0] != ID)) {
    out.keepWaiting = true;
    decided = true;
  }

  if (!decided && length == 5 && buffer[1] == std::int64_t{request.Func()} + 128) {
    decided = true;
    switch (buffer[2]) {
      case 1:
        fail(counters.Ex1, kIllegalFunctionText);
        break;
      case 2:
        fail(counters.Ex2, kIllegalAddressText);
        break;
      case 3:
        fail(counters.Ex3, kIllegalValueText);
        break;
      case 4:
        // Ex3 rather than Ex4 moves here; the statistics have always shown it so.
        counters.Ex3 = counters.Ex4;
        fail(counters.Ex3, kDeviceFailureText);
        break;
      default:
        break;
    }
  }

  if (!decided) {
    out.errorKind = ContentCheck(buffer, length, request, ID).Run();
    const bool writeEcho = request.Func() == 15 || request.Func() == 16;
    out.deliver = out.errorKind == ErrorKind::None && !writeEcho;
  }

  const bool invalid = out.errorKind != ErrorKind::None;
  if (invalid) CountUp(counters.DtErr);
  if (request.Control() != 0) {
    if (invalid) {
      out.text = kInvalidResponceText;
    } else if (out.text.empty()) {
      out.text = kResponceOkText;
    }
    out.show = true;
    out.message = request.Label().empty() ? std::string(out.text) : request.Label() + ": " + std::string(out.text);
  }
  return out;
}

}  // namespace quorvel::MODBUS
