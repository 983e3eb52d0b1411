#include "platform/NullModem.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace quorvel::platform {
namespace {

// Characters a direction takes ahead of their time on the wire: about what a
// UART's FIFO and a driver's chunk hold. A sender that runs further ahead
// waits in its own output queue, as it would before a real, slower line.
constexpr std::size_t kQueueLimit = 256;
constexpr std::size_t kChunk = 4096;
// A sender side that reports an error without data is left alone this long,
// so that a fault cannot turn the loop into a spin.
constexpr std::int64_t kRestNs = 50'000'000;
constexpr short kTrouble = POLLHUP | POLLERR | POLLNVAL;

std::int64_t NowNs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<std::int64_t>(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
}

void Publish(std::atomic<std::uint64_t>& counter, std::uint64_t value) {
  counter.store(value, std::memory_order_relaxed);
}

}  // namespace

NullModem::NullModem(const NullModemOptions& options)
    : charNs_(options.baudRate > 0 ? 11'000'000'000LL / options.baudRate : 0), echo_(options.echo) {
  directions_[0].damage = LineDamage(options.damage);
  directions_[1].damage = LineDamage(options.damage);
  stopEvent_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (stopEvent_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

NullModem::~NullModem() {
  if (stopEvent_ >= 0) close(stopEvent_);
}

void NullModem::Stop() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(stopEvent_, &one, sizeof one);
}

NullModemCounts NullModem::Counts(End from) const {
  const Counters& c = directions_[Index(from)].counters;
  return {c.received.load(), c.delivered.load(), c.overrun.load(), c.dropped.load(), c.flipped.load(), c.noise.load()};
}

void NullModem::Take(std::size_t d, std::int64_t now, short events) {
  Direction& dir = directions_[d];
  std::uint8_t buffer[kQueueLimit];
  const std::size_t room = kQueueLimit - std::min(kQueueLimit, dir.queue.size());
  const ssize_t n = room == 0 ? 0 : read(ptys_[d].Master(), buffer, room);
  if (n <= 0) {
    if ((events & kTrouble) != 0 || (n < 0 && errno != EAGAIN && errno != EINTR)) dir.restUntilNs = now + kRestNs;
    return;
  }
  std::uint8_t out[2];
  for (ssize_t i = 0; i < n; ++i) {
    const int produced = dir.damage.PassOne(buffer[i], out);
    for (int k = 0; k < produced; ++k) {
      std::int64_t due = now;
      if (charNs_ > 0) {
        due = std::max(now, dir.wireFreeNs) + charNs_;
        dir.wireFreeNs = due;
      }
      dir.queue.push_back({due, out[k]});
    }
  }
  const DamageCounts& damage = dir.damage.Counts();
  Publish(dir.counters.received, damage.characters);
  Publish(dir.counters.dropped, damage.dropped);
  Publish(dir.counters.flipped, damage.flipped);
  Publish(dir.counters.noise, damage.noise);
}

void NullModem::Deliver(std::size_t d, std::int64_t now) {
  Direction& dir = directions_[d];
  std::uint8_t buffer[kChunk];
  while (!dir.queue.empty() && dir.queue.front().dueNs <= now) {
    std::size_t n = 0;
    while (n < kChunk && n < dir.queue.size() && dir.queue[n].dueNs <= now) {
      buffer[n] = dir.queue[n].value;
      ++n;
    }
    const ssize_t written = write(ptys_[1 - d].Master(), buffer, n);
    const std::size_t taken = written > 0 ? static_cast<std::size_t>(written) : 0;
    dir.counters.delivered.fetch_add(taken, std::memory_order_relaxed);
    dir.counters.overrun.fetch_add(n - taken, std::memory_order_relaxed);
    // The sender hears the line as it is, damage included. What it has no
    // room for is lost unnoticed: the counts are of the other end's traffic.
    if (echo_) {
      [[maybe_unused]] const ssize_t echoed = write(ptys_[d].Master(), buffer, n);
    }
    dir.queue.erase(dir.queue.begin(), dir.queue.begin() + static_cast<std::ptrdiff_t>(n));
  }
}

int NullModem::Run(int stopFd) {
  for (;;) {
    std::int64_t now = NowNs();
    Deliver(0, now);
    Deliver(1, now);

    pollfd fds[4];
    nfds_t count = 0;
    fds[count++] = {stopEvent_, POLLIN, 0};
    if (stopFd >= 0) fds[count++] = {stopFd, POLLIN, 0};
    std::size_t sourceSlot[2] = {0, 0};
    std::int64_t wakeNs = -1;
    auto wakeBy = [&wakeNs](std::int64_t at) { wakeNs = wakeNs < 0 ? at : std::min(wakeNs, at); };
    for (std::size_t d = 0; d < 2; ++d) {
      Direction& dir = directions_[d];
      if (!dir.queue.empty()) wakeBy(dir.queue.front().dueNs);
      if (now < dir.restUntilNs) {
        wakeBy(dir.restUntilNs);
      } else if (dir.queue.size() < kQueueLimit) {
        sourceSlot[d] = count;
        fds[count++] = {ptys_[d].Master(), POLLIN, 0};
      }
    }
    timespec timeout{};
    if (wakeNs >= 0) {
      const std::int64_t wait = std::max<std::int64_t>(0, wakeNs - now);
      timeout = {static_cast<time_t>(wait / 1'000'000'000), static_cast<long>(wait % 1'000'000'000)};
    }
    if (ppoll(fds, count, wakeNs >= 0 ? &timeout : nullptr, nullptr) < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (fds[0].revents != 0) {
      std::uint64_t value = 0;
      [[maybe_unused]] const ssize_t got = read(stopEvent_, &value, sizeof value);
      return 0;
    }
    if (stopFd >= 0 && fds[1].revents != 0) return 0;
    now = NowNs();
    for (std::size_t d = 0; d < 2; ++d)
      if (sourceSlot[d] != 0 && fds[sourceSlot[d]].revents != 0) Take(d, now, fds[sourceSlot[d]].revents);
  }
}

}  // namespace quorvel::platform
