#include "modbus/RequestFrame.h"

#include <stdexcept>

namespace quorvel::MODBUS {
namespace {

// Appends to the front of a buffer; any value that does not fit its field, or
// any byte past the end, spoils the whole frame instead of being cut down.
class FrameWriter {
 public:
  explicit FrameWriter(std::span<std::uint8_t> buf) : buf_(buf) {}

  void Byte(std::int64_t value) {
    if (value < 0 || value > 0xFF) return Fail(RequestRefusal::FieldRange);
    if (pos_ >= buf_.size()) return Fail(RequestRefusal::TooLong);
    buf_[pos_++] = static_cast<std::uint8_t>(value);
  }
  void Word(std::int64_t value) {
    if (value < 0 || value > 0xFFFF) return Fail(RequestRefusal::FieldRange);
    Byte(value >> 8);
    Byte(value & 0xFF);
  }
  // The byte count of the data that follows: more than a byte can say means
  // more data than a frame may carry.
  void Count(std::int64_t value) {
    if (value > 0xFF) return Fail(RequestRefusal::TooLong);
    Byte(value);
  }
  // `count` bytes of the request's write data, in wire order.
  void Data(const ReqProp& request, std::int32_t count) {
    if (request.Data().size() < static_cast<std::size_t>(count)) return Fail(RequestRefusal::DataShort);
    for (std::int32_t i = 0; i < count && ok(); ++i) Byte(request.GetByte(i));
  }

  bool ok() const { return refusal_ == RequestRefusal::None; }
  RequestRefusal refusal() const { return refusal_; }
  void Fail(RequestRefusal why) {
    if (ok()) refusal_ = why;
  }
  std::size_t size() const { return pos_; }

 private:
  std::span<std::uint8_t> buf_;
  std::size_t pos_ = 0;
  RequestRefusal refusal_ = RequestRefusal::None;
};

}  // namespace

RequestFrame LayRequest(std::span<std::uint8_t> buf, std::uint8_t ID, const ReqProp& request) {
  FrameWriter w(buf);
  std::int64_t expected = 0;
  const std::int32_t func = request.Func();
  w.Byte(ID);
  w.Byte(func);

  try {
    switch (func) {
      case 1:
      case 2:
        w.Word(request.ReadAddr());
        w.Word(request.ReadQnt());
        expected = std::int64_t{CoilBytes(request.ReadQnt())} + 5;
        break;
      case 3:
      case 4:
        w.Word(request.ReadAddr());
        w.Word(request.ReadQnt());
        expected = 2 * std::int64_t{request.ReadQnt()} + 5;
        break;
      case 5: {
        w.Word(request.WriteAddr());
        // A coil is either on or off; the line knows only these two values.
        const bool on = request.GetByte(0) != 0 || request.GetByte(1) != 0;
        w.Byte(on ? 0xFF : 0x00);
        w.Byte(0x00);
        expected = 8;
        break;
      }
      case 6:
        w.Word(request.WriteAddr());
        w.Data(request, 2);
        expected = 8;
        break;
      case 15:
      case 16: {
        w.Word(request.WriteAddr());
        w.Word(request.WriteQnt());
        const std::int64_t count =
            func == 15 ? CoilBytes(request.WriteQnt()) : 2 * static_cast<std::int64_t>(request.WriteQnt());
        w.Count(count);
        if (w.ok()) w.Data(request, static_cast<std::int32_t>(count));
        expected = 8;
        break;
      }
      case 22:
        w.Word(request.WriteAddr());
        w.Data(request, 4);
        expected = 10;
        break;
      case 23: {
        w.Word(request.ReadAddr());
        w.Word(request.ReadQnt());
        w.Word(request.WriteAddr());
        w.Word(request.WriteQnt());
        const std::int64_t count = 2 * static_cast<std::int64_t>(request.WriteQnt());
        w.Count(count);
        if (w.ok()) w.Data(request, static_cast<std::int32_t>(count));
        expected = 2 * std::int64_t{request.ReadQnt()} + 5;
        break;
      }
      default:
        break;
    }
  } catch (const std::out_of_range&) {
    w.Fail(RequestRefusal::DataShort);
  }

  if (!w.ok()) return {0, 0, w.refusal()};
  // Room for the CRC is part of fitting: a frame that cannot be sealed is not sent.
  if (w.size() + 2 > buf.size()) return {0, 0, RequestRefusal::TooLong};
  // Every quantity is 16 bits by now, so the expected length fits easily.
  return {static_cast<std::int32_t>(w.size()), static_cast<std::int32_t>(expected), RequestRefusal::None};
}

const char* RefusalText(RequestRefusal refusal) {
  switch (refusal) {
    case RequestRefusal::TooLong:
      return "request too long for the frame buffer";
    case RequestRefusal::DataShort:
      return "request data shorter than its write quantity";
    case RequestRefusal::FieldRange:
      return "request address or quantity beyond 16 bits";
    case RequestRefusal::None:
      break;
  }
  return "";
}

}  // namespace quorvel::MODBUS
