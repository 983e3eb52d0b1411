// The RTU <-> MBAP translation: transaction and unit ids, answers that are not
// the one awaited, lengths that lie, and streams that end mid-frame.

#include <gtest/gtest.h>

#include <vector>

#include "ModbusTestSupport.h"
#include "modbus/MbapCodec.h"

namespace quorvel::MODBUS {
namespace {

using test::Bytes;
using test::WithCrc;

const Bytes kReadRequest = WithCrc({0x11, 0x03, 0x00, 0x6B, 0x00, 0x03});
const Bytes kReadAnswer = WithCrc({0x11, 0x03, 0x06, 0x02, 0x2B, 0x00, 0x00, 0x00, 0x64});

Bytes Mbap(std::uint16_t tid, std::uint8_t unit, const Bytes& pdu, std::uint16_t protocol = 0) {
  return EncodeMbap({{tid, protocol, unit}, pdu});
}

TEST(MbapCodec, RequestsGoOutUnderRisingTransactionIdsWithTheAddressAsUnit) {
  MbapClient client;
  const Bytes first = client.Request(kReadRequest);
  EXPECT_EQ(first, (Bytes{0x00, 0x01, 0x00, 0x00, 0x00, 0x06, 0x11, 0x03, 0x00, 0x6B, 0x00, 0x03}));
  const Bytes second = client.Request(WithCrc({0x05, 0x01, 0x00, 0x00, 0x00, 0x08}));
  ASSERT_GE(second.size(), kMbapHeaderSize);
  EXPECT_EQ(second[1], 0x02);
  EXPECT_EQ(second[6], 0x05);
  EXPECT_EQ(client.Transaction(), 2);
}

TEST(MbapCodec, TransactionIdWrapsAfter65535) {
  MbapClient client;
  for (int i = 0; i < 65535; ++i) client.Request(kReadRequest);
  EXPECT_EQ(client.Transaction(), 65535);
  const Bytes wrapped = client.Request(kReadRequest);
  EXPECT_EQ(wrapped[0], 0x00);
  EXPECT_EQ(wrapped[1], 0x00);
}

TEST(MbapCodec, BytesThatAreNoSealedFrameAreNotCarriedAndUseNoId) {
  MbapClient client;
  Bytes damaged = kReadRequest;
  damaged.back() ^= 0xFF;
  for (const Bytes& bad : {damaged, Bytes{0x11, 0x03}, Bytes{}, Bytes(300, 0x11)})
    EXPECT_TRUE(client.Request(bad).empty()) << bad.size();
  EXPECT_FALSE(client.Sent());
}

TEST(MbapCodec, OnlyTheAwaitedAnswerBecomesTheRtuFrameWithItsCrc) {
  MbapClient client;
  const Bytes pdu(kReadAnswer.begin() + 1, kReadAnswer.end() - 2);
  EXPECT_FALSE(client.Answer({{0, 0, 0x11}, pdu}).has_value()) << "nothing was asked yet";
  client.Request(kReadRequest);
  client.Request(kReadRequest);
  EXPECT_FALSE(client.Answer({{1, 0, 0x11}, pdu}).has_value()) << "the answer to the request before";
  EXPECT_FALSE(client.Answer({{3, 0, 0x11}, pdu}).has_value()) << "an id never used";
  EXPECT_EQ(client.Answer({{2, 0, 0x11}, pdu}), kReadAnswer);
}

TEST(MbapCodec, TheUnitIdIsTheAddressOfTheRtuFrameBothWays) {
  for (const std::uint8_t unit : {0, 1, 247, 255}) {
    const std::optional<MbapFrame> frame = MbapFromRtu(WithCrc({unit, 0x04, 0x00, 0x00, 0x00, 0x01}), {7, 0, 0});
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->header.unit, unit);
    EXPECT_EQ(frame->header.transaction, 7);
    EXPECT_EQ(RtuFromMbap(*frame).front(), unit);
  }
}

TEST(MbapCodec, ExceptionAnswerEchoesAddressAndFunction) {
  EXPECT_EQ(RtuException(kReadRequest, 0x0B), WithCrc({0x11, 0x83, 0x0B}));
  EXPECT_TRUE(RtuException(Bytes{0x11}, 0x0B).empty());
}

TEST(MbapReader, CutsFramesFromAStreamInAnyPieces) {
  const Bytes a = Mbap(1, 0x11, {0x03, 0x02, 0x00, 0x2A});
  const Bytes b = Mbap(2, 0x12, {0x06, 0x00, 0x01, 0x00, 0x02});
  Bytes stream = a;
  stream.insert(stream.end(), b.begin(), b.end());
  for (std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{7}, stream.size()}) {
    MbapReader reader;
    std::vector<MbapFrame> frames;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
      reader.Feed(std::span(stream).subspan(at, std::min(piece, stream.size() - at)));
      while (auto frame = reader.Next()) frames.push_back(*frame);
    }
    ASSERT_EQ(frames.size(), 2u) << "pieces of " << piece;
    EXPECT_EQ(frames[0].header.transaction, 1);
    EXPECT_EQ(frames[1].header.unit, 0x12);
    EXPECT_EQ(frames[1].pdu, (Bytes{0x06, 0x00, 0x01, 0x00, 0x02}));
    EXPECT_EQ(reader.Partial(), 0u);
  }
}

