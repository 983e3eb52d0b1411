#pragma once

// A bench for the port object: a manual clock, an in-memory wire whose end A
// is every port number but COM2 and whose end B is COM2, the port table's
// records, fake device windows, and the check timer played by hand.

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "modbus/FrameCodec.h"
#include "platform/MemoryLine.h"
#include "serial/clsCOM.h"

namespace quorvel::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Text(const std::string& text) { return {text.begin(), text.end()}; }

// An RTU frame: the message with its CRC.
inline Bytes Sealed(Bytes message) {
  const auto n = static_cast<std::int32_t>(message.size());
  message.resize(message.size() + 2);
  MODBUS::AddCRC(message, n);
  return message;
}

inline Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
}

struct FakeWindow final : DeviceLink {
  struct Answer {
    std::int32_t code;
    std::int32_t length;
    Bytes frame;  // the first `length` bytes of the buffer
    std::size_t bufferSize;
  };

  std::int16_t com = 1;
  std::uint8_t id = 1;
  bool connected = true;
  bool waiting = false;
  std::vector<Answer> answers;
  std::vector<Bytes> requests;  // message bytes handed to DoResponce
  std::vector<Bytes> heard;
  int frameErrors = 0;
  std::function<void(std::span<std::uint8_t>, std::int32_t)> onRequest;

  std::int16_t COM() const override { return com; }
  std::uint8_t ID() const override { return id; }
  bool Connected() const override { return connected; }
  bool WaitResponce() const override { return waiting; }
  void GetResponce(std::int32_t code, std::int32_t& length, std::span<std::uint8_t> buffer) override {
    waiting = false;
    const auto n = static_cast<std::size_t>(std::clamp<std::int64_t>(length, 0, std::ssize(buffer)));
    answers.push_back(
        {code, length, Bytes(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(n)), buffer.size()});
  }
  void DoResponce(std::span<std::uint8_t> buffer, std::int32_t count) override {
    requests.emplace_back(buffer.begin(), buffer.begin() + count);
    if (onRequest) onRequest(buffer, count);
  }
  void CountFrameError() override { ++frameErrors; }
  void FrameHeard(std::span<const std::uint8_t> frame, bool) override {
    heard.emplace_back(frame.begin(), frame.end());
  }
};

class SerialBench : public DeviceDirectory {
 public:
  SerialBench() {
    for (PortEntry& p : ports) p.Mode = kModeMaster;
  }
  ~SerialBench() override {
    for (PortEntry& p : ports) p.Port.reset();
  }

  std::size_t DeviceCount() const override { return windows.size(); }
  DeviceLink& Device(std::size_t index) override { return *windows[index]; }

  FakeWindow& AddWindow(std::int16_t com, std::uint8_t id) {
    windows.push_back(std::make_unique<FakeWindow>());
    windows.back()->com = com;
    windows.back()->id = id;
    return *windows.back();
  }

  // Opens port `com` as the frame does; null when it did not open.
  clsCOM* Open(std::int16_t com) {
    PortEntry& entry = ports[static_cast<std::size_t>(com)];
    entry.Port = std::make_unique<clsCOM>(
        entry, *this, clock,
        [this](int n) -> std::unique_ptr<platform::SerialLine> {
          return std::make_unique<platform::MemoryLine>(wire, n == 2 ? platform::End::B : platform::End::A);
        },
        [this](const std::string& text) { messages.push_back(text); });
    if (!entry.Port->OpenCOM(com)) entry.Port.reset();
    return entry.Port.get();
  }

  // One tick of the check timer, `ms` after the last.
  void Tick(double ms = 1) {
    clock.AdvanceMs(ms);
    for (PortEntry& p : ports)
      if (p.Busy && p.Port) p.Port->Hit();
  }
  void Run(double ms) {
    for (double t = 0; t < ms; t += 1) Tick();
  }

  // Sends `request` from the window to its port and marks it waiting.
  bool Send(FakeWindow& window, const ReqProp& request, std::int32_t timeout = 100, std::int32_t interval = 0) {
    bool sent = false;
    ports[static_cast<std::size_t>(window.com)].Port->SendRequest(window.id, request, timeout, interval, sent);
    window.waiting = sent;
    return sent;
  }

  platform::ManualClock clock{1'000'000'000};
  std::shared_ptr<platform::MemoryWire> wire = std::make_shared<platform::MemoryWire>(clock);
  std::array<PortEntry, 17> ports;  // by port number; 0 unused
  std::vector<std::unique_ptr<FakeWindow>> windows;
  std::vector<std::string> messages;
};

// A line at the far end of the wire (end B), for raw bytes.
inline std::unique_ptr<platform::MemoryLine> Peer(SerialBench& bench, int baud = 9600) {
  auto line = std::make_unique<platform::MemoryLine>(bench.wire, platform::End::B);
  platform::LineSettings settings;
  settings.baudRate = baud;
  if (line->Open(settings)) return nullptr;
  return line;
}

inline ReqProp ReadHolding(std::int32_t address, std::int32_t quantity) {
  ReqProp r;
  r.SetFunc(3);
  r.SetReadAddr(address);
  r.SetReadQnt(quantity);
  return r;
}

inline Bytes ReadAll(platform::SerialLine& line) {
  std::uint8_t buffer[4096];
  const platform::IoResult r = line.ReadAvailable(buffer);
  return Bytes(buffer, buffer + r.count);
}

}  // namespace quorvel::test
