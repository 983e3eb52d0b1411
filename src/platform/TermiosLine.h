#pragma once

// A serial line on a device path (/dev/ttyUSB0, /dev/ttyS0, a pseudo-terminal).
//
// Open takes the line for this process alone: flock() keeps out every program
// that asks the same (other copies of this one, picocom, pyserial's exclusive
// mode), and TIOCEXCL refuses any further open() by an unprivileged program.
// It then applies the line settings, asks a USB adapter for low latency and,
// for RTS toggle, switches the driver to RS-485 direction control; drivers
// that offer neither keep going without. Everything it changed is put back
// on Close.

#include <linux/serial.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/SerialLine.h"
#include "platform/Termios2.h"

namespace quorvel::platform {

class TermiosLine final : public SerialLine {
 public:
  explicit TermiosLine(std::string path);
  ~TermiosLine() override;
  TermiosLine(const TermiosLine&) = delete;
  TermiosLine& operator=(const TermiosLine&) = delete;

  const std::string& Path() const { return path_; }

  [[nodiscard]] OpenFailure Open(const LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override { return fd_ >= 0; }
  int Descriptor() const override { return fd_; }
  IoResult Write(std::span<const std::uint8_t> bytes) override;
  IoResult ReadAvailable(std::span<std::uint8_t> into) override;
  std::size_t BytesAvailable() override;
  std::size_t OutputQueued() override;
  void Purge(PurgeWhat what) override;
  bool IsGone() const override { return gone_; }

 private:
  // What Open changed, so that Close can put it back.
  struct Saved {
    termios2 termios{};
    std::optional<serial_struct> serial;  // low latency was switched on
    std::optional<serial_rs485> rs485;    // RS-485 mode was switched on
    std::optional<int> modemLines;        // DTR and RTS as they were
  };

  void Configure(const LineSettings& settings);
  void SetModemLine(int line, bool on);
  // Passes on bytes the driver did not take yet, as far as it takes them now.
  IoResult FlushPending();
  // Decides what an errno from a read or write means for the line.
  IoResult Failure(int error);
  // True when poll reports the other end as hung up.
  bool HungUp();

  std::string path_;
  int fd_ = -1;
  bool gone_ = false;
  Saved saved_;
  std::vector<std::uint8_t> pending_;  // written, not yet taken by the driver
};

}  // namespace quorvel::platform
