#include "BenchSupport.h"

#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "project/CodePage.h"
#include "project/ProjectJson.h"
#include "project/ProjectWriter.h"

namespace quorvel::bench {

std::runtime_error ModbusError(const std::string& what) {
  return std::runtime_error(what + ": " + modbus_strerror(errno));
}

ModbusContext ConnectRtu(const std::string& path, int baud) {
  ModbusContext ctx(modbus_new_rtu(path.c_str(), baud, 'N', 8, 1));
  if (!ctx) throw ModbusError("modbus_new_rtu " + path);
  if (modbus_set_slave(ctx.get(), kSlaveId) != 0) throw ModbusError("modbus_set_slave");
  if (modbus_connect(ctx.get()) != 0) throw ModbusError("modbus_connect " + path);
  return ctx;
}

ServedLine::ServedLine(int baud)
    : modem_(platform::NullModemOptions{.baudRate = baud, .damage = {}}), mapping_(modbus_mapping_new(0, 0, 16, 0)) {
  if (!mapping_) throw ModbusError("modbus_mapping_new");
  for (int i = 0; i < mapping_->nb_registers; ++i) mapping_->tab_registers[i] = static_cast<std::uint16_t>(0x1111 * i);
  forwarder_ = std::thread([this] { modem_.Run(); });
  try {
    // Connected before any client writes, so that no request meets a closed end.
    server_ = ConnectRtu(modem_.Path(platform::End::B), baud);
    // Wakes the server now and then to see whether it should stop.
    modbus_set_indication_timeout(server_.get(), 0, 100'000);
  } catch (...) {
    StopForwarder();
    throw;
  }
  serving_ = std::thread([this] { Serve(); });
}

ServedLine::~ServedLine() {
  stop_ = true;
  serving_.join();
  server_.reset();
  StopForwarder();
}

void ServedLine::Serve() {
  std::array<std::uint8_t, MODBUS_RTU_MAX_ADU_LENGTH> query{};
  while (!stop_) {
    const int length = modbus_receive(server_.get(), query.data());
    // 0: a frame for another slave; -1: the idle wake-up or a spoilt frame.
    if (length > 0) modbus_reply(server_.get(), query.data(), length, mapping_.get());
  }
}

void ServedLine::StopForwarder() {
  modem_.Stop();
  forwarder_.join();
}

ModbusContext ConnectTcp(int port) {
  ModbusContext ctx(modbus_new_tcp("127.0.0.1", port));
  if (!ctx) throw ModbusError("modbus_new_tcp");
  if (modbus_set_slave(ctx.get(), kSlaveId) != 0) throw ModbusError("modbus_set_slave");
  if (modbus_connect(ctx.get()) != 0) throw ModbusError("modbus_connect 127.0.0.1:" + std::to_string(port));
  return ctx;
}

int FreeTcpPort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) throw std::runtime_error("socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const bool bound = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                     getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  close(fd);
  if (!bound) throw std::runtime_error("no free loopback port");
  return ntohs(address.sin_port);
}

ServedTcp::ServedTcp() : mapping_(modbus_mapping_new(0, 0, 16, 0)) {
  if (!mapping_) throw ModbusError("modbus_mapping_new");
  for (int i = 0; i < mapping_->nb_registers; ++i) mapping_->tab_registers[i] = static_cast<std::uint16_t>(0x1111 * i);
  // libmodbus listens on the port its context names; a port free a moment
  // ago may be taken meanwhile, so a few tries.
  for (int attempt = 0; attempt < 5 && listener_ < 0; ++attempt) {
    port_ = FreeTcpPort();
    server_.reset(modbus_new_tcp("127.0.0.1", port_));
    if (!server_) throw ModbusError("modbus_new_tcp");
    listener_ = modbus_tcp_listen(server_.get(), 1);
  }
  if (listener_ < 0) throw ModbusError("modbus_tcp_listen");
  modbus_set_indication_timeout(server_.get(), 0, 100'000);
  serving_ = std::thread([this] { Serve(); });
}

ServedTcp::~ServedTcp() {
  stop_ = true;
  serving_.join();
  server_.reset();
  close(listener_);
}

void ServedTcp::Serve() {
  std::array<std::uint8_t, MODBUS_TCP_MAX_ADU_LENGTH> query{};
  while (!stop_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (poll(&waiting, 1, 100) != 1) continue;
    int listener = listener_;
    if (modbus_tcp_accept(server_.get(), &listener) < 0) continue;
    while (!stop_) {
      const int length = modbus_receive(server_.get(), query.data());
      if (length > 0) {
        modbus_reply(server_.get(), query.data(), length, mapping_.get());
      } else if (length < 0 && errno != ETIMEDOUT) {
        break;  // the client has gone
      }
    }
    modbus_close(server_.get());
  }
}

ScratchDir::ScratchDir() {
  std::string name = (std::filesystem::temp_directory_path() / "quorvel-bench-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a scratch folder");
  path_ = name;
}

ScratchDir::~ScratchDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::string WriteReadProject(const std::filesystem::path& dir, int registers, int periodMs, bool panel) {
  nlohmann::ordered_json json = {{"header", "DraventaFabricant line benchmark\r\n"},
                                 {"Timeout", 1000},
                                 {"Interval", 1},
                                 {"requests",
                                  {{{"func", 3},
                                    {"readAddr", 0},
                                    {"readQnt", registers},
                                    {"control", 0},
                                    {"period", periodMs},
                                    {"label", "Read"}}}}};
  if (panel) {
    json["elements"] = nlohmann::ordered_json::array();
    for (int i = 0; i < registers; ++i) {
      char address[16];
      std::snprintf(address, sizeof address, "0x%08X", i);
      json["elements"].push_back(
          {{"ctrlName", "TBox"}, {"address", address}, {"defaultValue", static_cast<std::int16_t>(0x1111 * i)}});
    }
  }
  const auto bytes = WriteProject(ProjectFromJson(json, CodePage::Default()));
  const std::string path = (dir / ("read-" + std::to_string(periodMs) + (panel ? "-panel" : "") + ".qvc")).string();
  std::string error;
  if (!SaveProjectBytes(path, bytes, error)) throw std::runtime_error("cannot write " + path + ": " + error);
  return path;
}

}  // namespace quorvel::bench
