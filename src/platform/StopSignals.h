#pragma once

// SIGINT, SIGTERM and SIGHUP as a readable descriptor for as long as the
// object lives, so that a loop which polls can stop cleanly without a handler.

#include <csignal>

namespace quorvel::platform {

class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  // Readable once a stop signal has arrived; -1 when none could be made.
  int fd() const { return fd_; }
  // Waits up to `ms` milliseconds; true once a stop signal has arrived.
  bool Wait(int ms) const;

 private:
  sigset_t set_{};
  sigset_t previous_{};
  int fd_ = -1;
};

}  // namespace quorvel::platform
