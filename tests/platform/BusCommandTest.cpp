// quorvel-cli bus run as a user runs it, as a program of its own: the ends it
// prints, the links it makes and takes away, and what it refuses.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <optional>
#include <string>

#include "LineTestSupport.h"
#include "platform/TermiosLine.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;

// The program with its standard output on a pipe; killed if still running
// when the test ends.
class Cli {
 public:
  explicit Cli(std::vector<std::string> args) {
    args.insert(args.begin(), QUORVEL_BIN_DIR "/quorvel-cli");
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      // A test program killed by its time limit takes the bus with it.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      dup2(out[1], 1);
      execv(argv[0], argv.data());
      _exit(127);
    }
    close(out[1]);
    out_ = out[0];
  }
  ~Cli() {
    if (!status_ && pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    if (out_ >= 0) close(out_);
  }

  // The first `count` lines printed, fewer if the program ends or time is up.
  std::vector<std::string> Lines(std::size_t count, int timeoutMs = 5000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::string text;
    std::size_t lines = 0;
    while (lines < count && std::chrono::steady_clock::now() < end) {
      pollfd fd{out_, POLLIN, 0};
      if (poll(&fd, 1, 10) <= 0) continue;
      char c[256];
      const ssize_t n = read(out_, c, sizeof c);
      if (n <= 0) break;
      text.append(c, static_cast<std::size_t>(n));
      lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }
    std::vector<std::string> result;
    for (std::size_t start = 0, stop; (stop = text.find('\n', start)) != std::string::npos; start = stop + 1)
      result.push_back(text.substr(start, stop - start));
    return result;
  }

  // Sends `signal` (none: let it end by itself) and waits for the exit
  // status; nullopt if it has not ended in time.
  std::optional<int> End(int signal = 0, int timeoutMs = 5000) {
    if (signal != 0) kill(pid_, signal);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    int status = 0;
    while (!status_ && std::chrono::steady_clock::now() < end) {
      if (waitpid(pid_, &status, WNOHANG) == pid_)
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
      else
        SleepMs(5);
    }
    return status_;
  }

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  std::optional<int> status_;
};

TEST(BusCommand, LinksEachEndByNumberUntilStopped) {
  const TempDir dir;
  // A link left by a run that was killed is replaced.
  fs::create_symlink("/dev/quorvel-gone", dir.path() / "2");
  Cli bus({"bus", "--ends", "3", "--baud", "115200", "--link", dir.path().string()});
  const std::vector<std::string> paths = bus.Lines(3);
  ASSERT_EQ(paths.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    std::error_code ec;
    EXPECT_EQ(fs::read_symlink(dir.path() / std::to_string(i + 1), ec), fs::path(paths[i])) << i + 1;
  }

  // The links lead onto the bus: what end 1 says, end 3 hears.
  TermiosLine first((dir.path() / "1").string()), third((dir.path() / "3").string());
  ASSERT_FALSE(first.Open({}));
  ASSERT_FALSE(third.Open({}));
  const std::vector<std::uint8_t> frame = {0x01, 0x03, 0x00, 0x00, 0x00, 0x0A, 0xC5, 0xCD};
  first.Write(frame);
  EXPECT_EQ(ReadLine(third, frame.size()), frame);

  EXPECT_EQ(bus.End(SIGTERM), 0);
  for (const char* name : {"1", "2", "3"}) EXPECT_FALSE(fs::exists(fs::symlink_status(dir.path() / name))) << name;
}

TEST(BusCommand, UsageErrors) {
  const TempDir dir;
  const std::vector<std::string> cases[] = {{"bus"},
                                            {"bus", "--ends", "1"},
                                            {"bus", "--ends", "17"},
                                            {"bus", "--ends", "three"},
                                            {"bus", "--ends", "3", "--baud", "0"},
                                            {"bus", "--ends", "3", "--noise", "-1"},
                                            {"bus", "--ends", "3", "--link", (dir.path() / "none").string()},
                                            {"bus", "--ends", "3", "extra"}};
  for (const auto& args : cases) {
    Cli bus(args);
    EXPECT_EQ(bus.End(), 2) << args.back();
  }
}

}  // namespace
}  // namespace quorvel::platform
