// The null-modem forwarder run in-process on a thread: what damage does to the bytes.

#include <gtest/gtest.h>

#include <numeric>

#include "LineTestSupport.h"
#include "platform/NullModem.h"
#include "platform/TermiosLine.h"

namespace quorvel::platform {
namespace {

// A NullModem forwarding on its own thread, with both ends opened as lines.
struct RunningModem : Running<NullModem> {
  explicit RunningModem(const NullModemOptions& options = {}) : Running(options) {
    EXPECT_FALSE(a.Open({}));
    EXPECT_FALSE(b.Open({}));
    Start();
  }

  NullModem& modem = forwarder;
  TermiosLine a{modem.Path(End::A)};
  TermiosLine b{modem.Path(End::B)};
};

std::vector<std::uint8_t> Counting(std::size_t n) {
  std::vector<std::uint8_t> bytes(n);
  std::iota(bytes.begin(), bytes.end(), 0);
  return bytes;
}

struct DamageCase {
  DamageOptions damage;
  std::size_t sent, arriving;
  std::uint64_t dropped, flipped, noise;
};

void PrintTo(const DamageCase& c, std::ostream* out) {
  *out << "drop " << c.damage.dropEvery << ", flip " << c.damage.flipEvery << ", noise " << c.damage.noiseEvery;
}

class NullModemDamage : public ::testing::TestWithParam<DamageCase> {};

TEST_P(NullModemDamage, SpoilsEveryNthCharacter) {
  const DamageCase& c = GetParam();
  RunningModem running({0, c.damage});
  running.a.Write(Counting(c.sent));
  const auto got = ReadLine(running.b, c.arriving);
  SleepMs(20);  // nothing more may come
  EXPECT_EQ(running.b.BytesAvailable(), 0U);
  ASSERT_EQ(got.size(), c.arriving);
  running.Stop();
  const NullModemCounts counts = running.modem.Counts(End::A);
  EXPECT_EQ(counts.received, c.sent);
  EXPECT_EQ(counts.dropped, c.dropped);
  EXPECT_EQ(counts.flipped, c.flipped);
  EXPECT_EQ(counts.noise, c.noise);
  if (c.damage.dropEvery == 4) {
    // The 4th, 8th, ... character (values 3, 7, ...) is gone.
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], i / 3 * 4 + i % 3) << i;
  }
  if (c.damage.flipEvery == 10) {
    // The 10th character (value 9) has bit 0 inverted, the 20th (19) bit 1.
    EXPECT_EQ(got[9], 9 ^ 1);
    EXPECT_EQ(got[19], 19 ^ 2);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, NullModemDamage,
                         ::testing::Values(DamageCase{{4, 0, 0}, 100, 75, 25, 0, 0},
                                           DamageCase{{0, 10, 0}, 100, 100, 0, 10, 0},
                                           DamageCase{{0, 0, 5}, 100, 120, 0, 0, 20}),
                         [](const ::testing::TestParamInfo<DamageCase>& info) {
                           const DamageOptions& d = info.param.damage;
                           return std::string(d.dropEvery != 0 ? "Drop" : d.flipEvery != 0 ? "Flip" : "Noise");
                         });

// Whether each end hears itself is judged by order, not by waiting: the
// forwarder hands out a character's copies before it takes the next write,
// so whatever an end hears of its own bytes comes before the other end's
// reply, and a missing or doubled copy shows up in the reply's place.
class NullModemEcho : public ::testing::TestWithParam<bool> {};

TEST_P(NullModemEcho, EachEndHearsItselfOnlyWithEchoAndTheOtherEndOnce) {
  const bool echo = GetParam();
  NullModemOptions options;
  options.echo = echo;
  RunningModem running(options);
  const std::vector<std::uint8_t> request = Counting(8), answer = {0xA5, 0x5A, 0x00}, last = {0x7E};

  running.a.Write(request);
  EXPECT_EQ(ReadLine(running.b, request.size()), request);
  if (echo) {
    EXPECT_EQ(ReadLine(running.a, request.size()), request);
  }
  running.b.Write(answer);
  EXPECT_EQ(ReadLine(running.a, answer.size()), answer);
  if (echo) {
    EXPECT_EQ(ReadLine(running.b, answer.size()), answer);
  }
  running.a.Write(last);
  EXPECT_EQ(ReadLine(running.b, last.size()), last);
  if (echo) {
    EXPECT_EQ(ReadLine(running.a, last.size()), last);
  }

  running.Stop();
  // The counts are of what went to the other end.
  EXPECT_EQ(running.modem.Counts(End::A).delivered, request.size() + last.size());
  EXPECT_EQ(running.modem.Counts(End::B).delivered, answer.size());
}

INSTANTIATE_TEST_SUITE_P(WithAndWithout, NullModemEcho, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return std::string(info.param ? "Echo" : "NoEcho");
                         });

}  // namespace
}  // namespace quorvel::platform
