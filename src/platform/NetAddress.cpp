#include "platform/NetAddress.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>

namespace quorvel::platform {
namespace {

struct Scheme {
  std::string_view prefix;
  NetKind kind;
};
constexpr Scheme kSchemes[] = {
    {"tcp://", NetKind::RawTcp}, {"mbtcp://", NetKind::ModbusTcp}, {"mbtcp-listen://", NetKind::ModbusTcpListen}};

}  // namespace

OpenFailure NetworkFailure(const std::string& path, OpenCause cause, int error) {
  OpenFailure failure;
  failure.cause = cause;
  failure.error = error;
  failure.path = path;
  return failure;
}

namespace {

// The addresses of `address`, or null with `failure` set.
addrinfo* Resolve(const NetAddress& address, bool passive, const std::string& path, OpenFailure& failure) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | (passive ? AI_PASSIVE : 0);
  addrinfo* found = nullptr;
  const std::string service = std::to_string(address.port);
  const int rc = getaddrinfo(address.host.c_str(), service.c_str(), &hints, &found);
  if (rc != 0) {
    failure = NetworkFailure(path, rc == EAI_SYSTEM ? OpenCause::Other : OpenCause::UnknownHost,
                             rc == EAI_SYSTEM ? errno : EHOSTUNREACH);
    return nullptr;
  }
  return found;
}

int NewSocket(const addrinfo& a) {
  return socket(a.ai_family, a.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a.ai_protocol);
}

// Waits for a non-blocking connect to finish; 0 or the errno it ended with.
int FinishConnect(int fd, double timeoutMs) {
  using Clock = std::chrono::steady_clock;
  const auto until = Clock::now() + std::chrono::microseconds(static_cast<std::int64_t>(timeoutMs * 1000));
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    if (left < 0) return ETIMEDOUT;
    pollfd p{fd, POLLOUT, 0};
    const int n = poll(&p, 1, static_cast<int>(left) + 1);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) continue;  // the loop's clock decides
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
    return error;
  }
}

}  // namespace

bool IsNetworkPath(std::string_view path) {
  const std::size_t at = path.find("://");
  return at != std::string_view::npos && at > 0 && path.find('/') == at + 1;
}

std::optional<NetAddress> ParseHostPort(std::string_view text, NetKind bare) {
  // "[::1]:502" for an IPv6 host.
  std::string_view host;
  std::string_view port;
  if (!text.empty() && text.front() == '[') {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos || close + 1 >= text.size() || text[close + 1] != ':') return std::nullopt;
    host = text.substr(1, close - 1);
    port = text.substr(close + 2);
  } else {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    host = text.substr(0, colon);
    port = text.substr(colon + 1);
  }
  if (host.empty() || port.empty() || port.size() > 5) return std::nullopt;
  unsigned value = 0;
  for (const char c : port) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  if (value > 65535) return std::nullopt;
  return NetAddress{bare, std::string(host), static_cast<std::uint16_t>(value)};
}

std::optional<NetAddress> ParseNetPath(std::string_view path) {
  for (const Scheme& scheme : kSchemes)
    if (path.substr(0, scheme.prefix.size()) == scheme.prefix)
      return ParseHostPort(path.substr(scheme.prefix.size()), scheme.kind);
  return std::nullopt;
}

namespace {

// A socket for the first of `address`'s resolved addresses that `use` (given
// the socket and the address; 0 or an errno) accepts; -1 with `failure` set
// to the last error (`none` when no address was tried).
template <typename Use>
int FirstSocket(const NetAddress& address, bool passive, const std::string& path, int none, OpenFailure& failure,
                Use use) {
  addrinfo* found = Resolve(address, passive, path, failure);
  if (found == nullptr) return -1;
  int error = none;
  int fd = -1;
  for (const addrinfo* a = found; a != nullptr && fd < 0; a = a->ai_next) {
    fd = NewSocket(*a);
    error = fd < 0 ? errno : use(fd, *a);
    if (fd >= 0 && error != 0) {
      close(fd);
      fd = -1;
    }
  }
  freeaddrinfo(found);
  if (fd < 0) failure = NetworkFailure(path, OpenCause::Other, error);
  return fd;
}

}  // namespace

void NoDelay(int fd) {
  // Requests are small and each waits for its answer: no coalescing delay.
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int ConnectTcp(const NetAddress& address, double timeoutMs, const std::string& path, OpenFailure& failure) {
  const int fd = FirstSocket(address, false, path, ECONNREFUSED, failure, [timeoutMs](int s, const addrinfo& a) {
    const int error = connect(s, a.ai_addr, a.ai_addrlen) == 0 ? 0 : errno;
    return error == EINPROGRESS ? FinishConnect(s, timeoutMs) : error;
  });
  if (fd >= 0) NoDelay(fd);
  return fd;
}

int StartConnectTcp(const NetAddress& address, const std::string& path, OpenFailure& failure) {
  return FirstSocket(address, false, path, ECONNREFUSED, failure, [](int s, const addrinfo& a) {
    const int error = connect(s, a.ai_addr, a.ai_addrlen) == 0 ? 0 : errno;
    return error == EINPROGRESS ? 0 : error;
  });
}

int ConnectProgress(int fd) {
  pollfd p{fd, POLLOUT, 0};
  const int n = poll(&p, 1, 0);
  if (n < 0) return errno == EINTR ? EINPROGRESS : errno;
  if (n == 0) return EINPROGRESS;
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  return error;
}

int ListenTcp(const NetAddress& address, const std::string& path, OpenFailure& failure) {
  return FirstSocket(address, true, path, EADDRNOTAVAIL, failure, [](int s, const addrinfo& a) {
    const int on = 1;
    setsockopt(s, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    return bind(s, a.ai_addr, a.ai_addrlen) == 0 && listen(s, SOMAXCONN) == 0 ? 0 : errno;
  });
}

std::uint16_t LocalPort(int fd) {
  sockaddr_storage local{};
  socklen_t size = sizeof local;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size) != 0) return 0;
  if (local.ss_family == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in&>(local).sin_port);
  if (local.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(local).sin6_port);
  return 0;
}

}  // namespace quorvel::platform
