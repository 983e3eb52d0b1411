#pragma once

// A Modbus TCP client's socket for tests, connected to 127.0.0.1:PORT: it
// sends raw bytes and takes what comes back, with bounded waits only.

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

namespace quorvel::test {

class LoopbackClient {
 public:
  explicit LoopbackClient(std::uint16_t port) : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(fd_, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
  }
  ~LoopbackClient() { Close(); }
  LoopbackClient(const LoopbackClient&) = delete;
  LoopbackClient& operator=(const LoopbackClient&) = delete;

  bool Connected() const { return connected_; }
  bool Send(const std::vector<std::uint8_t>& bytes) {
    return send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
  }
  void Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }
  // What arrives within `ms` (0: what has arrived already).
  std::vector<std::uint8_t> Receive(int ms = 2000) {
    pollfd p{fd_, POLLIN, 0};
    if (poll(&p, 1, ms) <= 0) return {};
    std::uint8_t buffer[512];
    const ssize_t n = recv(fd_, buffer, sizeof buffer, MSG_DONTWAIT);
    return n > 0 ? std::vector<std::uint8_t>(buffer, buffer + n) : std::vector<std::uint8_t>{};
  }

 private:
  int fd_;
  bool connected_ = false;
};

}  // namespace quorvel::test
