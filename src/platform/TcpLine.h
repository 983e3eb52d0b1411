#pragma once

// A serial line carried over TCP ("tcp://HOST:PORT"), as a serial device
// server offers one: the bytes written go out unchanged and the bytes that
// come are read as they came, so RTU or ASCII framing works as on a cable.
//
// Open connects, giving up after the connect time-out; line settings are the
// device server's business and are ignored here. A connection the other end
// closes or resets is Gone, as an adapter pulled out: the port closes it and
// connects again later. Connecting again never waits: the connect is started
// and looked at on the next tries, so that a host that has gone silent does
// not hold up the program for the connect time-out each time.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/NetAddress.h"
#include "platform/SerialLine.h"

namespace quorvel::platform {

class TcpLine final : public SerialLine {
 public:
  // `path` as mapped ("tcp://HOST:PORT"), for the words of a failed open.
  explicit TcpLine(std::string path, double connectTimeoutMs = kConnectTimeoutMs);
  ~TcpLine() override;
  TcpLine(const TcpLine&) = delete;
  TcpLine& operator=(const TcpLine&) = delete;

  [[nodiscard]] OpenFailure Open(const LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override { return fd_ >= 0; }
  int Descriptor() const override { return fd_; }
  IoResult Write(std::span<const std::uint8_t> bytes) override;
  IoResult ReadAvailable(std::span<std::uint8_t> into) override;
  std::size_t BytesAvailable() override;
  std::size_t OutputQueued() override;
  void Purge(PurgeWhat what) override;
  bool IsGone() const override { return gone_; }

 private:
  IoResult FlushPending();
  IoResult Failure(int error);
  // Connecting again after a connection was lost: starts the connect, or
  // looks at the one under way.
  OpenFailure Reconnect(const NetAddress& address);
  void Connected(int fd);

  std::string path_;
  double connectTimeoutMs_;
  int fd_ = -1;
  bool gone_ = false;
  bool connectedOnce_ = false;
  int connecting_ = -1;  // a connect under way when connecting again
  double connectingSinceMs_ = 0;
  std::vector<std::uint8_t> pending_;  // written, not yet taken by the socket
};

}  // namespace quorvel::platform
