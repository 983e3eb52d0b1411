#pragma once

// The line settings a serial port is opened with, and their reading from the
// port record's Win32 DCB fields.

#include <cstdint>

namespace quorvel::platform {

enum class Parity : std::uint8_t { None, Odd, Even, Mark, Space };

enum class StopBits : std::uint8_t { One, OnePointFive, Two };

// What RTS does while the port is open. Toggle raises RTS only while sending,
// which is how a two-wire RS-485 adapter is told the direction.
enum class RtsControl : std::uint8_t { Off, On, Toggle };

struct LineSettings {
  int baudRate = 9600;  // any positive rate; standard or not
  int dataBits = 8;     // 5..8; Modbus uses 8, ASCII framing 7 or 8
  Parity parity = Parity::None;
  StopBits stopBits = StopBits::One;
  bool dtr = true;
  RtsControl rts = RtsControl::Toggle;

  friend bool operator==(const LineSettings&, const LineSettings&) = default;
};

// Win32 DCB values as the port record holds them.
struct DcbFields {
  std::uint32_t baudRate = 9600;
  std::uint32_t flags = 0x3011;  // fBinary, DTR enabled, RTS toggle
  std::uint8_t byteSize = 8;
  std::uint8_t parity = 0;    // 0 none, 1 odd, 2 even, 3 mark, 4 space
  std::uint8_t stopBits = 0;  // 0 one, 1 one and a half, 2 two
};

// Reads a DCB the way the serial driver of the system it comes from does:
// fDtrControl (flag bits 4-5) other than disable raises DTR; fRtsControl
// (bits 12-13) 0 holds RTS low, 3 toggles it, 1 and 2 hold it high (hardware
// handshake is not offered, so it keeps RTS on). Parity and stop-bit codes out
// of range read as none and one. Baud rate and byte size pass as they are (a
// rate above INT_MAX reads as 0); a line keeps the driver's own value for one
// it cannot use, since a typed rate is stored without any check.
LineSettings LineSettingsFromDcb(const DcbFields& dcb);

// The field values a line can apply; others leave the driver's value alone.
bool IsUsableBaudRate(int baudRate);
bool IsUsableDataBits(int dataBits);

}  // namespace quorvel::platform