struct LyingHeader {
  const char* name;
  Bytes bytes;
};

class MbapReaderLies : public testing::TestWithParam<LyingHeader> {};

TEST_P(MbapReaderLies, LeaveTheStreamBroken) {
  MbapReader reader;
  reader.Feed(GetParam().bytes);
  EXPECT_FALSE(reader.Next().has_value());
  EXPECT_TRUE(reader.Broken());
  // Nothing after it is trusted, not even a good frame.
  reader.Feed(Mbap(1, 1, {0x03, 0x00}));
  EXPECT_FALSE(reader.Next().has_value());
}

INSTANTIATE_TEST_SUITE_P(MbapCodec, MbapReaderLies,
                         testing::Values(LyingHeader{"LengthZero", {0, 1, 0, 0, 0, 0, 1, 3}},
                                         LyingHeader{"LengthOfUnitAlone", {0, 1, 0, 0, 0, 1, 1, 3}},
                                         LyingHeader{"LengthBeyondAnyPdu", {0, 1, 0, 0, 0x01, 0x00, 1, 3}},
                                         LyingHeader{"ProtocolNotModbus", Mbap(1, 1, {0x03, 0x00}, 0x0001)}),
                         [](const testing::TestParamInfo<LyingHeader>& info) { return std::string(info.param.name); });

TEST(MbapReader, ALengthLongerThanWhatCameLeavesAPartialFrame) {
  // The header promises 9 bytes after the unit id; the connection ends after 3.
  MbapReader reader;
  reader.Feed(Bytes{0x00, 0x01, 0x00, 0x00, 0x00, 0x0A, 0x11, 0x03, 0x06, 0x02});
  EXPECT_FALSE(reader.Next().has_value());
  EXPECT_FALSE(reader.Broken());
  EXPECT_EQ(reader.Partial(), 10u);
  reader.Reset();
  EXPECT_EQ(reader.Partial(), 0u);
}

TEST(MbapReader, ALengthShorterThanThePduCutsTheAnswerAndBreaksOnTheRest) {
  // The length covers the byte count only: the answer comes short, and its
  // registers are read as the next header, which cannot be.
  MbapReader reader;
  reader.Feed(Bytes{0x00, 0x01, 0x00, 0x00, 0x00, 0x03, 0x11, 0x03, 0x04, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE});
  const auto cut = reader.Next();
  ASSERT_TRUE(cut.has_value());
  EXPECT_EQ(cut->pdu, (Bytes{0x03, 0x04}));
  EXPECT_FALSE(reader.Next().has_value());
  EXPECT_TRUE(reader.Broken());
}

}  // namespace
}  // namespace quorvel::MODBUS
