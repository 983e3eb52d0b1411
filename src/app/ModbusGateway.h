#pragma once

// A Modbus TCP to serial gateway: the requests that reach a Modbus TCP server
// line go out, one at a time in the order they came, on a master port as RTU
// or ASCII frames, with the port's timing and the gateway's answer time-out;
// each answer goes back to the client that asked. A request nobody answers
// in time gets exception 0x0B (gateway target device failed to respond), as
// does one whose answer came damaged; a broadcast (unit 0) gets nothing.
//
// It never waits: Service moves it on, and the caller sleeps on Descriptors
// until NextDeadlineMs, servicing the master port as well (its Hit).

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "serial/ModbusTcpServerLine.h"
#include "serial/clsCOM.h"

namespace quorvel {

class ModbusGateway {
 public:
  // One line for each request that was finished, for --verbose.
  using Report = std::function<void(const std::string& line)>;

  static constexpr std::uint8_t kTargetFailed = 0x0B;

  ModbusGateway(ModbusTcpServerLine& server, clsCOM& port, bool ascii, std::int32_t timeoutMs, Report report = {});

  // Takes the next request when none is under way.
  void Service();

  bool Idle() const { return !underWay_; }
  std::uint64_t Forwarded() const { return forwarded_; }
  std::uint64_t Failed() const { return failed_; }

 private:
  void Finish(bool timedOut, std::span<const std::uint8_t> answer);

  ModbusTcpServerLine& server_;
  clsCOM& port_;
  bool ascii_;
  std::int32_t timeoutMs_;
  Report report_;
  bool underWay_ = false;
  std::vector<std::uint8_t> request_;  // RTU, of the request under way
  std::uint64_t forwarded_ = 0;
  std::uint64_t failed_ = 0;
};

}  // namespace quorvel
