#include "app/WakePacer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/frmQuorvelMain.h"

namespace quorvel {

WakePacer::WakePacer(const frmQuorvelMain& frame, const platform::Clock& clock, double capMs)
    : frame_(frame), clock_(clock), capMs_(capMs), lastRunMs_(-std::numeric_limits<double>::infinity()) {}

void WakePacer::Ran() {
  lastRunMs_ = clock_.GetTimeMs();
  const auto ms = static_cast<std::int64_t>(std::floor(lastRunMs_));
  runsInMs_ = ms == runMs_ ? runsInMs_ + 1 : 1;
  runMs_ = ms;
}

WakePacer::Wait WakePacer::Next() const {
  frmQuorvelMain::Wake wake = frame_.NextWake();
  const double nowMs = clock_.GetTimeMs();
  const double tickMs = frmQuorvelMain::kTimeServiceMs;
  double atMs = wake.AtMs;
  if (atMs <= nowMs) atMs = std::max(atMs, lastRunMs_ + tickMs);
  if (runsInMs_ >= kRunsPerMs && std::floor(nowMs) == static_cast<double>(runMs_)) {
    wake.Descriptors.clear();
    atMs = std::min(atMs, static_cast<double>(runMs_) + tickMs);
  }
  double timeout = std::max(0.0, atMs - nowMs);
  if (frame_.PollingTimerEnabled() || frame_.CheckTimerEnabled()) timeout = std::min(timeout, capMs_);
  return {timeout, std::move(wake.Descriptors)};
}

}  // namespace quorvel
