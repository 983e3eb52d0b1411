// The null-modem forwarder run in-process on a thread: transparency both
// ways, damage counts, pacing at the baud rate, and stopping.

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

#include "LineTestSupport.h"
#include "platform/NullModem.h"
#include "platform/TermiosLine.h"

namespace quorvel::platform {
namespace {

// A NullModem forwarding on its own thread, with both ends opened as lines.
class RunningModem {
 public:
  explicit RunningModem(const NullModemOptions& options = {}) : modem(options) {
    thread_ = std::thread([this] { result_ = modem.Run(); });
    EXPECT_FALSE(a.Open({}));
    EXPECT_FALSE(b.Open({}));
  }
  ~RunningModem() { Stop(); }

  int Stop() {
    if (thread_.joinable()) {
      modem.Stop();
      thread_.join();
    }
    return result_;
  }

  NullModem modem;
  TermiosLine a{modem.Path(End::A)};
  TermiosLine b{modem.Path(End::B)};

 private:
  int result_ = -1;
  std::thread thread_;
};

std::vector<std::uint8_t> Counting(std::size_t n) {
  std::vector<std::uint8_t> bytes(n);
  std::iota(bytes.begin(), bytes.end(), 0);
  return bytes;
}

TEST(NullModem, CarriesEveryByteValueBothWays) {
  RunningModem running;
  const auto all = Counting(256);
  running.a.Write(all);
  EXPECT_EQ(ReadLine(running.b, all.size()), all);
  running.b.Write(all);
  EXPECT_EQ(ReadLine(running.a, all.size()), all);
  EXPECT_EQ(running.Stop(), 0);
}

struct DamageCase {
  DamageOptions damage;
  std::size_t sent, arriving;
  std::uint64_t dropped, flipped, noise;
};

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
                                           DamageCase{{0, 0, 5}, 100, 120, 0, 0, 20},
                                           DamageCase{{2, 3, 0}, 12, 6, 6, 2, 0}));

TEST(NullModem, PacesCharactersAtTheBaudRate) {
  // 64 characters at 19200 baud take 64 * 11 / 19200 s = 36.7 ms on the wire.
  RunningModem running({19200, {}});
  const auto sent = Counting(64);
  const auto start = std::chrono::steady_clock::now();
  running.a.Write(sent);
  EXPECT_EQ(ReadLine(running.b, sent.size(), 3000), sent);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GE(took, std::chrono::microseconds(36'600));
  EXPECT_LT(took, std::chrono::milliseconds(1500));
}

}  // namespace
}  // namespace quorvel::platform
