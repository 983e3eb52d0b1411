#include "project/ReqProp.h"

#include <limits>
#include <stdexcept>

#include "convert/AddressCode.h"
#include "convert/RegisterEncode.h"
#include "project/BinaryReader.h"
#include "project/BinaryWriter.h"

namespace quorvel {
namespace {

constexpr const char* kOverflow = "Overflow";

// A write never needs more than the whole register space of a device.
constexpr std::int64_t kMostRegisters = 65536;

std::int32_t Checked32(std::int64_t v) {
  if (v < std::numeric_limits<std::int32_t>::min() || v > std::numeric_limits<std::int32_t>::max()) {
    throw std::overflow_error(kOverflow);
  }
  return static_cast<std::int32_t>(v);
}

// The bits a mask text covers and where they lie in the 16-bit masks: a
// byte element shows only its own byte.
struct MaskLayout {
  int bits;
  int shift;
};

MaskLayout LayoutOf(std::uint32_t code) {
  const AddressCode c(code);
  if (!c.isBit() && c.typeField() == static_cast<int>(RegType::ByteHi)) return {8, 8};
  if (!c.isBit() && c.typeField() == static_cast<int>(RegType::ByteLow)) return {8, 0};
  return {16, 0};
}

}  // namespace

void ReqProp::Load(BinaryReader& in) { LoadRecord(ReadRequestRecord(in)); }

void ReqProp::LoadRecord(const RequestRecord& r) {
  func_ = r.Func;
  readAddr_ = r.ReadAddr;
  readQnt_ = r.ReadQnt;
  writeAddr_ = r.WriteAddr;
  writeQnt_ = r.WriteQnt;
  control_ = r.Control;
  period_ = r.Period;
  if (writeQnt_ != 0) {
    data_ = r.Data;
    dataLength_ = static_cast<std::int32_t>(data_.size());
    if (func_ == 22) {
      // Whatever the editor stored, a mask write starts out changing nothing.
      // A buffer shorter than the two masks keeps its length; sending it then
      // fails on the missing bytes.
      static constexpr std::uint8_t kKeepAll[4] = {0xFF, 0xFF, 0x00, 0x00};
      for (std::size_t i = 0; i < 4 && i < data_.size(); ++i) data_[i] = kKeepAll[i];
    }
  }
  label_ = r.Label;
}

void ReqProp::Save(BinaryWriter& out) const {
  out.WriteI32(func_);
  out.WriteI32(readAddr_);
  out.WriteI32(readQnt_);
  out.WriteI32(writeAddr_);
  out.WriteI32(writeQnt_);
  out.WriteI32(control_);
  out.WriteI32(period_);
  if (writeQnt_ != 0) {
    out.WriteI32(dataLength_);
    out.WriteBytes(data_);
  }
  out.WriteText32(label_);
}

void ReqProp::Copy(const ReqProp& other) {
  func_ = other.Func();
  readAddr_ = other.ReadAddr();
  readQnt_ = other.ReadQnt();
  writeAddr_ = other.WriteAddr();
  writeQnt_ = other.WriteQnt();
  control_ = other.Control();
  period_ = other.Period();
  label_ = other.Label();
  if (writeQnt_ == 0) return;

  std::int32_t n;
  if (func_ == 5 || func_ == 15) {
    n = writeQnt_ / 8 + (writeQnt_ % 8 > 0 ? 1 : 0);
  } else if (func_ == 22) {
    n = 4;
  } else {
    n = Checked32(2 * static_cast<std::int64_t>(writeQnt_));
  }
  if (n < 1) throw std::out_of_range(kSubscriptOutOfRange);
  // Every byte comes through the other request's GetByte, so its buffer must
  // hold them all; checked first so that no failed copy leaves a huge buffer.
  other.CheckIndex(n - 1);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) bytes[i] = other.GetByte(i);
  data_ = std::move(bytes);
  dataLength_ = n;
}

void ReqProp::CheckIndex(std::int64_t index) const {
  if (index < 0 || static_cast<std::uint64_t>(index) >= data_.size()) throw std::out_of_range(kSubscriptOutOfRange);
}

std::uint8_t ReqProp::GetByte(std::int32_t index) const {
  CheckIndex(index);
  return data_[static_cast<std::size_t>(index)];
}

