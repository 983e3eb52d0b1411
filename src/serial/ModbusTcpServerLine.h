#pragma once

// A Modbus TCP server ("mbtcp-listen://HOST:PORT") seen as a line that
// carries RTU frames: the requests of every connected client come in as RTU
// frames (unit id as address, CRC added), one at a time in the order they
// arrived, and the frame written next is the answer to the request read
// last, sent back to its client under that request's MBAP header.
//
// A request that gets no answer (another unit's, a broadcast, emulation
// switched off) is given up when the next one is read. A client that
// disconnects takes its waiting requests with it; one whose stream breaks (a
// header that cannot be) is disconnected. The server itself never goes away
// while open. All the sockets hide behind one descriptor (a ReadySet), which
// also polls readable while requests wait that were already read in.

#include <cstdint>
#include <deque>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "modbus/MbapCodec.h"
#include "platform/ReadySet.h"
#include "platform/SerialLine.h"

namespace quorvel {

class ModbusTcpServerLine final : public platform::SerialLine {
 public:
  // `path` as mapped ("mbtcp-listen://HOST:PORT"); port 0 takes a free one.
  explicit ModbusTcpServerLine(std::string path);
  ~ModbusTcpServerLine() override;
  ModbusTcpServerLine(const ModbusTcpServerLine&) = delete;
  ModbusTcpServerLine& operator=(const ModbusTcpServerLine&) = delete;

  [[nodiscard]] platform::OpenFailure Open(const platform::LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override { return listener_ >= 0; }
  platform::IoResult Write(std::span<const std::uint8_t> bytes) override;
  platform::IoResult ReadAvailable(std::span<std::uint8_t> into) override;
  std::size_t BytesAvailable() override;
  std::size_t OutputQueued() override;
  void Purge(platform::PurgeWhat what) override;
  bool IsGone() const override { return false; }
  int Descriptor() const override { return ready_ ? ready_->Descriptor() : -1; }
  bool WholeFrames() const override { return true; }
  int TakeDroppedFrames() override;

  // The port listened on (the one taken, for port 0); 0 while closed.
  std::uint16_t Port() const { return port_; }
  std::size_t Clients() const { return clients_.size(); }

 private:
  struct Client {
    int fd = -1;
    std::uint64_t id = 0;
    MODBUS::MbapReader reader;
    std::vector<std::uint8_t> unsent;
  };
  struct Request {
    std::uint64_t client = 0;
    MODBUS::MbapHeader header;
    std::vector<std::uint8_t> rtu;
  };

  // Accepts new clients, reads what every client sent, sends what waits.
  void Pump();
  void Accept();
  // False when the client is to be dropped.
  bool ReadFrom(Client& client);
  bool Flush(Client& client);
  void Drop(std::list<Client>::iterator client);
  Client* Find(std::uint64_t id);
  void UpdateReady();

  std::string path_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::optional<platform::ReadySet> ready_;
  std::list<Client> clients_;
  std::uint64_t nextClient_ = 1;
  std::deque<Request> requests_;
  std::optional<Request> current_;  // read, not answered yet
  std::size_t handed_ = 0;          // of current_'s frame, already read
  int dropped_ = 0;
};

}  // namespace quorvel
