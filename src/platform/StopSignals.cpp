#include "platform/StopSignals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <initializer_list>

namespace quorvel::platform {

StopSignals::StopSignals() {
  sigemptyset(&set_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&set_, signal);
    // A shell starts background jobs with SIGINT ignored, and an ignored
    // signal never reaches the descriptor: take them back while blocked.
    struct sigaction dflt {};
    dflt.sa_handler = SIG_DFL;
    sigaction(signal, &dflt, nullptr);
  }
  pthread_sigmask(SIG_BLOCK, &set_, &previous_);
  fd_ = signalfd(-1, &set_, SFD_CLOEXEC | SFD_NONBLOCK);
}

StopSignals::~StopSignals() {
  if (fd_ >= 0) {
    // Taken off the pending set, or they would end the process on unblocking.
    signalfd_siginfo info{};
    while (read(fd_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    }
    close(fd_);
  }
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

bool StopSignals::Wait(int ms) const {
  if (fd_ < 0) {
    if (ms > 0) usleep(static_cast<useconds_t>(ms) * 1000);
    return false;
  }
  pollfd p{fd_, POLLIN, 0};
  return poll(&p, 1, ms) > 0 && (p.revents & POLLIN);
}

}  // namespace quorvel::platform