void ReqProp::SetWriteQnt(std::int32_t count) {
  writeQnt_ = count;
  std::int64_t size = 0;
  if (func_ == 5 || func_ == 6 || func_ == 15) {
    // Function 15 too gets 2 bytes whatever the count; kept so on purpose.
    size = 2;
  } else if (func_ == 16) {
    size = Checked32(2 * static_cast<std::int64_t>(count));
  }
  if (size < 1 || size > 2 * kMostRegisters) throw std::out_of_range(kSubscriptOutOfRange);
  data_.assign(static_cast<std::size_t>(size), 0);
}

void ReqProp::LetBytes(double value, std::uint32_t code) {
  const AddressCode c(code);
  const int count = c.width();
  const std::int64_t offset = static_cast<std::int64_t>(c.address()) - writeAddr_;
  if (offset < std::numeric_limits<std::int16_t>::min() || offset > std::numeric_limits<std::int16_t>::max()) {
    throw std::overflow_error(kOverflow);
  }
  const EncodedValue encoded = EncodeValue(value, code);

  if (c.isBit()) {
    CheckIndex(offset < 0 ? -1 : offset / 8);
    CheckIndex((offset + count - 1) / 8);
    for (int i = 0; i < count; ++i) {
      const std::int64_t bit = offset + i;
      const auto mask = static_cast<std::uint8_t>(1u << (bit % 8));
      std::uint8_t& byte = data_[static_cast<std::size_t>(bit / 8)];
      if ((encoded.bytes[i / 8] >> (i % 8)) & 1) {
        byte |= mask;
      } else {
        byte &= static_cast<std::uint8_t>(~mask);
      }
    }
    return;
  }
  const std::int64_t first = 2 * offset;
  switch (c.typeField()) {
    case static_cast<int>(RegType::ByteHi):
      CheckIndex(first);
      data_[first] = encoded.bytes[0];
      return;
    case static_cast<int>(RegType::ByteLow):
      CheckIndex(first + 1);
      data_[first + 1] = encoded.bytes[1];
      return;
    default:
      CheckIndex(first);
      CheckIndex(first + 2 * count - 1);
      for (int i = 0; i < 2 * count; ++i) data_[first + i] = encoded.bytes[i];
  }
}

void ReqProp::GetMaskData(std::string_view mask, std::uint32_t code) {
  const MaskLayout layout = LayoutOf(code);
  std::string digits;
  for (char ch : mask) {
    if (ch == ' ') continue;
    if (ch != '0' && ch != '1' && ch != 'x' && ch != 'X') {
      throw std::invalid_argument("'" + std::string(1, ch) + "' is not a mask character (0, 1 or x)");
    }
    digits += ch;
  }
  if (digits.size() > static_cast<std::size_t>(layout.bits)) {
    throw std::invalid_argument("the mask has more than " + std::to_string(layout.bits) + " bits");
  }
  // Bits the text leaves out on the left are left as they are.
  digits.insert(0, layout.bits - digits.size(), 'x');

  std::uint32_t andMask = 0xFFFF;
  std::uint32_t orMask = 0;
  for (int j = 0; j < layout.bits; ++j) {
    const std::uint32_t bit = 1u << (layout.shift + layout.bits - 1 - j);
    if (digits[j] == '1') {
      andMask &= ~bit;
      orMask |= bit;
    } else if (digits[j] == '0') {
      andMask &= ~bit;
    }
  }
  CheckIndex(3);
  data_[0] = static_cast<std::uint8_t>(andMask >> 8);
  data_[1] = static_cast<std::uint8_t>(andMask & 0xFF);
  data_[2] = static_cast<std::uint8_t>(orMask >> 8);
  data_[3] = static_cast<std::uint8_t>(orMask & 0xFF);
}

std::string ReqProp::FillMaskData(std::uint32_t code) const {
  const MaskLayout layout = LayoutOf(code);
  const unsigned andMask = GetByte(0) << 8 | GetByte(1);
  const unsigned orMask = GetByte(2) << 8 | GetByte(3);
  std::string text;
  for (int j = 0; j < layout.bits; ++j) {
    if (j > 0 && j % 4 == 0) text += ' ';
    const int bit = layout.shift + layout.bits - 1 - j;
    if ((andMask >> bit) & 1) {
      text += 'x';
    } else {
      text += ((orMask >> bit) & 1) ? '1' : '0';
    }
  }
  return text;
}

}  // namespace quorvel
