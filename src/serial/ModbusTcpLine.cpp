#include "serial/ModbusTcpLine.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace quorvel {

using platform::IoResult;
using platform::IoStatus;

ModbusTcpLine::ModbusTcpLine(std::unique_ptr<platform::SerialLine> stream) : stream_(std::move(stream)) {}

platform::OpenFailure ModbusTcpLine::Open(const platform::LineSettings& settings) {
  Forget();
  ready_.reset();
  gone_ = false;
  platform::OpenFailure failure = stream_->Open(settings);
  if (failure) return failure;
  if (stream_->Descriptor() >= 0) {
    ready_.emplace();
    ready_->Watch(stream_->Descriptor());
  }
  return {};
}

void ModbusTcpLine::Close() {
  // A connection lost with a frame half in: the master will not get that one.
  if (IsGone() && reader_.Partial() > 0) ++dropped_;
  Forget();
  ready_.reset();
  gone_ = false;
  stream_->Close();
}

void ModbusTcpLine::Forget() {
  answers_.clear();
  handed_ = 0;
  reader_.Reset();
  if (ready_) ready_->SetHolding(false);
}

int ModbusTcpLine::Descriptor() const { return ready_ ? ready_->Descriptor() : -1; }

IoResult ModbusTcpLine::Write(std::span<const std::uint8_t> bytes) {
  if (!stream_->IsOpen()) return {0, IoStatus::Closed, EBADF};
  if (IsGone()) return {0, IoStatus::Gone, EPIPE};
  const std::vector<std::uint8_t> mbap = client_.Request(bytes);
  // Bytes that are not a sealed RTU frame have no MBAP form.
  if (mbap.empty()) return {0, IoStatus::Failed, EINVAL};
  const IoResult written = stream_->Write(mbap);
  if (written.status != IoStatus::Ok) return written;
  return {bytes.size(), IoStatus::Ok, 0};
}

void ModbusTcpLine::Lose() {
  // A frame begun and never finished is one the master will not get.
  if (reader_.Partial() > 0) ++dropped_;
  gone_ = true;
  reader_.Reset();
}

void ModbusTcpLine::Pump() {
  if (gone_ || !stream_->IsOpen()) return;
  std::uint8_t chunk[512];
  for (;;) {
    const IoResult r = stream_->ReadAvailable(chunk);
    if (r.status == IoStatus::Gone) {
      Lose();
      break;
    }
    if (r.status != IoStatus::Ok || r.count == 0) break;
    reader_.Feed(std::span(chunk, r.count));
  }
  while (std::optional<MODBUS::MbapFrame> frame = reader_.Next()) {
    if (std::optional<std::vector<std::uint8_t>> answer = client_.Answer(*frame))
      answers_.push_back(std::move(*answer));
    else
      ++dropped_;
  }
  if (reader_.Broken()) {
    ++dropped_;
    reader_.Reset();
    stream_->Close();
    gone_ = true;
  }
  if (ready_) ready_->SetHolding(!answers_.empty());
}

IoResult ModbusTcpLine::ReadAvailable(std::span<std::uint8_t> into) {
  if (!stream_->IsOpen() && !gone_) return {0, IoStatus::Closed, EBADF};
  Pump();
  if (answers_.empty()) return gone_ || stream_->IsGone() ? IoResult{0, IoStatus::Gone, EPIPE} : IoResult{};
  const std::vector<std::uint8_t>& answer = answers_.front();
  const std::size_t n = std::min(into.size(), answer.size() - handed_);
  std::copy_n(answer.begin() + static_cast<std::ptrdiff_t>(handed_), n, into.begin());
  handed_ += n;
  if (handed_ == answer.size()) {
    answers_.pop_front();
    handed_ = 0;
  }
  if (ready_) ready_->SetHolding(!answers_.empty());
  return {n, IoStatus::Ok, 0};
}

std::size_t ModbusTcpLine::BytesAvailable() {
  Pump();
  return answers_.empty() ? 0 : answers_.front().size() - handed_;
}

void ModbusTcpLine::Purge(platform::PurgeWhat what) {
  if (what == platform::PurgeWhat::Input || what == platform::PurgeWhat::Both) {
    // Whatever came before now is no answer to what is sent next. The stream
    // itself is not purged: a frame half in would lose its start, and the
    // stream its place; it is read on and judged by its transaction id.
    Pump();
    answers_.clear();
    handed_ = 0;
    if (ready_) ready_->SetHolding(false);
  }
  if (what != platform::PurgeWhat::Input) stream_->Purge(platform::PurgeWhat::Output);
}

int ModbusTcpLine::TakeDroppedFrames() { return std::exchange(dropped_, 0); }

}  // namespace quorvel
