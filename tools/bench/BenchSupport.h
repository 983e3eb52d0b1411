#pragma once

// What the line benchmarks share: a paced null-modem cable with a libmodbus
// RTU server on one end, a libmodbus client, a scratch folder and a project
// that reads holding registers.
//
// The benchmarks are the one place where second threads are fine: the cable
// and the server run beside the master, as real hardware would.

#include <modbus.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/NullModem.h"

namespace quorvel::bench {

constexpr int kSlaveId = 1;

struct ModbusFree {
  void operator()(modbus_t* ctx) const {
    modbus_close(ctx);
    modbus_free(ctx);
  }
};
using ModbusContext = std::unique_ptr<modbus_t, ModbusFree>;

struct MappingFree {
  void operator()(modbus_mapping_t* m) const { modbus_mapping_free(m); }
};

std::runtime_error ModbusError(const std::string& what);

// A libmodbus RTU context on `path`, connected, talking to slave kSlaveId.
ModbusContext ConnectRtu(const std::string& path, int baud);

// A paced null-modem cable forwarding on its own thread, with a libmodbus RTU
// server answering on end B. Clients open end A.
class ServedLine {
 public:
  explicit ServedLine(int baud);
  ~ServedLine();
  ServedLine(const ServedLine&) = delete;
  ServedLine& operator=(const ServedLine&) = delete;

  const std::string& ClientPath() const { return modem_.Path(platform::End::A); }

 private:
  void Serve();
  void StopForwarder();

  platform::NullModem modem_;
  std::unique_ptr<modbus_mapping_t, MappingFree> mapping_;
  ModbusContext server_;
  std::atomic<bool> stop_{false};
  std::thread forwarder_;
  std::thread serving_;
};

// A libmodbus Modbus TCP server on a free loopback port, on its own thread,
// serving the same registers as ServedLine to one client connection at a time.
class ServedTcp {
 public:
  ServedTcp();
  ~ServedTcp();
  ServedTcp(const ServedTcp&) = delete;
  ServedTcp& operator=(const ServedTcp&) = delete;

  int Port() const { return port_; }

 private:
  void Serve();

  std::unique_ptr<modbus_mapping_t, MappingFree> mapping_;
  ModbusContext server_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stop_{false};
  std::thread serving_;
};

// A libmodbus Modbus TCP client connected to 127.0.0.1:`port`, unit kSlaveId.
ModbusContext ConnectTcp(int port);

// A loopback TCP port that was free a moment ago.
int FreeTcpPort();

// A scratch folder that goes with its contents.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// A project in `dir` with one periodic request: read `registers` holding
// registers from 0 every `periodMs` (0: again as soon as it is answered).
// With `panel`, a value box for each of those registers too, so that the
// project can also serve them as a Slave.
std::string WriteReadProject(const std::filesystem::path& dir, int registers, int periodMs, bool panel = false);

}  // namespace quorvel::bench
