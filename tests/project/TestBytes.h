#pragma once

// Builds project-file bytes field by field for the tests, independently of
// the writer under test.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace quorvel::test {

class Bytes {
 public:
  Bytes& u8(std::uint8_t v) { return b.push_back(v), *this; }
  Bytes& i16(int v) { return u8(v & 0xFF).u8((v >> 8) & 0xFF); }
  Bytes& i32(std::int64_t v) {
    for (int i = 0; i < 4; ++i) u8(static_cast<std::uint8_t>(v >> (8 * i)));
    return *this;
  }
  Bytes& f64(double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, 8);
    for (int i = 0; i < 8; ++i) u8(static_cast<std::uint8_t>(bits >> (8 * i)));
    return *this;
  }
  Bytes& chars(const std::string& s) {
    for (char c : s) u8(static_cast<std::uint8_t>(c));
    return *this;
  }
  Bytes& text16(const std::string& s) { return i16(static_cast<int>(s.size())).chars(s); }
  Bytes& text32(const std::string& s) { return i32(static_cast<std::int64_t>(s.size())).chars(s); }
  Bytes& raw(const std::vector<std::uint8_t>& v) { return b.insert(b.end(), v.begin(), v.end()), *this; }
  Bytes& append(const Bytes& o) { return raw(o.b); }

  std::vector<std::uint8_t> b;
};

// An element record with the fields the tests vary; the rest are fixed.
struct Element {
  std::string name = "TBox";
  std::uint32_t address = 0;
  std::string caption{};
  std::string format{};
  double k = 1;
  double x0 = 0;
  double defaultValue = 0;
  int pictureNumber = 0;
  std::int32_t top = 100, left = 200, width = 300, height = 400;
  std::uint32_t back = 0xFFFFFF, fore = 0x000080;
};

inline Bytes ElementBytes(const Element& e) {
  Bytes out;
  out.i32(e.back).i32(e.fore).text16(e.name).i32(e.top).i32(e.left);
  out.i16(-1).i16(0).i16(-1).i16(0).i16(10).text16("Arial");
  out.i32(e.width).i32(e.height).text16(e.caption).i32(e.address).i16(e.pictureNumber);
  out.f64(1.5).f64(-2.5).f64(e.defaultValue).i32(500).f64(e.k).f64(e.x0).text16(e.format);
  return out;
}

struct Request {
  int func = 3;
  int readAddr = 0, readQnt = 10, writeAddr = 0, writeQnt = 0, control = 0, period = 1000;
  std::vector<std::uint8_t> data{};
  std::string label{};
};

inline Bytes RequestBytes(const Request& r) {
  Bytes out;
  out.i32(r.func).i32(r.readAddr).i32(r.readQnt).i32(r.writeAddr).i32(r.writeQnt).i32(r.control).i32(r.period);
  if (r.writeQnt != 0) out.i32(static_cast<std::int64_t>(r.data.size())).raw(r.data);
  return out.text32(r.label);
}

inline Bytes PictureBytesOf(int number, const std::string& type, const std::vector<std::uint8_t>& data) {
  Bytes out;
  return out.i16(number).i32(static_cast<std::int64_t>(data.size())).text16(type).raw(data);
}

// Everything from the header to the section table.
inline Bytes HeadBytes(const std::vector<int>& sections, const std::string& header = "DraventaFabricant 1.0\r\n") {
  Bytes out;
  out.chars(header).i16(1).i16(2).i16(3).i32(1000).i32(2000).i32(3000).i32(4);
  out.text16("Service").text16("Calibration").i16(0xFF).i16(-1).i32(1500).i32(40).i32(7);
  out.i16(static_cast<int>(sections.size()));
  for (int s : sections) out.i16(s);
  return out;
}

// The smallest picture file that is recognised as a PNG.
inline std::vector<std::uint8_t> PngBytes(std::uint8_t tag) {
  return {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 0, tag};
}

}  // namespace quorvel::test
