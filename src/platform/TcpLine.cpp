#include "platform/TcpLine.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "platform/PendingBytes.h"

namespace quorvel::platform {
namespace {

double SteadyMs() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

TcpLine::TcpLine(std::string path, double connectTimeoutMs)
    : path_(std::move(path)), connectTimeoutMs_(connectTimeoutMs) {}

TcpLine::~TcpLine() {
  Close();
  if (connecting_ >= 0) close(connecting_);
}

OpenFailure TcpLine::Open(const LineSettings& /*settings*/) {
  Close();
  const std::optional<NetAddress> address = ParseNetPath(path_);
  if (!address) return NetworkFailure(path_, OpenCause::NotAnAddress, EINVAL);
  if (connectedOnce_) return Reconnect(*address);
  OpenFailure failure;
  const int fd = ConnectTcp(*address, connectTimeoutMs_, path_, failure);
  if (fd < 0) return failure;
  Connected(fd);
  return {};
}

OpenFailure TcpLine::Reconnect(const NetAddress& address) {
  const double now = SteadyMs();
  if (connecting_ >= 0 && now - connectingSinceMs_ >= connectTimeoutMs_ &&
      ConnectProgress(connecting_) == EINPROGRESS) {
    close(std::exchange(connecting_, -1));  // given up: try afresh
  }
  if (connecting_ < 0) {
    OpenFailure failure;
    connecting_ = StartConnectTcp(address, path_, failure);
    if (connecting_ < 0) return failure;
    connectingSinceMs_ = now;
  }
  // A connection on this host may be made at once.
  const int error = ConnectProgress(connecting_);
  if (error == 0) {
    const int fd = std::exchange(connecting_, -1);
    NoDelay(fd);
    Connected(fd);
    return {};
  }
  if (error != EINPROGRESS) close(std::exchange(connecting_, -1));
  return NetworkFailure(path_, OpenCause::Other, error);
}

void TcpLine::Connected(int fd) {
  fd_ = fd;
  connectedOnce_ = true;
  gone_ = false;
  pending_.clear();
}

void TcpLine::Close() {
  if (fd_ < 0) return;
  close(fd_);
  fd_ = -1;
  gone_ = false;
  pending_.clear();
}

IoResult TcpLine::Failure(int error) {
  if (error == EAGAIN || error == EWOULDBLOCK || error == EINTR) return {};
  gone_ = true;
  return {0, IoStatus::Gone, error};
}

IoResult TcpLine::FlushPending() {
  return FlushPendingBytes(
      pending_,
      [this](const std::uint8_t* data, std::size_t size) { return send(fd_, data, size, MSG_NOSIGNAL | MSG_DONTWAIT); },
      [this](int error) { return Failure(error); });
}

IoResult TcpLine::Write(std::span<const std::uint8_t> bytes) {
  if (fd_ < 0) return {0, IoStatus::Closed, EBADF};
  if (gone_) return {0, IoStatus::Gone, EPIPE};
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  const IoResult flushed = FlushPending();
  if (flushed.status != IoStatus::Ok) return flushed;
  return {bytes.size(), IoStatus::Ok, 0};
}

IoResult TcpLine::ReadAvailable(std::span<std::uint8_t> into) {
  if (fd_ < 0) return {0, IoStatus::Closed, EBADF};
  if (gone_) return {0, IoStatus::Gone, EPIPE};
  if (!pending_.empty() && FlushPending().status == IoStatus::Gone) return {0, IoStatus::Gone, EPIPE};
  if (into.empty()) return {};
  const ssize_t n = recv(fd_, into.data(), into.size(), MSG_DONTWAIT);
  if (n > 0) return {static_cast<std::size_t>(n), IoStatus::Ok, 0};
  // End of stream: the other end closed the connection.
  if (n == 0) return Failure(ECONNRESET);
  return Failure(errno);
}

std::size_t TcpLine::BytesAvailable() {
  if (fd_ < 0 || gone_) return 0;
  int count = 0;
  if (ioctl(fd_, FIONREAD, &count) != 0 || count < 0) return 0;
  return static_cast<std::size_t>(count);
}

std::size_t TcpLine::OutputQueued() {
  if (fd_ < 0 || gone_) return 0;
  if (!pending_.empty()) FlushPending();
  return pending_.size();
}

void TcpLine::Purge(PurgeWhat what) {
  if (fd_ < 0 || gone_) return;
  if (what == PurgeWhat::Output || what == PurgeWhat::Both) pending_.clear();
  if (what == PurgeWhat::Input || what == PurgeWhat::Both) {
    std::uint8_t dropped[512];
    while (recv(fd_, dropped, sizeof dropped, MSG_DONTWAIT) > 0) {
    }
  }
}

}  // namespace quorvel::platform
