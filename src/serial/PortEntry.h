#pragma once

// One record of the program-wide port table: what the program knows about
// COM port i (1..16) and the open port object, if any.

#include <cstdint>
#include <memory>

#include "serial/LineTiming.h"
#include "serial/TrafficLog.h"

namespace quorvel {

class clsCOM;

// The line settings of a port as the Windows DCB record carries them; only the
// fields this program reads or writes are kept, with their Windows meanings.
struct DCB {
  std::uint32_t DCBlength = 28;
  std::uint32_t BaudRate = 9600;
  // fBinary (bit 0), fDtrControl (bits 4-5: 1 enable), fRtsControl (bits 12-13: 3 toggle).
  std::uint32_t Flags = 0x3011;
  std::uint16_t XonLim = 1024;
  std::uint16_t XoffLim = 512;
  std::uint8_t ByteSize = 8;
  std::uint8_t Parity = 0;    // 0 none, 1 odd, 2 even, 3 mark, 4 space
  std::uint8_t StopBits = 0;  // 0 one, 1 one and a half, 2 two
  char XonChar = 17;
  char XoffChar = 19;
  char ErrorChar = 0;
  char EofChar = 0;
  char EvtChar = 13;

  static constexpr std::uint32_t kDtrControlMask = 0x0030;
  static constexpr std::uint32_t kDtrControlEnable = 0x0010;
  static constexpr std::uint32_t kRtsControlMask = 0x3000;
  static constexpr std::uint32_t kRtsControlToggle = 0x3000;

  bool dtrEnabled() const { return (Flags & kDtrControlMask) == kDtrControlEnable; }
  bool rtsToggle() const { return (Flags & kRtsControlMask) == kRtsControlToggle; }
  bool operator==(const DCB&) const = default;
};

struct PortEntry {
  static constexpr std::int16_t kNotAvailable = 0;
  static constexpr std::int16_t kClosed = 1;
  static constexpr std::int16_t kOpen = 2;

  std::int16_t State = kClosed;
  std::int16_t Mode = 0;  // 0 nobody, 1 Master, 2 Slave, 3 Monitor
  std::int16_t Users = 0;
  std::int16_t Connections = 0;
  bool ASCII8bits = false;
  bool ASCII = false;
  bool Busy = false;
  DCB dcb;
  // Where frames end and when requests may go out; Classic unless chosen.
  LineTiming Timing = LineTiming::Classic;
  // The adapter hears what it sends (two-wire RS-485 without echo
  // cancelling): the port removes its own bytes before it reads a frame.
  bool Echo = false;
  // Every frame sent and received on the port; made when the port first
  // opens, and kept while the program runs.
  std::shared_ptr<TrafficLog> Traffic;
  std::unique_ptr<clsCOM> Port;
};

}  // namespace quorvel
