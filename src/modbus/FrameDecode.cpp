#include "modbus/FrameDecode.h"

#include <cstdio>

#include "modbus/FrameCodec.h"
#include "modbus/FrameLength.h"

namespace quorvel::MODBUS {
namespace {

using Bytes = std::span<const std::uint8_t>;

int Word(Bytes m, std::size_t at) { return m[at] * 256 + m[at + 1]; }

std::vector<std::uint32_t> Words(Bytes data) {
  std::vector<std::uint32_t> words;
  for (std::size_t i = 0; i + 1 < data.size(); i += 2) words.push_back(static_cast<std::uint32_t>(Word(data, i)));
  return words;
}

std::vector<std::uint32_t> Bits(Bytes data, int count) {
  std::vector<std::uint32_t> bits;
  for (int i = 0; i < count && static_cast<std::size_t>(i / 8) < data.size(); ++i)
    bits.push_back((data[static_cast<std::size_t>(i / 8)] >> (i % 8)) & 1U);
  return bits;
}

bool IsBitFunction(int function) { return function >= 1 && function <= 2; }

// Reads the fields of a request message; false when it is too short or its
// byte count does not fit.
bool ReadRequest(Bytes m, DecodedFrame& f) {
  const int fn = f.function;
  const auto need = [&](std::size_t n) { return m.size() >= n; };
  switch (fn) {
    case 1:
    case 2:
    case 3:
    case 4:
      if (!need(6)) return false;
      f.address = Word(m, 2);
      f.count = Word(m, 4);
      return true;
    case 5:
      if (!need(6)) return false;
      f.address = Word(m, 2);
      f.count = 1;
      f.values = {Word(m, 4) == 0xFF00 ? 1U : 0U};
      return true;
    case 6:
      if (!need(6)) return false;
      f.address = Word(m, 2);
      f.count = 1;
      f.values = {static_cast<std::uint32_t>(Word(m, 4))};
      return true;
    case 15:
    case 16: {
      if (!need(7)) return false;
      f.address = Word(m, 2);
      f.count = Word(m, 4);
      const std::size_t bytes = m[6];
      if (m.size() != 7 + bytes) return false;
      f.values = fn == 15 ? Bits(m.subspan(7), f.count) : Words(m.subspan(7));
      return true;
    }
    case 22:
      if (!need(8)) return false;
      f.address = Word(m, 2);
      f.count = 1;
      f.andMask = static_cast<std::uint32_t>(Word(m, 4));
      f.orMask = static_cast<std::uint32_t>(Word(m, 6));
      return true;
    case 23: {
      if (!need(11)) return false;
      f.address = Word(m, 2);
      f.count = Word(m, 4);
      f.writeAddress = Word(m, 6);
      f.writeCount = Word(m, 8);
      const std::size_t bytes = m[10];
      if (m.size() != 11 + bytes) return false;
      f.writeValues = Words(m.subspan(11));
      return true;
    }
    default:
      return true;  // address and function are all that is known
  }
}

bool ReadResponse(Bytes m, const DecodedFrame* request, DecodedFrame& f) {
  const int fn = f.function;
  switch (fn) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 23: {
      if (m.size() < 3 || m.size() != 3U + m[2]) return false;
      const Bytes data = m.subspan(3);
      if (request) {
        f.address = request->address;
        f.count = request->count;
      }
      if (IsBitFunction(fn)) {
        f.values = Bits(data, f.count >= 0 ? f.count : static_cast<int>(data.size() * 8));
      } else {
        f.values = Words(data);
      }
      if (f.count < 0) f.count = static_cast<int>(f.values.size());
      return true;
    }
    case 5:
    case 6:
    case 22:
      return ReadRequest(m, f);  // the request's own fields, echoed
    case 15:
    case 16:
      if (m.size() != 6) return false;
      f.address = Word(m, 2);
      f.count = Word(m, 4);
      return true;
    default:
      return true;
  }
}

}  // namespace

std::optional<std::vector<std::uint8_t>> MessageOf(Bytes wire, bool ascii) {
  if (ascii) {
    if (!AsciiFrameOk(wire)) return std::nullopt;
    std::vector<std::uint8_t> m;
    for (std::size_t i = 1; i + 4 < wire.size(); i += 2) m.push_back(HexToByte(wire[i], wire[i + 1]));
    return m;
  }
  if (wire.size() < 4 || !CheckCRC(wire, static_cast<std::int32_t>(wire.size() - 2))) return std::nullopt;
  return std::vector<std::uint8_t>(wire.begin(), wire.end() - 2);
}

