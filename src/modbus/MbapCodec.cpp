#include "modbus/MbapCodec.h"

#include "modbus/FrameCodec.h"

namespace quorvel::MODBUS {
namespace {

constexpr std::size_t kCrcSize = 2;

void PutWord(std::vector<std::uint8_t>& out, std::uint16_t value) {
  out.push_back(static_cast<std::uint8_t>(value >> 8));
  out.push_back(static_cast<std::uint8_t>(value & 0xFF));
}

std::uint16_t Word(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint16_t>((bytes[at] << 8) | bytes[at + 1]);
}

void AppendCrc(std::vector<std::uint8_t>& frame) {
  const std::uint16_t crc = Crc16(frame);
  frame.push_back(static_cast<std::uint8_t>(crc & 0xFF));
  frame.push_back(static_cast<std::uint8_t>(crc >> 8));
}

}  // namespace

std::vector<std::uint8_t> EncodeMbap(const MbapFrame& frame) {
  std::vector<std::uint8_t> out;
  out.reserve(kMbapHeaderSize + frame.pdu.size());
  PutWord(out, frame.header.transaction);
  PutWord(out, frame.header.protocol);
  PutWord(out, static_cast<std::uint16_t>(frame.pdu.size() + 1));
  out.push_back(frame.header.unit);
  out.insert(out.end(), frame.pdu.begin(), frame.pdu.end());
  return out;
}

std::optional<MbapFrame> MbapFromRtu(std::span<const std::uint8_t> rtu, const MbapHeader& header) {
  // Address, function, CRC at the least.
  if (rtu.size() < 2 + kCrcSize || rtu.size() > 1 + kMaxPduSize + kCrcSize) return std::nullopt;
  const auto n = static_cast<std::int32_t>(rtu.size() - kCrcSize);
  if (!CheckCRC(rtu, n)) return std::nullopt;
  MbapFrame frame;
  frame.header = header;
  frame.header.unit = rtu[0];
  frame.pdu.assign(rtu.begin() + 1, rtu.end() - kCrcSize);
  return frame;
}

std::vector<std::uint8_t> RtuFromMbap(const MbapFrame& frame) {
  std::vector<std::uint8_t> rtu;
  rtu.reserve(1 + frame.pdu.size() + kCrcSize);
  rtu.push_back(frame.header.unit);
  rtu.insert(rtu.end(), frame.pdu.begin(), frame.pdu.end());
  AppendCrc(rtu);
  return rtu;
}

std::vector<std::uint8_t> RtuException(std::span<const std::uint8_t> request, std::uint8_t code) {
  if (request.size() < 2) return {};
  std::vector<std::uint8_t> answer{request[0], static_cast<std::uint8_t>(request[1] | 0x80), code};
  AppendCrc(answer);
  return answer;
}

void MbapReader::Feed(std::span<const std::uint8_t> bytes) {
  if (!broken_) bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::optional<MbapFrame> MbapReader::Next() {
  if (broken_ || bytes_.size() < kMbapHeaderSize) return std::nullopt;
  const std::span<const std::uint8_t> bytes(bytes_);
  const std::uint16_t protocol = Word(bytes, 2);
  const std::uint16_t length = Word(bytes, 4);
  // The unit id and a function at the least, a whole PDU at the most.
  if (protocol != 0 || length < 2 || length > kMaxMbapLength) {
    broken_ = true;
    bytes_.clear();
    return std::nullopt;
  }
  const std::size_t total = kMbapHeaderSize - 1 + length;
  if (bytes_.size() < total) return std::nullopt;
  MbapFrame frame;
  frame.header = {Word(bytes, 0), protocol, bytes_[6]};
  frame.pdu.assign(bytes_.begin() + kMbapHeaderSize, bytes_.begin() + static_cast<std::ptrdiff_t>(total));
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(total));
  return frame;
}

void MbapReader::Reset() {
  bytes_.clear();
  broken_ = false;
}

std::vector<std::uint8_t> MbapClient::Request(std::span<const std::uint8_t> rtu) {
  const std::uint16_t next = static_cast<std::uint16_t>(transaction_ + 1);
  const std::optional<MbapFrame> frame = MbapFromRtu(rtu, {next, 0, 0});
  if (!frame) return {};
  transaction_ = next;
  sent_ = true;
  return EncodeMbap(*frame);
}

std::optional<std::vector<std::uint8_t>> MbapClient::Answer(const MbapFrame& frame) const {
  if (!sent_ || frame.header.transaction != transaction_) return std::nullopt;
  return RtuFromMbap(frame);
}

}  // namespace quorvel::MODBUS
