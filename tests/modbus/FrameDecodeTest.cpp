// The decoder that the traffic log, the Monitor and the command line read
// frames with: every function the master and slave know, both ways, the
// exception answers, broken frames and ASCII.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ModbusTestSupport.h"
#include "modbus/FrameDecode.h"

namespace quorvel::MODBUS {
namespace {

using test::AsAscii;
using test::Bytes;

struct Row {
  const char* name;
  Bytes message;  // sealed as RTU by the test
  bool asResponse;
  std::string summary;
  FrameRole role;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class DecodeRow : public testing::TestWithParam<Row> {};

TEST_P(DecodeRow, SaysWhatTheFrameCarries) {
  const Row& row = GetParam();
  // An answer is read against the request for reads at address 100.
  DecodedFrame request;
  request.address = 100;
  request.count = 10;
  const DecodedFrame f =
      DecodeFrame(test::WithCrc(row.message), false, row.asResponse, row.asResponse ? &request : nullptr);
  EXPECT_EQ(f.role, row.role);
  EXPECT_EQ(Summary(f), row.summary);
  // The same frame as ASCII says the same.
  EXPECT_EQ(Summary(DecodeFrame(AsAscii(row.message), true, row.asResponse, row.asResponse ? &request : nullptr)),
            row.summary);
}

const Row kRows[] = {
    {"ReadCoils", {1, 1, 0, 100, 0, 10}, false, "1 Read Coils 100 x10", FrameRole::Request},
    {"ReadCoilsAnswer", {1, 1, 2, 0xA5, 0x01}, true, "1 Read Coils 100 x10: 1 0 1 0 0 1 0 1 1 0", FrameRole::Response},
    {"ReadInputs", {2, 2, 0, 0, 0, 3}, false, "2 Read Discrete Inputs 0 x3", FrameRole::Request},
    {"ReadHolding", {17, 3, 0, 0, 0, 2}, false, "17 Read Holding Registers 0 x2", FrameRole::Request},
    {"ReadHoldingAnswer",
     {17, 3, 4, 0x04, 0xD2, 0xFF, 0xFE},
     true,
     "17 Read Holding Registers 100 x10: 1234 65534",
     FrameRole::Response},
    {"ReadInputRegisters", {17, 4, 0, 1, 0, 1}, false, "17 Read Input Registers 1 x1", FrameRole::Request},
    {"WriteCoil", {1, 5, 0, 3, 0xFF, 0}, false, "1 Write Single Coil 3 x1: 1", FrameRole::Request},
    {"WriteCoilAnswer", {1, 5, 0, 3, 0, 0}, true, "1 Write Single Coil 3 x1: 0", FrameRole::Response},
    {"WriteRegister", {1, 6, 0, 9, 0x30, 0x39}, false, "1 Write Single Register 9 x1: 12345", FrameRole::Request},
    {"WriteCoils", {1, 15, 0, 0, 0, 3, 1, 0x05}, false, "1 Write Multiple Coils 0 x3: 1 0 1", FrameRole::Request},
    {"WriteCoilsAnswer", {1, 15, 0, 0, 0, 3}, true, "1 Write Multiple Coils 0 x3", FrameRole::Response},
    {"WriteRegisters",
     {1, 16, 0, 4, 0, 2, 4, 0, 1, 0, 2},
     false,
     "1 Write Multiple Registers 4 x2: 1 2",
     FrameRole::Request},
    {"MaskWrite",
     {1, 22, 0, 4, 0x00, 0xF2, 0x00, 0x25},
     false,
     "1 Mask Write Register 4 x1 AND 00F2 OR 0025",
     FrameRole::Request},
    {"ReadWrite",
     {1, 23, 0, 0, 0, 2, 0, 8, 0, 1, 2, 0x12, 0x34},
     false,
     "1 Read/Write Multiple Registers 0 x2; write 8 x1: 4660",
     FrameRole::Request},
    {"ReadWriteAnswer",
     {1, 23, 4, 0, 7, 0, 8},
     true,
     "1 Read/Write Multiple Registers 100 x10: 7 8",
     FrameRole::Response},
    {"Exception", {17, 0x83, 2}, true, "17 Read Holding Registers: ILLEGAL DATA ADDRESS", FrameRole::Exception},
    {"UnknownFunction", {1, 43, 14, 1}, false, "1 Function 43", FrameRole::Request},
    {"ByteCountWrong",
     {17, 3, 5, 0x04, 0xD2},
     true,
     "17 Read Holding Registers: fields do not fit the function",
     FrameRole::Broken},
    {"WriteCountWrong",
     {1, 16, 0, 4, 0, 2, 3, 0, 1, 0, 2},
     false,
     "1 Write Multiple Registers: fields do not fit the function",
     FrameRole::Broken},
};

INSTANTIATE_TEST_SUITE_P(Functions, DecodeRow, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Row>& info) { return std::string(info.param.name); });

TEST(FrameDecode, BrokenFramesSayWhy) {
  Bytes crcWrong = test::WithCrc({1, 3, 0, 0, 0, 2});
  crcWrong.back() ^= 1;
  const DecodedFrame f = DecodeFrame(crcWrong, false, false);
  EXPECT_EQ(f.role, FrameRole::Broken);
  EXPECT_FALSE(f.Ok());
  EXPECT_EQ(Summary(f), "1 Read Holding Registers: CRC error");
  EXPECT_EQ(Summary(DecodeFrame(Bytes{0x01, 0x03}, false, true)), "1 Read Holding Registers: too short");
  const std::string lrcWrong = ":010300000002F9\r\n";
  EXPECT_EQ(Summary(DecodeFrame(Bytes(lrcWrong.begin(), lrcWrong.end()), true, false)),
            "1 Read Holding Registers: LRC error");
  EXPECT_EQ(HexBytes(Bytes{0x01, 0xAB, 0x00}), "01 AB 00");
}

}  // namespace
}  // namespace quorvel::MODBUS
