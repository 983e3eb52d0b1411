#include "project/ReqProp.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "TestBytes.h"
#include "project/BinaryReader.h"

namespace quorvel {
namespace {

using test::Bytes;
using test::Request;
using test::RequestBytes;
using Buffer = std::vector<std::uint8_t>;

ReqProp Loaded(const Request& r) {
  const Bytes bytes = RequestBytes(r);
  BinaryReader in(bytes.b);
  ReqProp request;
  request.Load(in);
  EXPECT_TRUE(in.AtEnd());
  return request;
}

// A request of function 16 whose buffer holds `data`.
ReqProp Holding(std::int32_t writeAddr, Buffer data) {
  Request r;
  r.func = 16;
  r.writeAddr = writeAddr;
  r.writeQnt = static_cast<int>(data.size() / 2);
  r.data = std::move(data);
  return Loaded(r);
}

TEST(ReqPropTest, ARequestWithoutWriteDataLeavesTheBufferAsItWas) {
  ReqProp q = Holding(0, {1, 2, 3, 4});
  const Bytes plain = RequestBytes(Request{.func = 3, .readAddr = 9});
  BinaryReader in(plain.b);
  q.Load(in);
  EXPECT_EQ(q.Func(), 3);
  EXPECT_EQ(q.ReadAddr(), 9);
  EXPECT_EQ(q.Data(), (Buffer{1, 2, 3, 4}));
  EXPECT_EQ(q.DataLength(), 4);
}

TEST(ReqPropTest, AMaskWriteAlwaysLoadsChangingNothing) {
  Request r{.func = 22, .writeAddr = 3, .writeQnt = 1};
  r.data = {0x12, 0x34, 0x56, 0x78};
  EXPECT_EQ(Loaded(r).Data(), (Buffer{0xFF, 0xFF, 0x00, 0x00}));
  // Only function 22 is touched.
  r.func = 16;
  EXPECT_EQ(Loaded(r).Data(), (Buffer{0x12, 0x34, 0x56, 0x78}));
}

TEST(ReqPropTest, AShortRecordFailsAndLeavesTheRequestAlone) {
  Request r{.func = 16, .writeQnt = 1};
  r.data = {1, 2};
  r.label = "abc";
  Bytes bytes = RequestBytes(r);
  bytes.b.pop_back();
  ReqProp q = Holding(0, {9, 9});
  BinaryReader in(bytes.b);
  EXPECT_THROW(q.Load(in), ReadError);
  EXPECT_EQ(q.Data(), (Buffer{9, 9}));
  EXPECT_EQ(q.Func(), 16);
}

TEST(ReqPropTest, CopySizesTheBufferByFunction) {
  struct Case {
    int func, writeQnt;
    std::size_t bytes;
  };
  const Case cases[] = {{15, 9, 2}, {22, 7, 4}, {16, 3, 6}};
  for (const Case& c : cases) {
    Request r{.func = c.func, .writeAddr = 1, .writeQnt = c.writeQnt, .period = 77};
    r.data = Buffer(8, 0xA5);
    r.label = "copied";
    const ReqProp source = Loaded(r);
    ReqProp copy;
    copy.SetNextTime(1234);
    copy.Copy(source);
    EXPECT_EQ(copy.Data().size(), c.bytes) << c.func << "/" << c.writeQnt;
    EXPECT_EQ(copy.Label(), "copied");
    EXPECT_EQ(copy.NextTime(), 1234);
  }
}

TEST(ReqPropTest, LetBytesPlacesRegisterValuesInWireOrder) {
  struct Case {
    const char* what;
    std::uint32_t code;
    double value;
    Buffer expected;
  };
  // Register 10 onward of a write that starts at register 9.
  const Case cases[] = {
      {"Integer -2", 0x0000000A, -2, {0xEE, 0xEE, 0xFF, 0xFE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"Long swapped", 0x0011000A, 131073, {0xEE, 0xEE, 0x00, 0x02, 0x00, 0x01, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"Float", 0x0020000A, 1.0, {0xEE, 0xEE, 0x00, 0x00, 0x3F, 0x80, 0xEE, 0xEE, 0xEE, 0xEE}},
      {"Double", 0x0030000A, 1.0, {0xEE, 0xEE, 0, 0, 0, 0, 0, 0, 0x3F, 0xF0}},
      {"Byte low", 0x0050000A, 0x5A, {0xEE, 0xEE, 0xEE, 0x5A, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
  };
  for (const Case& c : cases) {
    ReqProp q = Holding(9, Buffer(10, 0xEE));
    q.LetBytes(c.value, c.code);
    EXPECT_EQ(q.Data(), c.expected) << c.what;
  }
}

TEST(ReqPropTest, LetBytesSetsAndClearsCoilBits) {
  Request r{.func = 15, .writeAddr = 10, .writeQnt = 16};
  r.data = {0xFF, 0x00};
  ReqProp q = Loaded(r);
  // Four coils from coil 13 (bit 3 of the buffer), value 1011b.
  q.LetBytes(11, 0x2030000D);
  EXPECT_EQ(q.Data(), (Buffer{0xDF, 0x00}));
  // Eight coils from coil 16 cross into the second byte: bits 6..13.
  q.LetBytes(0xFF, 0x20700010);
  EXPECT_EQ(q.Data(), (Buffer{0xDF, 0x3F}));
  q.LetBytes(0, 0x2000000A);
  EXPECT_EQ(q.Data(), (Buffer{0xDE, 0x3F}));
}

TEST(ReqPropTest, LetBytesRaisesInsteadOfClamping) {
  ReqProp q = Holding(10, {0, 0, 0, 0});
  EXPECT_THROW(q.LetBytes(1.0, 0x0020000B), std::out_of_range);  // Float at register 11 needs bytes 2..5
  EXPECT_THROW(q.LetBytes(1, 0x00000009), std::out_of_range);    // below the write
  EXPECT_EQ(q.Data(), (Buffer{0, 0, 0, 0}));
  // The offset is a 16-bit number: 40000 registers away does not fit.
  ReqProp far = Holding(0, {0, 0});
  EXPECT_THROW(far.LetBytes(1, 40000), std::overflow_error);
  ReqProp coils = Holding(5, {0, 0});
  EXPECT_THROW(coils.LetBytes(1, 0x20000004), std::out_of_range);
}

// A mask text and the AND and OR masks it stands for, read one way or both.
TEST(ReqPropTest, MaskTextsAndTheirAndAndOrMasks) {
  struct Case {
    const char* text;
    std::uint32_t code;
    Buffer masks;
    bool parses, renders;
  };
  const Case cases[] = {
      {"1x0x xxxx xxxx xxx1", 0x00000005, {0x5F, 0xFE, 0x80, 0x01}, true, true},
      {"X1", 0x00000005, {0xFF, 0xFE, 0x00, 0x01}, true, false},  // bits left out on the left stay
      {"1010 xxxx", 0x0040000A, {0x0F, 0xFF, 0xA0, 0x00}, true, true},
      {"xxxx 0001", 0x0050000A, {0xFF, 0xF0, 0x00, 0x01}, true, true},
      {"xxxx xxxx xxxx xxxx", 0x00000005, {0xFF, 0xFF, 0xFF, 0xFF}, false, true},  // AND wins over OR
      {"xxxx xxx1", 0x0050000A, {0x5F, 0xFE, 0x80, 0x01}, false, true},
  };
  for (const Case& c : cases) {
    if (c.parses) {
      ReqProp q = Holding(0, {9, 9, 9, 9});
      q.GetMaskData(c.text, c.code);
      EXPECT_EQ(q.Data(), c.masks) << c.text;
    }
    if (c.renders) {
      EXPECT_EQ(Holding(0, c.masks).FillMaskData(c.code), c.text);
    }
  }
}

TEST(ReqPropTest, BadMasksAreRefused) {
  ReqProp q = Holding(0, {9, 9, 9, 9});
  EXPECT_THROW(q.GetMaskData("0000 0000 0000 0002", 0), std::invalid_argument);
  EXPECT_THROW(q.GetMaskData("0 0000 0000 0000 0000", 0), std::invalid_argument);
  EXPECT_THROW(q.GetMaskData("0000 00000", 0x0040000A), std::invalid_argument);
  EXPECT_EQ(q.Data(), (Buffer{9, 9, 9, 9}));
  ReqProp small = Holding(0, {9, 9});
  EXPECT_THROW(small.GetMaskData("xxxx", 0), std::out_of_range);
  EXPECT_THROW(small.FillMaskData(0), std::out_of_range);
}

}  // namespace
}  // namespace quorvel
