#pragma once

// The frame served without a toolkit: each turn sleeps in poll() on the
// lines that wait for bytes and on the caller's own descriptors (a stop
// signal, the first copy's link) until the frame's next deadline, then runs
// the enabled timer handlers.

#include <span>
#include <vector>

#include "app/WakePacer.h"

namespace quorvel {

class frmQuorvelMain;

class PollLoop {
 public:
  // A sleep is at most `capMs` while the frame's timers are on.
  static constexpr double kDefaultCapMs = 100;

  PollLoop(frmQuorvelMain& frame, const platform::Clock& clock, double capMs = kDefaultCapMs);

  struct Turn {
    bool ran = false;      // the handlers ran
    bool byLine = false;   // a line's bytes woke it
    bool byLimit = false;  // the caller's `maxMs` ended the sleep first
    std::vector<bool> ready;  // which of the caller's descriptors are readable
  };
  // One turn, sleeping at most `maxMs` (infinity: no limit of the caller's).
  // The handlers run when the frame's time has come or a line woke it, not
  // when only the caller's descriptors did or its limit came first.
  Turn Run(std::span<const int> extra, double maxMs);

 private:
  frmQuorvelMain& frame_;
  WakePacer pacer_;
};

}  // namespace quorvel
