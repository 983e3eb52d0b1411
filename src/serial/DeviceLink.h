#pragma once

// What the port object needs of the device windows that use it. The port never
// owns a window; it asks the directory for the one concerned each time.

#include <cstdint>
#include <span>

namespace quorvel {

class DeviceLink {
 public:
  virtual ~DeviceLink() = default;
  virtual std::int16_t COM() const = 0;
  virtual std::uint8_t ID() const = 0;
  virtual bool Connected() const = 0;
  virtual bool WaitResponce() const = 0;
  // The answer to this window's request: result code 1 (expected length),
  // 4 (other length), 8 (time-out) or 16 (parity), the received count (updated
  // in place to the message length) and the frame buffer.
  virtual void GetResponce(std::int32_t code, std::int32_t& length, std::span<std::uint8_t> buffer) = 0;
  // A checked request for this window's address (Slave mode); count is the
  // message length without CRC or ASCII framing.
  virtual void DoResponce(std::span<std::uint8_t> buffer, std::int32_t count) = 0;
  // The answer this window sent as a slave was spoilt on the line (its echo
  // came back otherwise than sent).
  virtual void CountFrameError() {}
  // A frame heard on a listening port (Monitor mode), as received;
  // `answerShaped`: the port found it whole only when read as an answer.
  virtual void FrameHeard(std::span<const std::uint8_t> /*frame*/, bool /*answerShaped*/) {}
};

// The open device windows in load order (the forms collection).
class DeviceDirectory {
 public:
  virtual ~DeviceDirectory() = default;
  virtual std::size_t DeviceCount() const = 0;
  virtual DeviceLink& Device(std::size_t index) = 0;
};

}  // namespace quorvel
