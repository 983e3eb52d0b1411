#include "app/ModbusGateway.h"

#include <optional>
#include <utility>

#include "modbus/FrameCodec.h"
#include "modbus/FrameDecode.h"
#include "modbus/MbapCodec.h"

namespace quorvel {
namespace {

constexpr std::size_t kCrcSize = 2;

// The message (address, function, data) of an answer as received: an RTU
// frame whose CRC holds, or an ASCII frame whose LRC does; nullopt otherwise.
std::optional<std::vector<std::uint8_t>> AnswerMessage(std::span<const std::uint8_t> answer, bool ascii) {
  std::vector<std::uint8_t> bytes(answer.begin(), answer.end());
  if (ascii) {
    if (bytes.size() < 7 || !MODBUS::FromASCII(bytes, static_cast<std::int32_t>(bytes.size()))) return std::nullopt;
    bytes.resize((answer.size() - 3) / 2 - 1);  // the LRC off
    return bytes;
  }
  if (bytes.size() < 2 + kCrcSize || !MODBUS::CheckCRC(bytes, static_cast<std::int32_t>(bytes.size() - kCrcSize)))
    return std::nullopt;
  bytes.resize(bytes.size() - kCrcSize);
  return bytes;
}

std::string Describe(std::span<const std::uint8_t> request) {
  return "unit " + std::to_string(request[0]) + " function " + std::to_string(request[1]);
}

}  // namespace

ModbusGateway::ModbusGateway(ModbusTcpServerLine& server, clsCOM& port, bool ascii, std::int32_t timeoutMs,
                             Report report)
    : server_(server), port_(port), ascii_(ascii), timeoutMs_(timeoutMs), report_(std::move(report)) {}

void ModbusGateway::Service() {
  if (underWay_) return;
  std::uint8_t frame[clsCOM::kAsciiBufferSize];
  const platform::IoResult r = server_.ReadAvailable(frame);
  if (r.status != platform::IoStatus::Ok || r.count < 2 + kCrcSize) return;
  request_.assign(frame, frame + r.count);
  const std::span<const std::uint8_t> message(request_.data(), request_.size() - kCrcSize);
  underWay_ = port_.SendFrame(message, true, timeoutMs_, [this](bool timedOut, std::span<const std::uint8_t> answer) {
    Finish(timedOut, answer);
  });
  if (!underWay_) Finish(true, {});  // the port refused it: the target is out of reach
}

void ModbusGateway::Finish(bool timedOut, std::span<const std::uint8_t> answer) {
  underWay_ = false;
  const bool broadcast = request_[0] == 0;
  std::optional<std::vector<std::uint8_t>> message;
  if (!timedOut) message = AnswerMessage(answer, ascii_);
  if (message && message->size() >= 2 && (*message)[0] == request_[0]) {
    ++forwarded_;
    message->resize(message->size() + kCrcSize);
    MODBUS::AddCRC(*message, static_cast<std::int32_t>(message->size() - kCrcSize));
    server_.Write(*message);
    if (report_) report_(Describe(request_) + ": answered " + MODBUS::HexBytes(*message));
    return;
  }
  if (broadcast) {
    ++forwarded_;
    if (report_) report_(Describe(request_) + ": broadcast, no answer expected");
    return;
  }
  ++failed_;
  server_.Write(MODBUS::RtuException(request_, kTargetFailed));
  if (report_)
    report_(Describe(request_) + (timedOut ? ": no answer" : ": damaged answer " + MODBUS::HexBytes(answer)) +
            ", exception 0x0B sent");
}

}  // namespace quorvel
