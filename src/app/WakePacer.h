#pragma once

// How long a loop that serves the frame sleeps, and what it watches meanwhile:
// the frame's NextWake, held to two limits. Work that is still due right
// after the handlers ran (a request its port refuses, a deadline the port
// does not act on yet) is looked at again a millisecond later, as the fixed
// tick did, instead of at once; and a loop woken over and over within one
// millisecond (a line that stays readable because it hung up, say) stops
// watching the lines until the next one. Neither holds back ordinary work:
// bytes that come are taken when they come, deadlines are met when they fall.
//
// Both the headless loop and the desktop use it; it does no waiting itself.

#include <cstdint>
#include <vector>

#include "platform/Clock.h"

namespace quorvel {

class frmQuorvelMain;

class WakePacer {
 public:
  // A sleep is never longer than `capMs` while the frame's timers are on, so
  // that a change the loop was not told of is only late, never lost.
  WakePacer(const frmQuorvelMain& frame, const platform::Clock& clock, double capMs);

  struct Wait {
    double TimeoutMs;  // from now; +infinity: until a descriptor or something outside
    std::vector<int> Descriptors;
  };
  Wait Next() const;

  // The handlers have just run.
  void Ran();

 private:
  static constexpr int kRunsPerMs = 8;

  const frmQuorvelMain& frame_;
  const platform::Clock& clock_;
  double capMs_;
  double lastRunMs_;
  std::int64_t runMs_ = 0;  // the whole millisecond of the last runs
  int runsInMs_ = 0;
};

}  // namespace quorvel
