// quorvel-cli nullmodem: usage errors in-process, and the real program run
// as a child: two paths printed, bytes forwarded, links, a clean end on SIGTERM.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>

#include "../platform/LineTestSupport.h"
#include "CliTestSupport.h"
#include "platform/TermiosLine.h"

extern char** environ;

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;
using platform::ReadFd;

TEST(NullModemCommand, RefusesBadArgumentsBeforeAnythingStarts) {
  for (const Args& args : std::vector<Args>{
           {"--baud", "0"}, {"--drop", "-2"}, {"--noise"}, {"COM1"}, {"--link", "/nonexistent/quorvel"}}) {
    Args line = {"nullmodem"};
    line.insert(line.end(), args.begin(), args.end());
    const CliRun run = RunCli(line);
    EXPECT_EQ(run.status, kUsage) << args[0];
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("usage: quorvel-cli nullmodem [--baud B]"), std::string::npos) << run.err;
  }
}

std::string Text(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

// Ends the child on the way out of a failed test, so that no forwarder is left running.
struct Child {
  pid_t pid = 0;
  ~Child() {
    if (pid > 0 && kill(pid, SIGKILL) == 0) waitpid(pid, nullptr, 0);
  }
};

TEST(NullModemCommand, ForwardsBetweenThePrintedPathsUntilTerminated) {
  const std::string program = std::string(QUORVEL_BIN_DIR) + "/quorvel-cli";
  if (access(program.c_str(), X_OK) != 0) GTEST_SKIP() << "quorvel-cli not built";
  const platform::TempDir dir;
  int out[2], err[2];
  ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
  ASSERT_EQ(pipe2(err, O_CLOEXEC), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err[1], 2);
  std::vector<std::string> args = {program, "nullmodem", "--flip", "2", "--link", dir.path().string()};
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  Child child;
  ASSERT_EQ(posix_spawn(&child.pid, program.c_str(), &actions, nullptr, argv.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  close(err[1]);

  std::string printed;  // two paths, a line each
  while (std::count(printed.begin(), printed.end(), '\n') < 2) {
    const auto more = ReadFd(out[0], 1);
    if (more.empty()) break;
    printed += Text(more);
  }
  const std::string pathA = printed.substr(0, printed.find('\n'));
  const std::string pathB = printed.substr(pathA.size() + 1, printed.size() - pathA.size() - 2);
  ASSERT_EQ(pathA.rfind("/dev/pts/", 0), 0U) << printed;
  EXPECT_EQ(fs::read_symlink(dir.path() / "COM1"), fs::path(pathA));
  EXPECT_EQ(fs::read_symlink(dir.path() / "COM2"), fs::path(pathB));
  {
    platform::TermiosLine com1((dir.path() / "COM1").string());
    platform::TermiosLine com2((dir.path() / "COM2").string());
    ASSERT_FALSE(com1.Open({}));
    ASSERT_FALSE(com2.Open({}));
    com1.Write(std::vector<std::uint8_t>{0x10, 0x20, 0x30, 0x40});
    // Every 2nd character flipped: bit 0 of the 2nd, bit 1 of the 4th.
    EXPECT_EQ(platform::ReadLine(com2, 4), (std::vector<std::uint8_t>{0x10, 0x21, 0x30, 0x42}));
  }

  ASSERT_EQ(kill(child.pid, SIGTERM), 0);
  int status = 0;
  ASSERT_EQ(waitpid(child.pid, &status, 0), child.pid);
  child.pid = 0;
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  const std::string summary = Text(ReadFd(err[0], 1000));
  EXPECT_NE(summary.find(pathA + " -> " + pathB + ": 4 in, 4 out, 2 flipped"), std::string::npos) << summary;
  EXPECT_FALSE(fs::exists(fs::symlink_status(dir.path() / "COM1")));
  close(out[0]);
  close(err[0]);
}

}  // namespace
}  // namespace quorvel::cli
