#include "app/PortScan.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace quorvel {

PortScan::PortScan(const PortEntry& settings, int com, std::vector<int> ids, std::int32_t timeoutMs,
                   const platform::Clock& clock, clsCOM::LineFactory lines)
    : com_(com), timeoutMs_(timeoutMs), clock_(clock), lines_(std::move(lines)), scan_(std::move(ids), settings.ASCII) {
  entry_.ASCII = settings.ASCII;
  entry_.ASCII8bits = settings.ASCII8bits;
  entry_.dcb = settings.dcb;
  entry_.Timing = settings.Timing;
  entry_.Echo = settings.Echo;
  entry_.Traffic = settings.Traffic;
  entry_.Mode = kModeMaster;
}

PortScan::~PortScan() { port_.reset(); }

DeviceLink& PortScan::Device(std::size_t) { throw std::out_of_range("no device window"); }

void PortScan::Start() {
  std::string failure;
  port_ = std::make_unique<clsCOM>(entry_, *this, clock_, lines_,
                                   [&failure](const std::string& text) { failure = text; });
  std::int16_t com = static_cast<std::int16_t>(com_);
  if (!port_->OpenCOM(com)) {
    Stop(State::Failed, failure.empty() ? "Can not open COM" + std::to_string(com_) : failure);
    return;
  }
  if (scan_.Done()) {
    Stop(State::Finished);
    return;
  }
  AskCurrent(clock_.GetTimeMs());
}

void PortScan::AskCurrent(double nowMs) {
  answered_ = false;
  waiting_ = port_->SendFrame(scan_.Message(), true, timeoutMs_, [this](bool timedOut, std::span<const std::uint8_t> answer) {
    scan_.Take(timedOut, answer);
    answered_ = true;
  });
  giveUpMs_ = nowMs + (waiting_ ? timeoutMs_ + kSlackMs : kSlackMs);
}

void PortScan::Serve() {
  if (state_ != State::Running) return;
  port_->Hit();
  const double nowMs = clock_.GetTimeMs();
  if (waiting_ && answered_) {
    if (scan_.Done()) {
      Stop(State::Finished);
      return;
    }
    AskCurrent(nowMs);
  } else if (!waiting_) {
    // Refused before: the port may still be keeping the silence after the last exchange.
    const double giveUp = giveUpMs_;
    AskCurrent(nowMs);
    giveUpMs_ = giveUp;
    if (!waiting_ && nowMs > giveUp) {
      Stop(State::Failed, "the port does not take a request for id " + std::to_string(scan_.CurrentId()));
      return;
    }
    if (waiting_) giveUpMs_ = nowMs + timeoutMs_ + kSlackMs;
  }
  if (waiting_ && !answered_ && nowMs > giveUpMs_)
    Stop(State::Failed, "no word from the port about id " + std::to_string(scan_.CurrentId()));
}

void PortScan::Cancel() {
  if (state_ == State::Running) Stop(State::Cancelled);
}

void PortScan::Stop(State state, std::string problem) {
  state_ = state;
  problem_ = std::move(problem);
  port_.reset();
  waiting_ = false;
}

double PortScan::NextDeadlineMs() const {
  if (state_ != State::Running) return std::numeric_limits<double>::infinity();
  const double nowMs = clock_.GetTimeMs();
  if (!waiting_ || answered_) return nowMs + (answered_ ? 0 : kRetryMs);
  // A line with no descriptor tells nothing of its bytes: it is looked at each millisecond.
  const double lineMs = port_->Descriptor() < 0 ? nowMs + 1 : port_->NextDeadlineMs();
  return std::min(lineMs, giveUpMs_);
}

int PortScan::Descriptor() const {
  return state_ == State::Running && port_ && port_->WantsBytes() ? port_->Descriptor() : -1;
}

}  // namespace quorvel
