// The device backend against pseudo-terminals: settings applied and put back,
// exclusive opening, transparent data, reading without waiting, unplugging.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "LineTestSupport.h"
#include "platform/PtyPair.h"
#include "platform/SerialProbe.h"
#include "platform/Termios2.h"
#include "platform/TermiosLine.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr tcflag_t kFraming = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB;

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

void WriteFd(int fd, const std::vector<std::uint8_t>& bytes) {
  ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

struct FramingCase {
  LineSettings settings;
  tcflag_t framing;  // the cflag bits of kFraming expected
  unsigned speed;
};

class TermiosFraming : public ::testing::TestWithParam<FramingCase> {};

TEST_P(TermiosFraming, SetsSpeedSizeParityAndStopBits) {
  termios2 t{};  // found: 4800 7E2 as a classic speed code
  t.c_cflag = B4800 | CS7 | PARENB | CSTOPB | CREAD;
  t.c_ispeed = t.c_ospeed = 4800;
  ApplyFraming(t, GetParam().settings);
  EXPECT_EQ(t.c_cflag & kFraming, GetParam().framing);
  EXPECT_EQ(BaudRateOf(t), static_cast<int>(GetParam().speed));
  const tcflag_t speedCode = GetParam().settings.baudRate > 0 ? BOTHER : B4800;
  EXPECT_EQ(t.c_cflag & (CBAUD | CIBAUD), speedCode);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, TermiosFraming,
    ::testing::Values(
        FramingCase{{12345, 8, Parity::Odd, StopBits::One, false, RtsControl::On}, CS8 | PARENB | PARODD, 12345},
        FramingCase{{250000, 8, Parity::Mark, StopBits::OnePointFive, true, RtsControl::Toggle},
                    CS8 | PARENB | PARODD | CMSPAR | CSTOPB,
                    250000},
        // A rate and a size it cannot use leave the driver's own.
        FramingCase{{0, 9, Parity::Even, StopBits::Two, true, RtsControl::Toggle}, CS7 | PARENB | CSTOPB, 4800}));

TEST(TermiosLine, AppliesTheSettingsWhileOpenAndPutsBackWhatItFound) {
  PtyPair pty;
  termios2 found{};  // 4800 baud, two stop bits, cooked and echoing
  ASSERT_TRUE(GetTermios(pty.SlaveKeeper(), found));
  found.c_cflag = (found.c_cflag & ~(kFraming | CBAUD | CIBAUD)) | CS8 | CSTOPB | BOTHER;
  found.c_ispeed = found.c_ospeed = 4800;
  found.c_lflag |= ICANON | ECHO | ISIG;
  found.c_iflag |= ICRNL | IXON;
  found.c_oflag |= OPOST;
  found.c_cc[VMIN] = 1;
  ASSERT_TRUE(SetTermios(pty.SlaveKeeper(), found));
  ASSERT_TRUE(GetTermios(pty.SlaveKeeper(), found));

  TermiosLine line(pty.SlavePath());
  ASSERT_FALSE(line.Open({12345, 8, Parity::Mark, StopBits::One, true, RtsControl::Toggle}));
  termios2 open{};
  ASSERT_TRUE(GetTermios(pty.SlaveKeeper(), open));
  // A pseudo-terminal keeps 8 bits and no parity whatever it is told; the
  // other framing bits and the speed show what was applied.
  EXPECT_EQ(open.c_cflag & (PARODD | CMSPAR | CSTOPB), static_cast<tcflag_t>(PARODD | CMSPAR));
  EXPECT_EQ(open.c_ospeed, 12345U);
  EXPECT_EQ(open.c_lflag & (ICANON | ECHO | ISIG), 0U);
  EXPECT_EQ(open.c_cc[VMIN], 0);

  line.Close();
  termios2 after{};
  ASSERT_TRUE(GetTermios(pty.SlaveKeeper(), after));
  EXPECT_EQ(after.c_cflag, found.c_cflag);
  EXPECT_EQ(after.c_lflag, found.c_lflag);
  EXPECT_EQ(after.c_ospeed, 4800U);
}

TEST(TermiosLine, ASecondOpenerIsRefusedAndToldWhoHasThePort) {
  PtyPair pty;
  TermiosLine first(pty.SlavePath());
  TermiosLine second(pty.SlavePath());
  ASSERT_FALSE(first.Open({}));

  const OpenFailure refused = second.Open({});
  EXPECT_EQ(refused.cause, OpenCause::Held);
  ASSERT_TRUE(refused.holder.has_value());
  EXPECT_EQ(refused.holder->pid, getpid());
  EXPECT_EQ(OpenFailureText(3, refused)
                .rfind("Can not open COM3\nCOM3 is " + pty.SlavePath() + ", which is in use by process " +
                           std::to_string(getpid()),
                       0),
            0U);

  first.Close();
  EXPECT_FALSE(second.Open({}));
}

TEST(TermiosLine, WhatIsNoSerialLineFailsToOpenWithItsCause) {
  TempDir dir;
  std::ofstream(dir.path() / "plain") << "x";
  const std::pair<fs::path, OpenCause> cases[] = {{dir.path() / "missing", OpenCause::NoSuchDevice},
                                                  {dir.path() / "plain", OpenCause::NotSerial},
                                                  {"/dev/null", OpenCause::NotSerial}};
  for (const auto& [path, cause] : cases) {
    TermiosLine line(path.string());
    EXPECT_EQ(line.Open({}).cause, cause) << path;
    EXPECT_FALSE(ProbeSerialPath(path.string())) << path;
    EXPECT_EQ(line.Write(Bytes("x")).status, IoStatus::Closed);
  }
}

TEST(TermiosLine, ReadsWhatHasArrivedWithoutWaitingAndPurgesIt) {
  PtyPair pty;
  TermiosLine line(pty.SlavePath());
  ASSERT_FALSE(line.Open({}));
  std::uint8_t buffer[2];
  const auto before = Clock::now();
  const IoResult nothing = line.ReadAvailable(buffer);
  EXPECT_LT(Clock::now() - before, std::chrono::milliseconds(100));
  EXPECT_EQ(nothing.status, IoStatus::Ok);
  EXPECT_EQ(nothing.count, 0U);

  WriteFd(pty.Master(), Bytes("cde"));
  for (int i = 0; i < 2000 && line.BytesAvailable() < 3; ++i) SleepMs(1);
  EXPECT_EQ(line.BytesAvailable(), 3U);
  EXPECT_EQ(line.ReadAvailable(buffer).count, 2U);  // no more than the span holds
  EXPECT_EQ(buffer[0], 'c');
  EXPECT_EQ(line.BytesAvailable(), 1U);
  line.Purge(PurgeWhat::Input);
  EXPECT_EQ(line.BytesAvailable(), 0U);
}

TEST(TermiosLine, KeepsWhatTheDriverCannotTakeYetAndSendsItLater) {
  PtyPair pty;
  TermiosLine line(pty.SlavePath());
  ASSERT_FALSE(line.Open({}));
  // Far more than the pseudo-terminal buffers while nobody reads the other side.
  std::vector<std::uint8_t> big(256 * 1024);
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  EXPECT_EQ(line.Write(big).count, big.size());
  EXPECT_GT(line.OutputQueued(), 0U);

  std::vector<std::uint8_t> got;
  const auto end = Clock::now() + std::chrono::seconds(5);
  while (got.size() < big.size() && Clock::now() < end) {
    const auto piece = ReadFd(pty.Master(), big.size() - got.size(), 5);
    got.insert(got.end(), piece.begin(), piece.end());
    line.OutputQueued();  // any call passes the rest on
  }
  EXPECT_TRUE(got == big) << got.size() << " of " << big.size() << " bytes arrived";
  EXPECT_EQ(line.OutputQueued(), 0U);
}

TEST(TermiosLine, AnUnpluggedLineIsGoneAtOnceAndOpensAgainWhenBack) {
  TempDir dir;
  const fs::path port = dir.path() / "COM7";
  auto pty = std::make_unique<PtyPair>();
  fs::create_symlink(pty->SlavePath(), port);
  TermiosLine line(port.string());
  ASSERT_FALSE(line.Open({}));

  pty->CloseMaster();  // the adapter is pulled out
  std::uint8_t buffer[16];
  const auto before = Clock::now();
  IoResult read;
  for (int i = 0; i < 1000; ++i) read = line.ReadAvailable(buffer);
  EXPECT_LT(Clock::now() - before, std::chrono::milliseconds(500));
  EXPECT_EQ(read.status, IoStatus::Gone);
  EXPECT_TRUE(line.IsGone());
  EXPECT_EQ(line.Write(Bytes("x")).status, IoStatus::Gone);
  line.Close();

  pty = std::make_unique<PtyPair>();  // plugged in again, under the same name
  fs::remove(port);
  fs::create_symlink(pty->SlavePath(), port);
  ASSERT_FALSE(line.Open({}));
  EXPECT_FALSE(line.IsGone());
  WriteFd(pty->Master(), Bytes("back"));
  EXPECT_EQ(ReadLine(line, 4), Bytes("back"));
}

}  // namespace
}  // namespace quorvel::platform
