#include "platform/InstanceLink.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace quorvel::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kLockName = "/lock";
constexpr const char* kSocketName = "/link";
// The first copy's answer once it has dealt with a name.
constexpr char kEndOfFetch = 0x06;

std::string Reason(const std::string& what, const std::string& path) {
  return what + " " + path + ": " + std::strerror(errno);
}

void CloseFd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

bool SocketAddress(const std::string& path, sockaddr_un& address) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return true;
}

int RemainingMs(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, 60'000));
}

// Waits until `fd` is ready for `events` or the deadline passes.
bool WaitFor(int fd, short events, Clock::time_point deadline) {
  for (;;) {
    pollfd p{fd, events, 0};
    const int n = poll(&p, 1, RemainingMs(deadline));
    if (n > 0) return true;
    if (n == 0 || errno != EINTR) return false;
  }
}

void Nap(std::chrono::milliseconds ms) {
  const timespec pause{0, static_cast<long>(ms.count()) * 1'000'000L};
  nanosleep(&pause, nullptr);
}

}  // namespace

std::string LinkDirectoryFor(const char* runtimeDir, uid_t uid) {
  if (runtimeDir && runtimeDir[0] == '/') return std::string(runtimeDir) + "/quorvel";
  return "/tmp/quorvel-" + std::to_string(uid);
}

std::string LinkDirectory() {
  // A copy started for a purpose of its own (the demo) keeps its own link.
  if (const char* own = std::getenv("QUORVEL_LINK_DIR"); own && own[0] == '/') return own;
  return LinkDirectoryFor(std::getenv("XDG_RUNTIME_DIR"), geteuid());
}

std::string FallbackLinkDirectoryFor(const char* runtimeDir, const char* cacheHome, const char* home) {
  if (runtimeDir && runtimeDir[0] == '/') return {};
  if (cacheHome && cacheHome[0] == '/') return std::string(cacheHome) + "/quorvel";
  if (home && home[0] == '/') return std::string(home) + "/.cache/quorvel";
  return {};
}

std::string FallbackLinkDirectory() {
  if (const char* own = std::getenv("QUORVEL_LINK_DIR"); own && own[0] == '/') return {};
  return FallbackLinkDirectoryFor(std::getenv("XDG_RUNTIME_DIR"), std::getenv("XDG_CACHE_HOME"), std::getenv("HOME"));
}

std::string PrepareLinkDirectoryOr(const std::string& dir, const std::string& fallback, std::string& note,
                                   std::string& error) {
  if (PrepareLinkDirectory(dir, error)) return dir;
  struct stat info {};
  if (fallback.empty() || lstat(dir.c_str(), &info) != 0 || info.st_uid == geteuid()) return {};
  // The cache folder itself may not exist yet on a fresh account.
  const std::string parent = fallback.substr(0, fallback.find_last_of('/'));
  if (!parent.empty()) mkdir(parent.c_str(), 0700);
  std::string problem;
  if (!PrepareLinkDirectory(fallback, problem)) {
    error += "; " + problem;
    return {};
  }
  error.clear();
  note = dir + " belongs to another user; later copies find this one through " + fallback;
  return fallback;
}

std::string PrintableName(std::string_view name) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string shown;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f) {
      shown += "\\x";
      shown += kHex[byte >> 4];
      shown += kHex[byte & 15];
    } else {
      shown += c;
    }
  }
  return shown;
}

bool PrepareLinkDirectory(const std::string& dir, std::string& error) {
  if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
    error = Reason("cannot create", dir);
    return false;
  }
  struct stat info {};
  if (lstat(dir.c_str(), &info) != 0) {
    error = Reason("cannot examine", dir);
    return false;
  }
  if (!S_ISDIR(info.st_mode)) {
    error = dir + " is not a directory";
  } else if (info.st_uid != geteuid()) {
    error = dir + " belongs to another user";
  } else if ((info.st_mode & 077) != 0) {
    error = dir + " is open to other users";
  } else {
    return true;
  }
  return false;
}

InstanceClaim ClaimInstance(const std::string& dir, LinkLimits limits) {
  const std::string lockPath = dir + kLockName;
  int lock = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (lock < 0) return {InstanceRole::Failed, nullptr, Reason("cannot open", lockPath)};
  // The lock goes with the process, however it ends: a crashed first copy
  // never keeps later ones out.
  if (flock(lock, LOCK_EX | LOCK_NB) != 0) {
    const int cause = errno;
    CloseFd(lock);
    if (cause == EWOULDBLOCK) return {InstanceRole::Later, nullptr, {}};
    errno = cause;
    return {InstanceRole::Failed, nullptr, Reason("cannot lock", lockPath)};
  }

  const std::string path = dir + kSocketName;
  int listener = -1, waiter = -1, timer = -1;
  const auto fail = [&](const std::string& what) {
    InstanceClaim claim{InstanceRole::Failed, nullptr, Reason(what, path)};
    CloseFd(timer);
    CloseFd(waiter);
    CloseFd(listener);
    CloseFd(lock);
    return claim;
  };
  sockaddr_un address;
  if (!SocketAddress(path, address)) {
    errno = ENAMETOOLONG;
    return fail("cannot listen on");
  }
  // Holding the lock, this copy is the only one alive: a socket still there
  // was left by one that crashed.
  if (unlink(path.c_str()) != 0 && errno != ENOENT) return fail("cannot remove");
  listener = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (listener < 0 || bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 16) != 0)
    return fail("cannot listen on");
  waiter = epoll_create1(EPOLL_CLOEXEC);
  timer = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  if (waiter < 0 || timer < 0) return fail("cannot wait on");
  for (const int fd : {listener, timer}) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (epoll_ctl(waiter, EPOLL_CTL_ADD, fd, &event) != 0) return fail("cannot wait on");
  }
  return {InstanceRole::First,
          std::unique_ptr<InstanceServer>(new InstanceServer(path, lock, listener, waiter, timer, limits)),
          {}};
}

