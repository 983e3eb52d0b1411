#include "project/BinaryReader.h"

#include <gtest/gtest.h>

#include <limits>


namespace quorvel {
namespace {

TEST(BinaryReaderTest, ReadsLittleEndianFields) {
  const std::vector<std::uint8_t> data = {0xFE, 0xFF, 0x78, 0x56, 0x34, 0x12, 0x00, 0x00, 0x00,
                                          0x00, 0x00, 0x00, 0xF0, 0x3F, 0x02, 0x00, 'o',  'k'};
  BinaryReader in(data);
  EXPECT_EQ(in.ReadI16(), -2);
  EXPECT_EQ(in.ReadU32(), 0x12345678u);
  EXPECT_EQ(in.ReadF64(), 1.0);
  EXPECT_EQ(in.ReadText16(), "ok");
  EXPECT_TRUE(in.AtEnd());
  EXPECT_FALSE(in.Failed());
}

TEST(BinaryReaderTest, AFailedReadUsesUpTheData) {
  struct Case {
    std::vector<std::uint8_t> data;
    const char* what;
  };
  const Case cases[] = {
      {{0x01, 0x02, 0x03}, "Input past end of file"},                // 4-byte read, 3 left
      {{0x05, 0x00, 'a', 'b', 'c', 'd'}, "Input past end of file"},  // length 5, 4 left
      {{0xFF, 0xFF, 'a', 'b', 'c', 'd'}, "Bad record length"},       // length -1
      {{0x00, 0x80, 'a', 'b', 'c', 'd'}, "Bad record length"},       // length -32768
  };
  for (const Case& c : cases) {
    BinaryReader in(c.data);
    try {
      if (c.data.size() == 3) {
        in.ReadI32();
      } else {
        in.ReadText16();
      }
      ADD_FAILURE() << "no error";
    } catch (const ReadError& e) {
      EXPECT_EQ(std::string(e.what()), c.what);
    }
    EXPECT_TRUE(in.Failed());
    EXPECT_TRUE(in.AtEnd());
    EXPECT_THROW(in.ReadU8(), ReadError);
  }
}

TEST(BinaryReaderTest, AHugeLengthFailsWithoutAllocating) {
  const std::vector<std::uint8_t> data(16, 0);
  BinaryReader in(data);
  EXPECT_THROW(in.ReadBytes(std::numeric_limits<std::int32_t>::max()), ReadError);
  BinaryReader again(data);
  EXPECT_THROW(again.ReadChars(std::numeric_limits<std::int64_t>::max()), ReadError);
}

}  // namespace
}  // namespace quorvel
