#include "platform/ReadySet.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace quorvel::platform {

ReadySet::ReadySet() : epoll_(epoll_create1(EPOLL_CLOEXEC)), held_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (epoll_ >= 0 && held_ >= 0) Watch(held_);
}

ReadySet::~ReadySet() {
  if (held_ >= 0) close(held_);
  if (epoll_ >= 0) close(epoll_);
}

void ReadySet::Watch(int fd) {
  if (epoll_ < 0 || fd < 0) return;
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = fd;
  epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event);
}

void ReadySet::Unwatch(int fd) {
  if (epoll_ >= 0 && fd >= 0) epoll_ctl(epoll_, EPOLL_CTL_DEL, fd, nullptr);
}

void ReadySet::SetHolding(bool holding) {
  if (held_ < 0 || holding == holding_) return;
  holding_ = holding;
  std::uint64_t value = 1;
  // Level-triggered: the count stays above zero, and the set readable, until read back.
  if (holding)
    (void)!write(held_, &value, sizeof value);
  else
    (void)!read(held_, &value, sizeof value);
}

}  // namespace quorvel::platform
