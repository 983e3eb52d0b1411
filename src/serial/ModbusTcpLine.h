#pragma once

// A Modbus TCP connection to a server ("mbtcp://HOST:PORT"), seen by the port
// as a line that carries RTU frames: each request frame written goes out as
// an MBAP frame under the next transaction id, with the frame's address as
// unit id and without its CRC, and each answer comes back as the RTU frame
// the master transaction expects, CRC added. The master's code is the same
// as on a cable.
//
// The line wraps the byte stream it talks over (a TcpLine; any line in
// tests). Answers are handed over whole, one per read. One that is not the
// answer to the request under way (another transaction id) is dropped and
// counted, as is a frame cut short when the connection ends. A stream whose
// header cannot be (protocol id, length) has lost its place: the connection
// is closed and counts as gone, so that the port connects again.

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "modbus/MbapCodec.h"
#include "platform/ReadySet.h"
#include "platform/SerialLine.h"

namespace quorvel {

class ModbusTcpLine final : public platform::SerialLine {
 public:
  explicit ModbusTcpLine(std::unique_ptr<platform::SerialLine> stream);

  [[nodiscard]] platform::OpenFailure Open(const platform::LineSettings& settings) override;
  void Close() override;
  bool IsOpen() const override { return stream_->IsOpen(); }
  platform::IoResult Write(std::span<const std::uint8_t> bytes) override;
  platform::IoResult ReadAvailable(std::span<std::uint8_t> into) override;
  std::size_t BytesAvailable() override;
  std::size_t OutputQueued() override { return stream_->OutputQueued(); }
  void Purge(platform::PurgeWhat what) override;
  bool IsGone() const override { return gone_ || stream_->IsGone(); }
  int Descriptor() const override;
  bool WholeFrames() const override { return true; }
  int TakeDroppedFrames() override;

 private:
  // Reads what the stream has and turns the whole frames into answers.
  void Pump();
  void Lose();
  void Forget();

  std::unique_ptr<platform::SerialLine> stream_;
  MODBUS::MbapClient client_;
  MODBUS::MbapReader reader_;
  std::deque<std::vector<std::uint8_t>> answers_;  // RTU frames not read yet
  std::size_t handed_ = 0;                         // of answers_.front(), already read
  std::optional<platform::ReadySet> ready_;        // when the stream has a descriptor
  bool gone_ = false;
  int dropped_ = 0;
};

}  // namespace quorvel
