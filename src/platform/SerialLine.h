#pragma once

// One serial line, as the port object sees it: opened exclusively with its
// line settings, written to and read from without ever blocking, and closed
// with the settings it had before restored. A device path (TermiosLine), a
// network connection (TcpLine, and the Modbus TCP lines that translate frames
// on their way) or an in-memory line for tests (MemoryLine).
//
// Nothing here waits. Reads take what has arrived; writes hand the bytes over
// and return, and the line keeps what the driver could not take yet and sends
// it on later calls (OutputQueued tells how much is still on its way). Once
// the line is gone (adapter unplugged, other end closed) every call returns at
// once, reports Gone, and the line can be opened again when the device is back.

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/LineSettings.h"
#include "platform/OpenFailure.h"

namespace quorvel::platform {

enum class IoStatus : std::uint8_t {
  Ok,      // `count` bytes moved (0 for a read when nothing has arrived)
  Gone,    // the line went away; close it and open it again later
  Failed,  // another error (`error` holds the errno); the line may recover
  Closed,  // the line is not open
};

struct IoResult {
  std::size_t count = 0;
  IoStatus status = IoStatus::Ok;
  int error = 0;
};

enum class PurgeWhat : std::uint8_t { Input = 1, Output = 2, Both = 3 };

class SerialLine {
 public:
  virtual ~SerialLine() = default;

  // Opens the line exclusively and applies `settings`. A setting the device
  // cannot take is left at the driver's value without failing the open: only
  // not getting the line at all is a failure. Opening an open line closes it
  // first. Returns a failure whose cause is None when the line is open.
  [[nodiscard]] virtual OpenFailure Open(const LineSettings& settings) = 0;

  // Drops whatever is still queued either way, restores the settings found at
  // open and releases the line. Harmless when not open.
  virtual void Close() = 0;

  virtual bool IsOpen() const = 0;

  // Hands all of `bytes` to the line (count = bytes.size()), unless it is gone
  // or closed.
  virtual IoResult Write(std::span<const std::uint8_t> bytes) = 0;

  // Moves what has arrived, up to into.size() bytes, without waiting.
  virtual IoResult ReadAvailable(std::span<std::uint8_t> into) = 0;

  // Bytes that have arrived and wait to be read (the input-queue count).
  virtual std::size_t BytesAvailable() = 0;

  // Bytes written but not yet sent out; 0 once the last one has left the line,
  // as far as the device can tell.
  virtual std::size_t OutputQueued() = 0;

  // Discards received bytes not yet read, and/or written bytes not yet sent.
  virtual void Purge(PurgeWhat what) = 0;

  // The line went away while open; stays true until it is closed.
  virtual bool IsGone() const = 0;

  // A descriptor that polls readable when bytes have arrived, for an event
  // loop to wake on; -1 when the line has none (it is then serviced by time).
  virtual int Descriptor() const { return -1; }

  // True for a line on which frames come as whole messages, one per read
  // (Modbus TCP): a read that brought bytes has brought a whole frame, and
  // its end needs no silence to be found.
  virtual bool WholeFrames() const { return false; }

  // Frames the line received and dropped since the last call, as not the
  // answer awaited (another transaction's) or cut short by the connection.
  virtual int TakeDroppedFrames() { return 0; }
};

}  // namespace quorvel::platform
