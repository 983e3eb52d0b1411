#include "platform/PtyForwarder.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace quorvel::platform {
namespace {

// Characters a sender takes ahead of their time on the wire: about what a
// UART's FIFO and a driver's chunk hold. A sender that runs further ahead
// waits in its own output queue, as it would before a real, slower line.
constexpr std::size_t kQueueLimit = 256;
constexpr std::size_t kChunk = 4096;
// An end that reports an error without data is left alone this long, so
// that a fault cannot turn the loop into a spin.
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

PtyForwarder::PtyForwarder(const ForwarderOptions& options)
    : charNs_(options.baudRate > 0 ? 11'000'000'000LL / options.baudRate : 0),
      echo_(options.echo),
      oneWire_(options.oneWire) {
  for (std::size_t i = 0; i < options.ends; ++i) senders_.emplace_back().damage = LineDamage(options.damage);
  chunk_.reserve(kChunk);
  buffer_.reserve(kChunk);
  stopEvent_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (stopEvent_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

PtyForwarder::~PtyForwarder() {
  if (stopEvent_ >= 0) close(stopEvent_);
}

void PtyForwarder::Stop() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(stopEvent_, &one, sizeof one);
}

ForwarderCounts PtyForwarder::Counts(std::size_t end) const {
  const Counters& c = senders_[end].counters;
  return {c.received.load(), c.delivered.load(), c.overrun.load(), c.dropped.load(),
          c.flipped.load(),  c.noise.load(),     c.collided.load()};
}

void PtyForwarder::Take(std::size_t s, std::int64_t now, short events) {
  Sender& sender = senders_[s];
  std::uint8_t buffer[kQueueLimit];
  const std::size_t room = kQueueLimit - std::min(kQueueLimit, sender.queue.size());
  const ssize_t n = room == 0 ? 0 : read(sender.pty.Master(), buffer, room);
  if (n <= 0) {
    if ((events & kTrouble) != 0 || (n < 0 && errno != EAGAIN && errno != EINTR)) sender.restUntilNs = now + kRestNs;
    return;
  }
  std::uint8_t out[2];
  for (ssize_t i = 0; i < n; ++i) {
    const int produced = sender.damage.PassOne(buffer[i], out);
    for (int k = 0; k < produced; ++k) {
      Timed c{now, out[k], out[k], false};
      if (charNs_ > 0) {
        c.dueNs = std::max(now, sender.wireFreeNs) + charNs_;
        sender.wireFreeNs = c.dueNs;
        if (oneWire_) Collide(s, c);
      }
      sender.queue.push_back(c);
    }
  }
  const DamageCounts& damage = sender.damage.Counts();
  Publish(sender.counters.received, damage.characters);
  Publish(sender.counters.dropped, damage.dropped);
  Publish(sender.counters.flipped, damage.flipped);
  Publish(sender.counters.noise, damage.noise);
}

void PtyForwarder::Collide(std::size_t s, Timed& c) {
  // Every character lasts charNs_, so two overlap when each ends after the
  // other begins. What has left the wire already cannot overlap: `c` begins
  // no earlier than now, and everything still queued is in time order.
  const auto garble = [this](std::size_t from, Timed& victim, std::uint8_t other) {
    victim.heard ^= other;
    if (!victim.collided) senders_[from].counters.collided.fetch_add(1, std::memory_order_relaxed);
    victim.collided = true;
  };
  for (std::size_t o = 0; o < senders_.size(); ++o) {
    if (o == s) continue;
    for (Timed& other : senders_[o].queue) {
      if (other.dueNs - charNs_ >= c.dueNs) break;
      if (other.dueNs <= c.dueNs - charNs_) continue;
      garble(s, c, other.sent);
      garble(o, other, c.sent);
    }
  }
}

bool PtyForwarder::GatherDue(std::int64_t now) {
  chunk_.clear();
  for (Sender& sender : senders_) sender.due = 0;
  while (chunk_.size() < kChunk) {
    // The sender whose next character leaves the wire first; ties go to the
    // lower end, so that delivery is the same on every run.
    Sender* next = nullptr;
    std::size_t from = 0;
    for (std::size_t s = 0; s < senders_.size(); ++s) {
      Sender& sender = senders_[s];
      if (sender.due >= sender.queue.size() || sender.queue[sender.due].dueNs > now) continue;
      if (next == nullptr || sender.queue[sender.due].dueNs < next->queue[next->due].dueNs) {
        next = &sender;
        from = s;
      }
    }
    if (next == nullptr) break;
    chunk_.push_back({from, next->queue[next->due++].heard});
  }
  return !chunk_.empty();
}

void PtyForwarder::Deliver(std::int64_t now) {
  while (GatherDue(now)) {
    for (std::size_t r = 0; r < senders_.size(); ++r) {
      buffer_.clear();
      for (const Copy& copy : chunk_)
        if (copy.from != r || echo_) buffer_.push_back(copy.value);
      if (buffer_.empty()) continue;
      const ssize_t written = write(senders_[r].pty.Master(), buffer_.data(), buffer_.size());
      std::size_t taken = written > 0 ? static_cast<std::size_t>(written) : 0;
      // The counts are of the other ends' traffic: what a sender hears of
      // itself, and what it has no room for, is lost unnoticed.
      for (const Copy& copy : chunk_) {
        if (copy.from == r && echo_) {
          taken -= taken > 0 ? 1 : 0;
        } else if (copy.from != r) {
          Counters& counters = senders_[copy.from].counters;
          (taken > 0 ? counters.delivered : counters.overrun).fetch_add(1, std::memory_order_relaxed);
          taken -= taken > 0 ? 1 : 0;
        }
      }
    }
    for (Sender& sender : senders_)
      sender.queue.erase(sender.queue.begin(), sender.queue.begin() + static_cast<std::ptrdiff_t>(sender.due));
  }
}

int PtyForwarder::Run(int stopFd) {
  std::vector<pollfd> fds;
  fds.reserve(senders_.size() + 2);
  for (;;) {
    std::int64_t now = NowNs();
    Deliver(now);

    fds.clear();
    fds.push_back({stopEvent_, POLLIN, 0});
    if (stopFd >= 0) fds.push_back({stopFd, POLLIN, 0});
    std::int64_t wakeNs = -1;
    auto wakeBy = [&wakeNs](std::int64_t at) { wakeNs = wakeNs < 0 ? at : std::min(wakeNs, at); };
    for (Sender& sender : senders_) {
      sender.pollSlot = 0;
      if (!sender.queue.empty()) wakeBy(sender.queue.front().dueNs);
      if (now < sender.restUntilNs) {
        wakeBy(sender.restUntilNs);
      } else if (sender.queue.size() < kQueueLimit) {
        sender.pollSlot = fds.size();
        fds.push_back({sender.pty.Master(), POLLIN, 0});
      }
    }
    timespec timeout{};
    if (wakeNs >= 0) {
      const std::int64_t wait = std::max<std::int64_t>(0, wakeNs - now);
      timeout = {static_cast<time_t>(wait / 1'000'000'000), static_cast<long>(wait % 1'000'000'000)};
    }
    if (ppoll(fds.data(), fds.size(), wakeNs >= 0 ? &timeout : nullptr, nullptr) < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (fds[0].revents != 0) {
      std::uint64_t value = 0;
      [[maybe_unused]] const ssize_t got = read(stopEvent_, &value, sizeof value);
      return 0;
    }
    if (stopFd >= 0 && fds[1].revents != 0) return 0;
    // One reading of the clock for all: ends that wrote at once go on the wire at once.
    now = NowNs();
    for (std::size_t s = 0; s < senders_.size(); ++s) {
      const std::size_t slot = senders_[s].pollSlot;
      if (slot != 0 && fds[slot].revents != 0) Take(s, now, fds[slot].revents);
    }
  }
}

}  // namespace quorvel::platform
