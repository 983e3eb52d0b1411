#include "app/PollLoop.h"

#include <poll.h>

#include <cerrno>
#include <cmath>
#include <ctime>

#include "app/frmQuorvelMain.h"

namespace quorvel {

PollLoop::PollLoop(frmQuorvelMain& frame, const platform::Clock& clock, double capMs)
    : frame_(frame), pacer_(frame, clock, capMs) {}

PollLoop::Turn PollLoop::Run(std::span<const int> extra, double maxMs) {
  const WakePacer::Wait wait = pacer_.Next();
  std::vector<pollfd> fds;
  fds.reserve(extra.size() + wait.Descriptors.size());
  for (const int fd : extra) fds.push_back({fd, POLLIN, 0});
  for (const int fd : wait.Descriptors) fds.push_back({fd, POLLIN, 0});

  const bool limited = maxMs < wait.TimeoutMs;
  const double sleepMs = limited ? maxMs : wait.TimeoutMs;
  timespec timeout{};
  const timespec* until = nullptr;
  if (std::isfinite(sleepMs)) {
    // ppoll, not poll: deadlines fall between whole milliseconds.
    const auto ns = static_cast<long long>(std::ceil(std::max(0.0, sleepMs) * 1e6));
    timeout.tv_sec = static_cast<time_t>(ns / 1'000'000'000);
    timeout.tv_nsec = static_cast<long>(ns % 1'000'000'000);
    until = &timeout;
  }
  const int n = ppoll(fds.data(), fds.size(), until, nullptr);

  Turn turn;
  turn.ready.assign(extra.size(), false);
  if (n < 0 && errno == EINTR) return turn;
  for (std::size_t i = 0; n > 0 && i < fds.size(); ++i) {
    // A hang-up or an error wakes too: the port finds out what it was.
    if (fds[i].revents == 0) continue;
    if (i < extra.size())
      turn.ready[i] = true;
    else
      turn.byLine = true;
  }
  turn.byLimit = n == 0 && limited;
  if (turn.byLine || (n == 0 && !limited) || n < 0) {
    frame_.TimersTick();
    pacer_.Ran();
    turn.ran = true;
  }
  return turn;
}

}  // namespace quorvel
