#pragma once

// The translation between the RTU frames the rest of the program speaks
// (address, function, data, CRC) and Modbus TCP's MBAP frames (transaction
// id, protocol id 0, length, unit id, function, data; no CRC). The unit id
// stands for the RTU address both ways.
//
// MbapReader cuts a TCP byte stream into MBAP frames: bytes may come in any
// pieces, several frames at once or one frame over many reads. A header that
// cannot be (a protocol id other than 0, a length below 2 or above what a
// Modbus PDU can hold) leaves the stream without a way back to the start of
// the next frame: the reader then stays broken and the connection has to go.
//
// MbapClient is the master's side: each request gets the next transaction id,
// and only the answer carrying the id of the request under way is let
// through; any other (a late answer, a stray one) is turned away for the line
// to count.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace quorvel::MODBUS {

inline constexpr std::size_t kMbapHeaderSize = 7;  // transaction, protocol, length, unit
inline constexpr std::size_t kMaxPduSize = 253;    // function and data
// The length field counts the unit id and the PDU.
inline constexpr std::uint16_t kMaxMbapLength = kMaxPduSize + 1;

struct MbapHeader {
  std::uint16_t transaction = 0;
  std::uint16_t protocol = 0;
  std::uint8_t unit = 0;
};

struct MbapFrame {
  MbapHeader header;
  std::vector<std::uint8_t> pdu;  // function and data
};

// The MBAP bytes of `frame`.
std::vector<std::uint8_t> EncodeMbap(const MbapFrame& frame);

// An RTU frame (address, PDU, CRC) as an MBAP frame with `header`'s
// transaction and protocol ids and the frame's address as unit id. Nullopt
// for a frame too short to hold a function, too long for a PDU, or whose CRC
// is wrong: such bytes are not a frame to carry.
std::optional<MbapFrame> MbapFromRtu(std::span<const std::uint8_t> rtu, const MbapHeader& header);

// The RTU frame of an MBAP frame: unit id as address, the PDU, the CRC added.
std::vector<std::uint8_t> RtuFromMbap(const MbapFrame& frame);

// The RTU exception answer to `request` (an RTU frame): its address, its
// function with the high bit set, `code`, the CRC. Empty for a request too
// short to name a function.
std::vector<std::uint8_t> RtuException(std::span<const std::uint8_t> request, std::uint8_t code);

class MbapReader {
 public:
  // Takes the next bytes of the stream.
  void Feed(std::span<const std::uint8_t> bytes);
  // The next whole frame, in the order they came; nullopt when none is whole.
  std::optional<MbapFrame> Next();
  // A header that cannot be came; nothing more is read from this stream.
  bool Broken() const { return broken_; }
  // Bytes of a frame not yet whole: a stream that ends now ends mid-frame.
  std::size_t Partial() const { return broken_ ? 0 : bytes_.size(); }
  void Reset();

 private:
  std::vector<std::uint8_t> bytes_;
  bool broken_ = false;
};

class MbapClient {
 public:
  // The request frame `rtu` as the MBAP bytes to send, under the next
  // transaction id. Empty (no id used) when `rtu` is not a sealed RTU frame.
  std::vector<std::uint8_t> Request(std::span<const std::uint8_t> rtu);
  // The answer as an RTU frame, or nullopt when it is not the answer to the
  // request under way (another transaction id, or no request sent yet).
  std::optional<std::vector<std::uint8_t>> Answer(const MbapFrame& frame) const;
  // The transaction id the last request went out with.
  std::uint16_t Transaction() const { return transaction_; }
  bool Sent() const { return sent_; }

 private:
  std::uint16_t transaction_ = 0;
  bool sent_ = false;
};

}  // namespace quorvel::MODBUS
