// The device backend against pseudo-terminals: settings applied and put back,
// unplugging.

#include <gtest/gtest.h>
#include <unistd.h>

#include "LineTestSupport.h"
#include "platform/PtyPair.h"
#include "platform/Termios2.h"
#include "platform/TermiosLine.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr tcflag_t kFraming = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB;

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

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
  ASSERT_EQ(write(pty->Master(), "back", 4), 4);
  EXPECT_EQ(ReadLine(line, 4), Bytes("back"));
}

}  // namespace
}  // namespace quorvel::platform
