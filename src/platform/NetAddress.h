#pragma once

// A port mapped to a network connection instead of a device path:
// "tcp://HOST:PORT" carries the serial bytes unchanged (a serial device
// server), "mbtcp://HOST:PORT" speaks Modbus TCP to a server, and
// "mbtcp-listen://HOST:PORT" is a Modbus TCP server others connect to.
// Also the sockets behind them: connecting with a time-out and listening,
// each failure worded as a port that did not open.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/OpenFailure.h"

namespace quorvel::platform {

enum class NetKind : std::uint8_t { RawTcp, ModbusTcp, ModbusTcpListen };

struct NetAddress {
  NetKind kind = NetKind::RawTcp;
  std::string host;
  std::uint16_t port = 0;
};

// True for a path written as a network address ("scheme://..."), good or not.
bool IsNetworkPath(std::string_view path);

// The address of a network path; nullopt for a device path, an unknown
// scheme, or a host or port that is missing or malformed. "HOST:PORT" alone
// (no scheme) reads as `bare`, for options that take an address only.
std::optional<NetAddress> ParseNetPath(std::string_view path);
std::optional<NetAddress> ParseHostPort(std::string_view text, NetKind bare);

// How long connecting may take before the port counts as not there.
inline constexpr double kConnectTimeoutMs = 3000;

// The failure of opening the network port at `path` for `cause` (and `error`).
OpenFailure NetworkFailure(const std::string& path, OpenCause cause, int error);

// A non-blocking TCP socket connected to `address` within `timeoutMs`, or -1
// with `failure` telling why (its path `path`).
int ConnectTcp(const NetAddress& address, double timeoutMs, const std::string& path, OpenFailure& failure);

// A non-blocking TCP socket whose connect to `address` has been started and
// may still be under way (see ConnectProgress), or -1 with `failure`.
int StartConnectTcp(const NetAddress& address, const std::string& path, OpenFailure& failure);

// Sends small writes at once instead of gathering them.
void NoDelay(int fd);

// How a connect started by StartConnectTcp stands, without waiting: 0 when
// connected, EINPROGRESS while under way, else the errno it failed with.
int ConnectProgress(int fd);

// A non-blocking socket listening on `address`, or -1 with `failure`.
int ListenTcp(const NetAddress& address, const std::string& path, OpenFailure& failure);

// The local port a socket is bound to; 0 when it cannot be told.
std::uint16_t LocalPort(int fd);

}  // namespace quorvel::platform
