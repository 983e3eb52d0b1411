// A Monitor window: it never sends. It pairs what it hears on its port and
// shows what the requests to its slave address and their answers carry, on
// its panel and in its counters, as a Master window that had sent those
// requests would have shown them.

#include <vector>

#include "device/frmQuorvel.h"
#include "modbus/RequestFrame.h"
#include "serial/PortEntry.h"

namespace quorvel {
namespace {

// A frame buffer's worth; what is checked is decoded in place.
constexpr std::size_t kBufferSize = 600;

bool IsRead(int function) { return (function >= 1 && function <= 4) || function == 23; }

// The answer length a read of `count` calls for, in RTU bytes.
std::int32_t ReadAnswerLength(int function, int count) {
  return function <= 2 ? MODBUS::CoilBytes(count) + 5 : 2 * count + 5;
}

ReqProp RequestOf(int function, int address, int count) {
  ReqProp r;
  r.SetFunc(function);
  r.SetReadAddr(address);
  r.SetReadQnt(count);
  return r;
}

}  // namespace

void frmQuorvel::FrameHeard(std::span<const std::uint8_t> frame, bool answerShaped) {
  // A listener keeps the most recent frames; older ones make room.
  constexpr std::size_t kKeep = 256;
  heard_.emplace_back(frame.begin(), frame.end());
  if (heard_.size() > kKeep) heard_.pop_front();
  if (mode_ != kMonitor) return;

  const bool ascii = com_ != 0 && host_.Port(com_).ASCII;
  const MonitorPairing::Heard heard = monitor_.Take(frame, ascii, answerShaped);
  const auto ours = [this](const MODBUS::DecodedFrame& f) { return f.slave == id_; };
  if (heard.unanswered && ours(*heard.unanswered)) {
    MODBUS::CountUp(counters_.TOErr);
    const MODBUS::DecodedFrame& lost = *heard.unanswered;
    TellWatchers(RequestOf(lost.function, lost.address, lost.count), false);
  }
  if (heard.frame.role == MODBUS::FrameRole::Request) {
    if (ours(heard.frame)) MODBUS::CountUp(counters_.RequestCount);
  } else if (heard.request) {
    if (ours(*heard.request)) ShowHeardAnswer(*heard.request, frame, ascii);
  }
  RefreshStatistics();
}

void frmQuorvel::ShowHeardAnswer(const MODBUS::DecodedFrame& request, std::span<const std::uint8_t> frame, bool ascii) {
  const int function = request.function;
  std::vector<std::uint8_t> buffer(std::max(frame.size(), kBufferSize));
  std::copy(frame.begin(), frame.end(), buffer.begin());
  auto length = static_cast<std::int32_t>(frame.size());

  if (IsRead(function)) {
    // The master's own checks and display, with the request it would have sent.
    LastRequest = std::make_shared<ReqProp>(RequestOf(function, request.address, request.count));
    const std::int32_t expected = ReadAnswerLength(function, request.count);
    const std::int32_t code =
        length == (ascii ? 2 * expected + 1 : expected) ? MODBUS::kFrameComplete : MODBUS::kFrameOtherLength;
    const MODBUS::ResponceOutcome outcome =
        MODBUS::CheckResponce(code, length, buffer, *LastRequest, id_, ascii, counters_);
    if (outcome.deliver) StoreResponseData(buffer, length);
    TellWatchers(*LastRequest, outcome.deliver);
    return;
  }

  // A write: its answer says whether it was taken; what it wrote is in the
  // request, shown as a read of the same block would show it.
  const MODBUS::DecodedFrame answer = MODBUS::DecodeFrame(frame, ascii, true, &request);
  if (!answer.checksumOk) {
    MODBUS::CountUp(counters_.CRCErr);
    return;
  }
  if (answer.role == MODBUS::FrameRole::Exception) {
    // Shorter than any answer to a write: counted as the master counts it.
    LastRequest = std::make_shared<ReqProp>(RequestOf(function, request.address, request.count));
    MODBUS::CheckResponce(MODBUS::kFrameOtherLength, length, buffer, *LastRequest, id_, ascii, counters_);
    TellWatchers(*LastRequest, false);
    return;
  }
  const bool coils = function == 5 || function == 15;
  if (!(coils || function == 6 || function == 16) || request.values.empty()) return;
  const int read = coils ? 1 : 3;
  const auto count = static_cast<int>(request.values.size());
  LastRequest = std::make_shared<ReqProp>(RequestOf(read, request.address, count));
  // The answer a read of the block would have had: address, function, byte count, data.
  std::vector<std::uint8_t> data = {static_cast<std::uint8_t>(id_), static_cast<std::uint8_t>(read), 0};
  if (coils) {
    data.resize(3 + static_cast<std::size_t>(MODBUS::CoilBytes(count)));
    for (int i = 0; i < count; ++i)
      if (request.values[static_cast<std::size_t>(i)] != 0) data[3 + i / 8] |= static_cast<std::uint8_t>(1 << (i % 8));
  } else {
    for (const std::uint32_t v : request.values) {
      data.push_back(static_cast<std::uint8_t>(v >> 8));
      data.push_back(static_cast<std::uint8_t>(v & 0xFF));
    }
  }
  data[2] = static_cast<std::uint8_t>(data.size() - 3);
  StoreResponseData(data, static_cast<std::int32_t>(data.size()));
  TellWatchers(*LastRequest, true);
}

}  // namespace quorvel