DecodedFrame DecodeFrame(Bytes wire, bool ascii, bool asResponse, const DecodedFrame* request) {
  DecodedFrame f;
  const std::optional<std::vector<std::uint8_t>> message = MessageOf(wire, ascii);
  if (!message) {
    f.problem = ascii ? "LRC error" : (wire.size() < 4 ? "too short" : "CRC error");
    // What can still be read is shown, for a person looking for the fault.
    if (wire.size() >= (ascii ? 5U : 2U)) {
      f.slave = ascii ? HexToByte(wire[1], wire[2]) : wire[0];
      f.function = ascii ? HexToByte(wire[3], wire[4]) : wire[1];
    }
    return f;
  }
  f.checksumOk = true;
  const Bytes m(*message);
  if (m.size() < 2) {
    f.problem = "too short";
    return f;
  }
  f.slave = m[0];
  f.function = m[1] & 0x7F;
  if ((m[1] & 0x80) != 0) {
    if (m.size() != 3) {
      f.problem = "exception answer of another length";
      return f;
    }
    f.role = FrameRole::Exception;
    f.exception = m[2];
    if (request) {
      f.address = request->address;
      f.count = request->count;
    }
    return f;
  }
  const bool read = asResponse ? ReadResponse(m, request, f) : ReadRequest(m, f);
  if (!read) {
    f.problem = "fields do not fit the function";
    return f;
  }
  f.role = asResponse ? FrameRole::Response : FrameRole::Request;
  return f;
}

std::string FunctionName(int function) {
  switch (function) {
    case 1:
      return "Read Coils";
    case 2:
      return "Read Discrete Inputs";
    case 3:
      return "Read Holding Registers";
    case 4:
      return "Read Input Registers";
    case 5:
      return "Write Single Coil";
    case 6:
      return "Write Single Register";
    case 15:
      return "Write Multiple Coils";
    case 16:
      return "Write Multiple Registers";
    case 22:
      return "Mask Write Register";
    case 23:
      return "Read/Write Multiple Registers";
    default:
      return "Function " + std::to_string(function);
  }
}

std::string ExceptionName(int code) {
  switch (code) {
    case 1:
      return "ILLEGAL FUNCTION";
    case 2:
      return "ILLEGAL DATA ADDRESS";
    case 3:
      return "ILLEGAL DATA VALUE";
    case 4:
      return "SLAVE DEVICE FAILURE";
    default:
      return "Exception " + std::to_string(code);
  }
}

std::string_view RoleName(FrameRole role) {
  switch (role) {
    case FrameRole::Request:
      return "request";
    case FrameRole::Response:
      return "response";
    case FrameRole::Exception:
      return "exception";
    case FrameRole::Broken:
      break;
  }
  return "broken";
}

std::string Summary(const DecodedFrame& f) {
  std::string s;
  if (f.slave >= 0) s += std::to_string(f.slave) + " ";
  if (f.function >= 0) s += FunctionName(f.function);
  if (f.role == FrameRole::Broken) return s + (s.empty() ? "" : ": ") + f.problem;
  if (f.role == FrameRole::Exception) return s + ": " + ExceptionName(f.exception);
  if (f.address >= 0) s += " " + std::to_string(f.address);
  if (f.count >= 0) s += " x" + std::to_string(f.count);
  if (f.function == 22) {
    char masks[40];
    std::snprintf(masks, sizeof masks, " AND %04X OR %04X", f.andMask, f.orMask);
    s += masks;
  }
  const auto list = [&s](const std::vector<std::uint32_t>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) s += (i == 0 ? ": " : " ") + std::to_string(values[i]);
  };
  list(f.values);
  if (f.writeAddress >= 0) {
    s += "; write " + std::to_string(f.writeAddress) + " x" + std::to_string(f.writeCount);
    list(f.writeValues);
  }
  return s;
}

std::string HexBytes(Bytes bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string s;
  s.reserve(bytes.size() * 3);
  for (const std::uint8_t b : bytes) {
    if (!s.empty()) s += ' ';
    s += kDigits[b >> 4];
    s += kDigits[b & 0x0F];
  }
  return s;
}

}  // namespace quorvel::MODBUS
