#include "modbus/FrameLength.h"

namespace quorvel::MODBUS {
namespace {

constexpr int kCrc = 2;

// The frame length when byte `at` holds a count of bytes that follow it and
// `fixed` bytes (CRC included) surround them.
int Counted(std::span<const std::uint8_t> head, std::size_t at, int fixed) {
  return head.size() > at ? fixed + head[at] : kNeedMore;
}

int HexValue(std::uint8_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

int RtuRequestLength(std::span<const std::uint8_t> head) {
  if (head.size() < 2) return kNeedMore;
  switch (head[1]) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 8:
      return 6 + kCrc;  // address, function, two 16-bit fields
    case 7:
    case 11:
    case 12:
    case 17:
      return 2 + kCrc;
    case 15:
    case 16:
      return Counted(head, 6, 7 + kCrc);  // start, quantity, byte count, data
    case 22:
      return 8 + kCrc;  // address, AND mask, OR mask
    case 23:
      return Counted(head, 10, 11 + kCrc);  // read start and quantity, write start, quantity, count, data
    default:
      return kUnknown;
  }
}

int RtuAnswerLength(std::span<const std::uint8_t> head) {
  if (head.size() < 2) return kNeedMore;
  if ((head[1] & 0x80) != 0) return 3 + kCrc;  // address, function | 0x80, exception code
  switch (head[1]) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 12:
    case 17:
    case 23:
      return Counted(head, 2, 3 + kCrc);  // address, function, byte count, data
    case 5:
    case 6:
    case 8:
    case 11:
    case 15:
    case 16:
      return 6 + kCrc;
    case 7:
      return 3 + kCrc;
    case 22:
      return 8 + kCrc;
    default:
      return kUnknown;
  }
}

bool AsciiFrameOk(std::span<const std::uint8_t> frame) {
  const std::size_t n = frame.size();
  // ':', at least address, function and LRC as hex pairs, CR LF.
  if (n < 9 || (n - 3) % 2 != 0) return false;
  if (frame[0] != ':' || frame[n - 2] != 13 || frame[n - 1] != 10) return false;
  unsigned sum = 0;
  for (std::size_t i = 1; i + 2 < n; i += 2) {
    const int high = HexValue(frame[i]);
    const int low = HexValue(frame[i + 1]);
    if (high < 0 || low < 0) return false;
    sum += static_cast<unsigned>(high * 16 + low);
  }
  // The LRC is the two's complement of the message's sum, so all of it sums to 0.
  return (sum & 0xFF) == 0;
}

}  // namespace quorvel::MODBUS
