// Network paths: which texts name a network port, what they parse to, and how
// a connection that cannot be made is worded to the user.

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/NetAddress.h"
#include "platform/TcpLine.h"

namespace quorvel::platform {
namespace {

TEST(NetAddress, ParsesTheThreeSchemesAndNothingElse) {
  struct Row {
    const char* path;
    std::optional<NetKind> kind;
    const char* host;
    std::uint16_t port;
  };
  const Row rows[] = {
      {"tcp://127.0.0.1:4001", NetKind::RawTcp, "127.0.0.1", 4001},
      {"mbtcp://localhost:502", NetKind::ModbusTcp, "localhost", 502},
      {"mbtcp-listen://0.0.0.0:1502", NetKind::ModbusTcpListen, "0.0.0.0", 1502},
      {"mbtcp://[::1]:502", NetKind::ModbusTcp, "::1", 502},
      {"mbtcp-listen://127.0.0.1:0", NetKind::ModbusTcpListen, "127.0.0.1", 0},
      {"tcp://127.0.0.1", std::nullopt, "", 0},
      {"tcp://:502", std::nullopt, "", 0},
      {"tcp://host:65536", std::nullopt, "", 0},
      {"tcp://host:50x", std::nullopt, "", 0},
      {"udp://host:502", std::nullopt, "", 0},
      {"/dev/ttyUSB0", std::nullopt, "", 0},
  };
  for (const Row& row : rows) {
    const std::optional<NetAddress> address = ParseNetPath(row.path);
    ASSERT_EQ(address.has_value(), row.kind.has_value()) << row.path;
    if (!address) continue;
    EXPECT_EQ(address->kind, *row.kind) << row.path;
    EXPECT_EQ(address->host, row.host) << row.path;
    EXPECT_EQ(address->port, row.port) << row.path;
  }
}

TEST(NetAddress, TellsNetworkPathsFromDevicePaths) {
  for (const char* path : {"tcp://h:1", "mbtcp://h:1", "udp://h:1", "tcp://"}) EXPECT_TRUE(IsNetworkPath(path)) << path;
  for (const char* path : {"/dev/ttyS0", "/tmp/a://b", "COM1", ""}) EXPECT_FALSE(IsNetworkPath(path)) << path;
}

// A loopback port on which nobody listens: bound, never listened on.
class RefusingPort {
 public:
  RefusingPort() : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd_, reinterpret_cast<const sockaddr*>(&at), sizeof at);
    port_ = LocalPort(fd_);
  }
  ~RefusingPort() { close(fd_); }
  std::uint16_t Port() const { return port_; }

 private:
  int fd_;
  std::uint16_t port_ = 0;
};

TEST(NetAddress, RefusedAndMalformedConnectionsAreWordedAsAPortThatDidNotOpen) {
  const RefusingPort refusing;
  ASSERT_NE(refusing.Port(), 0);
  const std::string refused = "tcp://127.0.0.1:" + std::to_string(refusing.Port());
  struct Row {
    std::string path;
    std::string second;
  };
  const Row rows[] = {
      {refused, "COM3 is " + refused + ": Connection refused."},
      {"tcp://127.0.0.1",
       "COM3 is tcp://127.0.0.1, which is not a network address: write it as tcp://HOST:PORT, mbtcp://HOST:PORT or "
       "mbtcp-listen://HOST:PORT."},
  };
  for (const Row& row : rows) {
    TcpLine line(row.path);
    const OpenFailure failure = line.Open({});
    ASSERT_TRUE(failure) << row.path;
    EXPECT_FALSE(line.IsOpen());
    EXPECT_EQ(OpenFailureText(3, failure), "Can not open COM3\n" + row.second);
  }
}

TEST(NetAddress, ListeningOnPortZeroTakesAFreePort) {
  OpenFailure failure;
  const int fd = ListenTcp({NetKind::ModbusTcpListen, "127.0.0.1", 0}, "mbtcp-listen://127.0.0.1:0", failure);
  ASSERT_GE(fd, 0);
  const std::uint16_t port = LocalPort(fd);
  EXPECT_NE(port, 0);
  // A second listener on the same port is refused, in words.
  const int again = ListenTcp({NetKind::ModbusTcpListen, "127.0.0.1", port}, "x", failure);
  EXPECT_LT(again, 0);
  EXPECT_EQ(failure.error, EADDRINUSE);
  close(fd);
}

// A host that has gone silent (here: a listener whose queue is full, so the
// system drops the connect) does not hold up connecting again: the try comes
// back at once as under way, and a later try finds the connection made.
TEST(NetAddress, ConnectingAgainNeverWaits) {
  OpenFailure failure;
  const int listener = ListenTcp({NetKind::RawTcp, "127.0.0.1", 0}, "x", failure);
  ASSERT_GE(listener, 0);
  ASSERT_EQ(listen(listener, 0), 0);  // room for the one connection not yet taken
  const std::string path = "tcp://127.0.0.1:" + std::to_string(LocalPort(listener));
  TcpLine line(path, 60000);
  ASSERT_FALSE(line.Open({}));
  // The first connection waits in the queue; the line loses it.
  line.Close();
  const OpenFailure again = line.Open({});
  ASSERT_TRUE(again);
  EXPECT_EQ(again.error, EINPROGRESS);
  EXPECT_FALSE(line.IsOpen());
  // Taking the first connection frees the queue; the system sends the
  // dropped connect again within a few seconds.
  close(accept(listener, nullptr, nullptr));
  bool open = false;
  for (int i = 0; i < 100 && !open; ++i) {
    open = !line.Open({});
    if (!open) usleep(100000);
  }
  EXPECT_TRUE(open);
  close(listener);
}

}  // namespace
}  // namespace quorvel::platform