InstanceServer::InstanceServer(std::string path, int lock, int listener, int poll, int timer, LinkLimits limits)
    : path_(std::move(path)), lock_(lock), listener_(listener), poll_(poll), timer_(timer), limits_(limits) {}

InstanceServer::~InstanceServer() {
  for (Peer& peer : peers_) close(peer.fd);
  // Removed while the lock is still held, so it cannot be a newer copy's.
  unlink(path_.c_str());
  CloseFd(timer_);
  CloseFd(poll_);
  CloseFd(listener_);
  CloseFd(lock_);
}

void InstanceServer::Service(const Receive& receive) {
  std::uint64_t expirations = 0;
  while (read(timer_, &expirations, sizeof expirations) > 0) {
  }
  Accept();
  std::vector<Peer> done;
  const auto now = Clock::now();
  for (auto it = peers_.begin(); it != peers_.end();) {
    if (Read(*it, done) && it->deadline > now) {
      ++it;
      continue;
    }
    if (it->fd >= 0) Drop(*it);
    it = peers_.erase(it);
  }
  ArmTimer();

  // Everything above is settled before any name is acted on, so that the
  // receiver may come back here (a nested event loop) without harm.
  std::size_t next = 0;
  try {
    for (; next < done.size(); ++next) {
      receive(done[next].name);
      send(done[next].fd, &kEndOfFetch, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
      close(done[next].fd);
    }
  } catch (...) {
    for (; next < done.size(); ++next) close(done[next].fd);
    throw;
  }
}

void InstanceServer::Accept() {
  for (;;) {
    const int fd = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      return;
    }
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool sameUser = getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (!sameUser || peers_.size() >= limits_.maxPeers || epoll_ctl(poll_, EPOLL_CTL_ADD, fd, &event) != 0) {
      close(fd);
      continue;
    }
    peers_.push_back({fd, {}, Clock::now() + limits_.offer});
  }
}

bool InstanceServer::Read(Peer& peer, std::vector<Peer>& done) {
  char buffer[4096];
  for (;;) {
    const ssize_t n = recv(peer.fd, buffer, sizeof buffer, MSG_DONTWAIT);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
    // Gone before the name was complete: nothing to act on.
    if (n <= 0) return false;
    const char* end = static_cast<const char*>(std::memchr(buffer, '\0', static_cast<std::size_t>(n)));
    const std::size_t take = end ? static_cast<std::size_t>(end - buffer) : static_cast<std::size_t>(n);
    if (peer.name.size() + take > limits_.maxName) return false;
    peer.name.append(buffer, take);
    if (end) {
      // Off the wait list now; the descriptor stays open until the fetch ends.
      epoll_ctl(poll_, EPOLL_CTL_DEL, peer.fd, nullptr);
      done.push_back({peer.fd, std::move(peer.name), peer.deadline});
      peer.fd = -1;
      return false;
    }
  }
}

void InstanceServer::Drop(Peer& peer) {
  epoll_ctl(poll_, EPOLL_CTL_DEL, peer.fd, nullptr);
  CloseFd(peer.fd);
}

void InstanceServer::ArmTimer() {
  itimerspec when{};
  if (!peers_.empty()) {
    const auto first = std::min_element(peers_.begin(), peers_.end(), [](const Peer& a, const Peer& b) {
                         return a.deadline < b.deadline;
                       })->deadline;
    // Never zero, which would disarm it instead.
    const auto ns =
        std::max<long long>(1, std::chrono::duration_cast<std::chrono::nanoseconds>(first - Clock::now()).count());
    when.it_value.tv_sec = static_cast<time_t>(ns / 1'000'000'000);
    when.it_value.tv_nsec = static_cast<long>(ns % 1'000'000'000);
  }
  timerfd_settime(timer_, 0, &when, nullptr);
}

bool OfferName(const std::string& dir, const std::string& name, LinkLimits limits) {
  sockaddr_un address;
  if (!SocketAddress(dir + kSocketName, address)) return false;
  // One string on the wire, the NUL marking its end.
  const std::string message = name + '\0';

  int fd = -1;
  const auto connectBy = Clock::now() + limits.connect;
  for (;;) {
    fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) break;
    const int cause = errno;
    CloseFd(fd);
    // Not listening yet, or its queue is full: worth another try for a while.
    const bool retry = cause == ENOENT || cause == ECONNREFUSED || cause == EAGAIN || cause == EINTR;
    if (!retry || Clock::now() >= connectBy) return false;
    Nap(std::chrono::milliseconds(10));
  }

  const auto answerBy = Clock::now() + limits.answer;
  bool ended = false;
  std::size_t sent = 0;
  while (sent < message.size()) {
    const ssize_t n = send(fd, message.data() + sent, message.size() - sent, MSG_NOSIGNAL);
    if (n > 0) {
      sent += static_cast<std::size_t>(n);
    } else if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
      if (!WaitFor(fd, POLLOUT, answerBy)) break;
    } else {
      break;
    }
  }
  while (sent == message.size() && WaitFor(fd, POLLIN, answerBy)) {
    char answer = 0;
    const ssize_t n = recv(fd, &answer, 1, 0);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    ended = n == 1 && answer == kEndOfFetch;
    break;
  }
  CloseFd(fd);
  return ended;
}

}  // namespace quorvel::platform
