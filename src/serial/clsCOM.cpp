#include "serial/clsCOM.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "modbus/FrameCodec.h"
#include "modbus/FrameLength.h"
#include "modbus/MasterTransaction.h"
#include "modbus/RequestFrame.h"
#include "modbus/SlaveEmulation.h"
#include "platform/EchoLine.h"
#include "platform/OpenFailure.h"

namespace quorvel {
namespace {

// Poll results of the reads and the event.
constexpr std::int32_t kFailed = 0;
constexpr std::int32_t kComplete = 1;
constexpr std::int32_t kPending = 2;
constexpr std::int32_t kNoFrame = 4;

// An ASCII frame that grows this long without its LF is given up.
constexpr std::int32_t kAsciiFrameLimit = 513;

platform::LineSettings SettingsOf(const DCB& dcb) {
  return platform::LineSettingsFromDcb({dcb.BaudRate, dcb.Flags, dcb.ByteSize, dcb.Parity, dcb.StopBits});
}

}  // namespace

clsCOM::clsCOM(PortEntry& entry, DeviceDirectory& devices, const platform::Clock& clock, LineFactory lines,
               MessageSink message)
    : entry_(entry), devices_(devices), clock_(clock), lines_(std::move(lines)), message_(std::move(message)) {}

bool clsCOM::OpenCOM(std::int16_t& com) {
  Class_Terminate();
  DCB dcb = entry_.dcb;
  if (entry_.ASCII) dcb.ByteSize = entry_.ASCII8bits ? 8 : 7;
  const platform::LineSettings settings = SettingsOf(dcb);
  std::unique_ptr<platform::SerialLine> line = lines_ ? lines_(com) : nullptr;
  platform::EchoLine* echo = nullptr;
  if (line && entry_.Echo) {
    auto wrapped = std::make_unique<platform::EchoLine>(std::move(line));
    echo = wrapped.get();
    line = std::move(wrapped);
  }
  const platform::OpenFailure failure =
      line ? line->Open(settings) : platform::OpenFailure{platform::OpenCause::NoSuchDevice, ENODEV, {}, {}, {}, false};
  if (failure) {
    if (message_) message_(platform::OpenFailureText(com, failure));
    return false;
  }

  line_ = std::move(line);
  echo_ = echo;
  wholeFrames_ = line_->WholeFrames();
  if (!entry_.Traffic) entry_.Traffic = std::make_shared<TrafficLog>();
  const auto wall = std::chrono::system_clock::now().time_since_epoch();
  entry_.Traffic->Anchor(clock_.Nanoseconds() / 1000,
                         std::chrono::duration_cast<std::chrono::microseconds>(wall).count());
  timing_ = entry_.Timing;
  silenceMs_ = SilenceT35Ms(dcb.BaudRate);
  writeKept_ = false;
  lastHeardMs_ = -std::numeric_limits<double>::infinity();
  quietNeededMs_ = 0;
  echoMismatches_ = 0;
  answeredId_ = 0;
  settings_ = settings;
  lineLost_ = false;
  com_ = com;
  mode_ = entry_.Mode;
  ascii_ = entry_.ASCII;
  dcb_ = dcb;
  bufferSize_ = ascii_ ? kAsciiBufferSize : kRtuBufferSize;
  buffer_.assign(static_cast<std::size_t>(bufferSize_), 0);
  SetTimeouts();
  intervalCopy_ = timeouts_.ReadIntervalTimeout;
  line_->Purge(platform::PurgeWhat::Both);
  state_ = 0;
  eventArmed_ = false;
  masterAccumulator_ = 0;
  slaveAccumulator_ = 0;
  received_ = 0;
  if (mode_ == kModeSlave || mode_ == kModeMonitor) {
    state_ = kListening;
    entry_.Busy = true;
    Listen();
  }
  return true;
}

void clsCOM::Class_Terminate() {
  if (!line_) return;
  read_.Cancel();
  line_->Purge(platform::PurgeWhat::Both);
  line_->Close();
  line_.reset();
  echo_ = nullptr;
  lineLost_ = false;
  if (com_ != 0) entry_.Busy = false;
}

void clsCOM::SendRequest(std::uint8_t id, const ReqProp& request, std::int32_t timeout, std::int32_t interval,
                         bool& result) {
  result = false;
  if (!line_) return;
  const double now = clock_.GetTimeMs();
  KeepLine(now);

  // The caller's gap may lengthen the port's own, never shorten it. (An ASCII
  // port's all-ones setting is above any gap, so its reads stay piecewise.)
  timeouts_.ReadIntervalTimeout = static_cast<std::uint32_t>(std::max<std::int64_t>(interval, intervalCopy_));

  const std::span<std::uint8_t> buffer(buffer_);
  const MODBUS::RequestFrame frame = MODBUS::LayRequest(buffer, id, request);
  if (!frame) return;
  std::int32_t n = frame.n;
  if (ascii_) {
    if (!MODBUS::ToASCII(buffer, n)) return;
    sendCount_ = 2 * n + 5;
    expectedLength_ = 2 * frame.expected + 1;
  } else {
    MODBUS::AddCRC(buffer, n);
    sendCount_ = n + 2;
    expectedLength_ = frame.expected;
  }

  answerRule_ = FrameRule::AnswerFrom(id, static_cast<std::uint8_t>(request.Func()));
  result = BeginTransaction(now, timeout);
}

bool clsCOM::SendFrame(std::span<const std::uint8_t> message, bool seal, std::int32_t timeout, AnswerSink done) {
  if (!line_ || mode_ != kModeMaster || entry_.Busy || message.size() < 2) return false;
  const double now = clock_.GetTimeMs();
  KeepLine(now);
  const std::span<std::uint8_t> buffer(buffer_);
  if (message.size() + 2 > buffer.size()) return false;
  std::copy(message.begin(), message.end(), buffer.begin());
  auto n = static_cast<std::int32_t>(message.size());
  sendCount_ = n;
  if (seal && ascii_) {
    if (!MODBUS::ToASCII(buffer, n)) return false;
    sendCount_ = 2 * n + 5;
  } else if (seal) {
    MODBUS::AddCRC(buffer, n);
    sendCount_ = n + 2;
  }
  // Whatever arrives is the answer: its length is not known beforehand.
  expectedLength_ = 0;
  answerRule_ = FrameRule::AnswerFrom(message[0], message[1]);
  if (!BeginTransaction(now, timeout)) return false;
  handAnswer_ = std::move(done);
  return true;
}

bool clsCOM::BeginTransaction(double nowMs, std::int32_t timeout) {
  timeoutMs_ = timeout;
  read_.Cancel();
  masterAccumulator_ = 0;
  received_ = 0;
  eventArmed_ = false;
  echoMismatches_ = 0;
  EchoMismatches();  // those of earlier traffic are not this request's
  if (Framed()) {
    // The request is kept until the line has been quiet long enough; what
    // arrives meanwhile is read and dropped.
    Drain(nowMs);
    writeKept_ = true;
    if (nowMs >= QuietUntilMs() && !WriteRequest(nowMs)) return false;
  } else {
    // A lost line takes the request like a line on which nobody answers: the
    // window counts a time-out, as it would with the cable pulled at the far end.
    if (LineUp()) line_->Purge(platform::PurgeWhat::Both);
    if (!WriteRequest(nowMs)) return false;
  }
  state_ = kSending;
  entry_.Busy = true;
  if (wholeFrames_ && !writeKept_) {
    // Nothing is left on its way out: the answer may come in the very next
    // turn, so the port listens from now.
    state_ = kWaitingFirst;
    WaitEvent();
  }
  return true;
}

bool clsCOM::WriteRequest(double nowMs) {
  writeKept_ = false;
  quietNeededMs_ = 0;
  // A line that carries whole frames (a network connection) has no baud
  // rate: the request is out as soon as it is written, and its answer is
  // read the moment it comes, not from the next whole millisecond.
  const double baud = entry_.dcb.BaudRate;
  const double sendMs = baud > 0 && !wholeFrames_ ? sendCount_ * 11000.0 / baud : 0;
  transmitEnd_ =
      wholeFrames_ ? static_cast<std::int64_t>(std::floor(nowMs)) : std::llrint(nowMs + sendMs);  // ties to even
  responseDeadline_ = transmitEnd_ + timeoutMs_;
  lastHeardMs_ = nowMs + sendMs;
  if (!LineUp()) return true;
  const platform::IoResult written = line_->Write(std::span(buffer_).first(static_cast<std::size_t>(sendCount_)));
  if (written.status == platform::IoStatus::Gone) LoseLine(nowMs);
  if (written.status == platform::IoStatus::Ok) RecordSent(false, sendCount_);
  return written.status == platform::IoStatus::Ok || written.status == platform::IoStatus::Gone;
}

void clsCOM::Drain(double nowMs) {
  if (!LineUp()) return;
  std::uint8_t dropped[kRtuBufferSize];
  for (;;) {
    const platform::IoResult r = line_->ReadAvailable(dropped);
    if (r.status != platform::IoStatus::Ok || r.count == 0) break;
    lastHeardMs_ = nowMs;
    RecordReceived(TrafficVerdict::Late, true, std::span(dropped, r.count));
  }
}

double clsCOM::QuietUntilMs() const {
  // Frames that travel whole need no gap between them.
  const double silence = timing_ == LineTiming::Standard && !wholeFrames_ ? silenceMs_ : 0;
  return lastHeardMs_ + std::max(silence, quietNeededMs_);
}

int clsCOM::EchoMismatches() { return echo_ ? echo_->TakeMismatches() : 0; }

void clsCOM::CountDroppedFrames() {
  // Asked of a lost line too: a frame cut short by the loss is counted.
  if (!line_) return;
  const int dropped = line_->TakeDroppedFrames();
  if (dropped == 0) return;
  // Frames the line turned away count against the window that waits on the
  // port, as a frame that came broken would.
  for (std::size_t i = 0; i < devices_.DeviceCount(); ++i) {
    DeviceLink& device = devices_.Device(i);
    if (device.WaitResponce() && device.COM() == com_) {
      for (int n = 0; n < dropped; ++n) device.CountFrameError();
      return;
    }
  }
}

void clsCOM::RecordSent(bool response, std::int32_t count) {
  if (!entry_.Traffic) return;
  entry_.Traffic->Add(clock_.Nanoseconds() / 1000, TrafficDirection::Tx, TrafficVerdict::Ok, ascii_, response,
                      std::span(buffer_).first(static_cast<std::size_t>(count)));
}

void clsCOM::RecordReceived(TrafficVerdict verdict, bool response, std::span<const std::uint8_t> bytes) {
  if (!entry_.Traffic) return;
  entry_.Traffic->Add(clock_.Nanoseconds() / 1000, TrafficDirection::Rx, verdict, ascii_, response, bytes);
}

TrafficVerdict clsCOM::Judge(std::span<const std::uint8_t> frame, bool response) const {
  const std::size_t n = frame.size();
  if (ascii_) {
    if (MODBUS::AsciiFrameOk(frame)) return TrafficVerdict::Ok;
    const bool marked = n >= 5 && frame[0] == ':' && frame[n - 2] == 13 && frame[n - 1] == 10;
    return marked ? TrafficVerdict::ChecksumError : TrafficVerdict::FrameError;
  }
  if (n >= 4 && MODBUS::CheckCRC(frame, static_cast<std::int32_t>(n - 2))) return TrafficVerdict::Ok;
  const int announced = response ? MODBUS::RtuAnswerLength(frame) : MODBUS::RtuRequestLength(frame);
  return announced == static_cast<int>(n) ? TrafficVerdict::ChecksumError : TrafficVerdict::FrameError;
}

void clsCOM::SendResponce(std::int32_t& length, bool& result) {
  result = false;
  if (!line_) return;
  const std::span<std::uint8_t> buffer(buffer_);
  if (ascii_) {
    if (!MODBUS::ToASCII(buffer, length)) return;
    length = 2 * length + 5;
  } else {
    if (length < 0 || length + 2 > bufferSize_) return;
    MODBUS::AddCRC(buffer, length);
    length += 2;
  }
  if (LineUp()) {
    const platform::IoResult written = line_->Write(buffer.first(static_cast<std::size_t>(length)));
    if (written.status == platform::IoStatus::Gone) LoseLine(clock_.GetTimeMs());
    result = written.status == platform::IoStatus::Ok;
    if (result) RecordSent(true, length);
  }
  state_ = kAnswering;
}

void clsCOM::WaitResponce() {
  state_ = kWaitingFirst;
  WaitEvent();
}

void clsCOM::Hit() {
  if (!line_) return;
  KeepLine(clock_.GetTimeMs());
  switch (mode_) {
    case kModeMaster:
      HitMaster();
      break;
    case kModeSlave:
      HitSlave();
      break;
    case kModeMonitor:
      HitMonitor();
      break;
    default:
      break;
  }
}

void clsCOM::HitMaster() {
  const double now = clock_.GetTimeMs();
  echoMismatches_ += EchoMismatches();
  CountDroppedFrames();
  std::int32_t code = 0;
  switch (state_) {
    case kSending:
      if (writeKept_) {
        Drain(now);
        // A line that refuses the bytes leaves the request unanswered.
        if (now >= QuietUntilMs()) WriteRequest(now);
      } else if (now >= static_cast<double>(transmitEnd_)) {
        state_ = kWaitingFirst;
        WaitEvent();
      }
      break;
    case kWaitingFirst: {
      const std::int32_t event = CheckEvent();
      if (event == kComplete) {
        if (Framed()) {
          read_.StartFramed(buffer_, ascii_ ? asciiRule_ : answerRule_, FrameSilenceMs(), now);
        } else {
          StartRead(0, bufferSize_);
        }
        state_ = kReading;
      } else if (event == kPending && now >= static_cast<double>(responseDeadline_)) {
        code = MODBUS::kTimeout;
      }
      break;
    }
    case kReading: {
      const std::int32_t r = GathersAscii() ? ReadASCII() : ReadRTU();
      if (r == kComplete) {
        code = received_ == expectedLength_ ? MODBUS::kFrameComplete : MODBUS::kFrameOtherLength;
      } else if (ascii_ && r == kNoFrame) {
        code = MODBUS::kFrameOtherLength;
      }
      break;
    }
    default:
      break;
  }
  if (code != 0) Deliver(code);
}

void clsCOM::Deliver(std::int32_t code) {
  // Our own bytes came back otherwise than sent: something else was on the
  // line at the same time.
  if (echoMismatches_ > 0 && code != MODBUS::kTimeout) code = MODBUS::kFrameOtherLength;
  if (Framed()) {
    // After anything but a whole answer, the next request waits until a late
    // answer would have come and gone.
    const double now = clock_.GetTimeMs();
    const std::span<const std::uint8_t> got(buffer_.data(), static_cast<std::size_t>(received_));
    const bool whole = code != MODBUS::kTimeout && echoMismatches_ == 0 &&
                       (ascii_ ? MODBUS::AsciiFrameOk(got) : read_.Found() == FrameKind::Awaited);
    lastHeardMs_ = std::max(lastHeardMs_, whole ? read_.LastMs() : now);
    quietNeededMs_ = whole ? 0 : timeoutMs_;
  }
  if (code == MODBUS::kTimeout) {
    RecordReceived(TrafficVerdict::Timeout, true, {});
  } else {
    const std::span<const std::uint8_t> got(buffer_.data(), static_cast<std::size_t>(received_));
    RecordReceived(echoMismatches_ > 0 ? TrafficVerdict::Echo : Judge(got, true), true, got);
  }
  // Cleared first: a window that finds the frame was not its answer sets it
  // again while it waits on.
  entry_.Busy = false;
  if (handAnswer_) {
    const AnswerSink done = std::move(handAnswer_);
    handAnswer_ = nullptr;
    const std::size_t got = code == MODBUS::kTimeout ? 0 : static_cast<std::size_t>(received_);
    done(code == MODBUS::kTimeout, std::span<const std::uint8_t>(buffer_.data(), got));
    return;
  }
  std::int32_t length = code == MODBUS::kTimeout ? 0 : received_;
  for (std::size_t i = 0; i < devices_.DeviceCount(); ++i) {
    DeviceLink& device = devices_.Device(i);
    if (device.WaitResponce() && device.COM() == com_) {
      device.GetResponce(code, length, buffer_);
      return;
    }
  }
}

void clsCOM::HitSlave() {
  // Our answer did not come back as sent: it collided with someone else's.
  if (EchoMismatches() > 0)
    if (DeviceLink* device = FindDevice(answeredId_)) device->CountFrameError();
  const std::int32_t r = GathersAscii() ? ReadASCIISlave() : ReadRTU();
  if (r == kPending) return;
  const std::span<const std::uint8_t> got(buffer_.data(), static_cast<std::size_t>(received_));
  const bool foreign = read_.Found() == FrameKind::Foreign;
  if (r == kComplete && received_ > 0) RecordReceived(Judge(got, foreign), foreign, got);
  if (r == kComplete && !foreign) {
    std::int32_t count = received_;
    if (DeviceLink* device = CheckRequest(count)) {
      answeredId_ = device->ID();
      device->DoResponce(buffer_, count);
    }
  }
  // Whatever the read ended with, the port goes on listening.
  Listen();
}

void clsCOM::HitMonitor() {
  const std::int32_t r = GathersAscii() ? ReadASCIISlave() : ReadRTU();
  if (r == kPending) return;
  if (r == kComplete && received_ > 0) {
    const std::span<const std::uint8_t> frame(buffer_.data(), static_cast<std::size_t>(received_));
    const bool foreign = read_.Found() == FrameKind::Foreign;
    RecordReceived(Judge(frame, foreign), foreign, frame);
    for (std::size_t i = 0; i < devices_.DeviceCount(); ++i) {
      DeviceLink& device = devices_.Device(i);
      if (device.COM() == com_ && device.Connected()) device.FrameHeard(frame, foreign);
    }
  }
  Listen();
}

DeviceLink* clsCOM::FindDevice(std::int32_t address) {
  if (address < 1 || address > 247) return nullptr;
  for (std::size_t i = 0; i < devices_.DeviceCount(); ++i) {
    DeviceLink& device = devices_.Device(i);
    if (device.ID() == address && device.COM() == com_ && device.Connected()) return &device;
  }
  return nullptr;
}

DeviceLink* clsCOM::CheckRequest(std::int32_t& count) {
  const std::optional<std::uint8_t> address = MODBUS::CheckRequest(buffer_, count, ascii_);
  return address ? FindDevice(*address) : nullptr;
}

std::int32_t clsCOM::CheckEvent() {
  if (!eventArmed_) return kPending;
  if (!LineUp() || line_->BytesAvailable() == 0) return kPending;
  eventArmed_ = false;
  return kComplete;
}

bool clsCOM::StartRead(std::int32_t index, std::int32_t count) {
  const std::span<std::uint8_t> buffer(buffer_);
  readIndex_ = std::clamp(index, 0, bufferSize_);
  const std::int32_t room = std::clamp(count, 0, bufferSize_ - readIndex_);
  read_.Start(buffer.subspan(static_cast<std::size_t>(readIndex_), static_cast<std::size_t>(room)), timeouts_,
              clock_.GetTimeMs());
  return true;
}

void clsCOM::Listen() {
  if (ListensFramed()) {
    // A Monitor splits frames by their lengths in every timing, so that it
    // tells a request from the answer that follows it at once; Classic only
    // gives it its longer silence.
    const double silence = Framed() ? FrameSilenceMs() : static_cast<double>(timeouts_.ReadIntervalTimeout);
    read_.StartFramed(buffer_, RequestRule(), silence, clock_.GetTimeMs());
  } else {
    StartRead(0, bufferSize_);
  }
}

std::int32_t clsCOM::ReadRTU() {
  switch (read_.Poll(*line_, clock_.GetTimeMs())) {
    case OverlappedRead::Progress::Pending:
      return kPending;
    case OverlappedRead::Progress::Complete:
      received_ = static_cast<std::int32_t>(read_.Received());
      return kComplete;
    case OverlappedRead::Progress::Idle:
      break;
  }
  return kFailed;
}

std::int32_t clsCOM::GatherASCII(std::int32_t& accumulator) {
  switch (read_.Poll(*line_, clock_.GetTimeMs())) {
    case OverlappedRead::Progress::Pending:
      return kPending;
    case OverlappedRead::Progress::Idle:
      return kFailed;
    case OverlappedRead::Progress::Complete:
      break;
  }
  const auto got = static_cast<std::int32_t>(read_.Received());
  received_ = got;
  if (got == 0) {
    accumulator = 0;
    return kNoFrame;
  }
  // The new characters lie where the read put them, right after those
  // gathered before.
  accumulator = readIndex_;
  const auto at = [this](std::int32_t i) -> std::uint8_t& { return buffer_[static_cast<std::size_t>(i)]; };

  // A frame starts at its last ':': anything before it was noise or a frame
  // cut short.
  std::int32_t start = -1;
  for (std::int32_t i = accumulator; i < accumulator + got; ++i)
    if (at(i) == ':') start = i;
  if (start >= 0) {
    const std::int32_t kept = accumulator + got - start;
    std::copy(buffer_.begin() + start, buffer_.begin() + start + kept, buffer_.begin());
    accumulator = kept;
  } else if (accumulator != 0) {
    accumulator += got;
  }

  for (std::int32_t q = 1; q < accumulator; ++q) {
    if (at(q) == 10) {
      received_ = q + 1;
      accumulator = 0;
      return kComplete;
    }
  }
  if (accumulator < kAsciiFrameLimit) {
    StartRead(accumulator, bufferSize_ - accumulator);
    return kPending;
  }
  accumulator = 0;
  return kNoFrame;
}

double clsCOM::NextDeadlineMs() const {
  constexpr double kNever = std::numeric_limits<double>::infinity();
  if (!line_) return kNever;
  double at = kNever;
  switch (state_) {
    case kSending:
      at = writeKept_ ? QuietUntilMs() : static_cast<double>(transmitEnd_);
      break;
    case kWaitingFirst:
      at = static_cast<double>(responseDeadline_);
      break;
    case kReading:
    case kListening:
    case kAnswering:
      at = read_.DeadlineMs();
      break;
    default:
      break;
  }
  // A lost line still times out the request under way.
  return lineLost_ ? std::min(at, reopenAtMs_) : at;
}

bool clsCOM::WantsBytes() const {
  if (!LineUp()) return false;
  return (state_ == kSending && writeKept_) || state_ == kWaitingFirst || state_ == kReading || state_ == kListening ||
         state_ == kAnswering;
}

void clsCOM::KeepLine(double nowMs) {
  if (!line_) return;
  if (!lineLost_) {
    if (line_->IsGone()) LoseLine(nowMs);
    return;
  }
  if (nowMs < reopenAtMs_) return;
  if (line_->Open(settings_)) {
    reopenAtMs_ = nowMs + kReopenPeriodMs;
    return;
  }
  lineLost_ = false;
}

void clsCOM::LoseLine(double nowMs) {
  // Closing at once lets the system give the device its old name when it is
  // plugged in again.
  line_->Close();
  lineLost_ = true;
  reopenAtMs_ = nowMs + kReopenPeriodMs;
}

}  // namespace quorvel
