// The polling cycle of a Master window: which request goes out next.

#include <array>

#include "device/ElementSlaveData.h"
#include "device/frmQuorvel.h"
#include "modbus/RequestFrame.h"
#include "modbus/SlaveEmulation.h"
#include "serial/PortEntry.h"
#include "serial/clsCOM.h"

namespace quorvel {

void frmQuorvel::DoRequest() {
  std::shared_ptr<ReqProp> request;
  if (PendingRequests.empty()) {
    if (!CurrentRequest) return;
    request = CurrentRequest;
  } else {
    request = PendingRequests.front();
    PendingRequests.pop_front();
    if (PendingRequests.empty()) {
      nextTime_ = !CurrentRequest || !autoEnable_ ? kNever : CurrentRequest->NextTime();
    } else {
      nextTime_ = kAtOnce;
    }
  }

  // Laid out here first: a periodic request that the port cannot send would
  // otherwise win the schedule on every tick and starve the others.
  std::array<std::uint8_t, clsCOM::kRtuBufferSize> scratch{};
  if (const MODBUS::RequestFrame frame = MODBUS::LayRequest(scratch, id_, *request); !frame) {
    ReportUnsent(*request, MODBUS::RefusalText(frame.refusal));
    if (request->Control() == 0) ScheduleAfter(*request);
    RefreshStatistics();
    return;
  }

  PortEntry& entry = host_.Port(com_);
  bool sent = false;
  if (entry.Port) entry.Port->SendRequest(id_, *request, timeout_, interval_, sent);
  // A refused one-shot request has left the queue already and is dropped.
  waitResponce_ = sent;
  if (!sent) return;
  MODBUS::CountUp(counters_.RequestCount);
  LastRequest = request;

  if (request->Control() != 0) {
    request->SetNextTime(kNever);
  } else {
    ScheduleAfter(*request);
  }
  RefreshStatistics();
}

void frmQuorvel::ScheduleAfter(ReqProp& request) {
  // Wrapping tick arithmetic, without an overflow trap.
  const auto due = static_cast<std::int32_t>(static_cast<std::uint32_t>(host_.GetTickCount()) +
                                             static_cast<std::uint32_t>(request.Period()));
  request.SetNextTime(due);
  if (!autoEnable_) return;
  nextTime_ = kNever;
  for (const auto& candidate : Requests) {
    if (candidate->NextTime() < nextTime_) {
      nextTime_ = candidate->NextTime();
      CurrentRequest = candidate;
    }
  }
}

void frmQuorvel::ReportUnsent(const ReqProp& request, const char* why) {
  MODBUS::CountUp(counters_.Unsent);
  if (request.Control() == 0 && !unsentReported_.insert(&request).second) return;
  const std::string label = codePage_.ToUtf8(request.Label());
  host_.ShowMsg((label.empty() ? "Function " + std::to_string(request.Func()) : label) + ": " + why);
}

void frmQuorvel::ScheduleAll(bool enable) {
  for (const auto& request : Requests)
    if (request->Control() == 0) request->SetNextTime(enable ? 0 : kNever);
  nextTime_ = enable ? 0 : kNever;
  if (!PendingRequests.empty()) nextTime_ = kAtOnce;
}

void frmQuorvel::GetResponce(std::int32_t code, std::int32_t& length, std::span<std::uint8_t> buffer) {
  waitResponce_ = false;
  if (!LastRequest) return;
  const MODBUS::ResponceOutcome outcome =
      MODBUS::CheckResponce(code, length, buffer, *LastRequest, id_, com_ != 0 && host_.Port(com_).ASCII, counters_);
  if (outcome.keepWaiting) {
    // Someone else's answer: go on waiting for ours.
    PortEntry& entry = host_.Port(com_);
    if (entry.Port) entry.Port->WaitResponce();
    waitResponce_ = true;
    entry.Busy = true;
  } else if (outcome.deliver) {
    StoreResponseData(buffer, length);
    TellWatchers(*LastRequest, true);
  } else {
    // No good answer: what the window shows for this request is now older
    // than the device's values. A write's answer reads nothing, so leaves none.
    for (CtrlProp* element : ReadBy(*LastRequest)) MarkStale(*element, true);
    TellWatchers(*LastRequest, false);
  }
  // The message starts with the request's label, in the project's code page.
  if (outcome.show) host_.ShowMsg(codePage_.ToUtf8(outcome.message));
  RefreshStatistics();
}

void frmQuorvel::DoResponce(std::span<std::uint8_t> buffer, std::int32_t count) {
  // Emulation switched off: the device is as good as unplugged, and its
  // values stand still because nothing reads them.
  if (mode_ == kSlave && !autoEnable_) return;
  ElementSlaveData data(*this);
  std::int32_t length = MODBUS::BuildResponce(buffer, count, static_cast<std::uint16_t>(exeptions_), data, counters_);
  if (length > 0 && com_ != 0) {
    PortEntry& entry = host_.Port(com_);
    bool sent = false;
    if (entry.Port) entry.Port->SendResponce(length, sent);
  }
  RefreshStatistics();
}

void frmQuorvel::CountFrameError() {
  MODBUS::CountUp(counters_.FrErr);
  RefreshStatistics();
}

}  // namespace quorvel
