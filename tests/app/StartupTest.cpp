// Start-up: the real program run as two copies, the later one handing its
// file to the first.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>

#include "SessionTestSupport.h"

extern char** environ;

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

const std::string kBinDir = QUORVEL_BIN_DIR;

// The real program as a child process, its output going to files.
class Copy {
 public:
  Copy(const std::vector<std::string>& args, const fs::path& home, const std::string& name)
      : out_((home / (name + ".out")).string()), err_((home / (name + ".err")).string()) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<std::string> line = {kBinDir + "/quorvel", "--headless"};
    line.insert(line.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& arg : line) argv.push_back(arg.data());
    argv.push_back(nullptr);
    // Its own runtime and settings directories: copies of other tests never meet it.
    std::vector<std::string> env = {"XDG_RUNTIME_DIR=" + (home / "run").string(),
                                    "XDG_CONFIG_HOME=" + (home / "config").string()};
    for (char** e = environ; *e; ++e) {
      const std::string entry = *e;
      if (entry.rfind("XDG_RUNTIME_DIR=", 0) != 0 && entry.rfind("XDG_CONFIG_HOME=", 0) != 0) env.push_back(entry);
    }
    std::vector<char*> envp;
    for (auto& entry : env) envp.push_back(entry.data());
    envp.push_back(nullptr);
    if (posix_spawn(&pid_, line[0].c_str(), &actions, nullptr, argv.data(), envp.data()) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Copy() {
    if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  bool Started() const { return pid_ > 0; }
  std::string Out() const { return testing::ReadBytes(out_); }
  std::string Err() const { return testing::ReadBytes(err_); }

  // The exit status once the process has ended within `ms`.
  std::optional<int> Exit(int ms) {
    int status = 0;
    for (const auto end = Clock::now() + milliseconds(ms); Clock::now() < end; usleep(2000)) {
      if (waitpid(pid_, &status, WNOHANG) != pid_) continue;
      pid_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return std::nullopt;
  }

  void Kill(int signal) { kill(pid_, signal); }

 private:
  pid_t pid_ = -1;
  std::string out_, err_;
};

struct TwoCopies : ::testing::Test {
  testing::TempDir home;
  // A folder whose name holds a blank, with the sample project under names
  // that only the rules tell apart, and the sample session that would open
  // windows if it were loaded.
  std::string projects = home.Make("my projects/");
  std::string project = projects + "Coriolis.qvc";
  std::string upper = projects + "Coriolis.QVC";
  std::string session = projects + "Coriolis.qvs";
  std::string socket = (home.path() / "run" / "quorvel" / "link").string();

  void SetUp() override {
    if (access((kBinDir + "/quorvel").c_str(), X_OK) != 0 || !fs::exists(kBinDir + "/Coriolis.qvc"))
      GTEST_SKIP() << "quorvel or its samples not built";
    fs::create_directories(home.path() / "run");
    for (const auto& [from, to] :
         {std::pair{"Coriolis.qvc", project}, {"Coriolis.qvc", upper}, {"Coriolis.qvs", session}})
      fs::copy_file(kBinDir + "/" + from, to);
  }

  // Runs a later copy to its end: it must end by itself, show nothing and
  // succeed. Returns what the first copy printed meanwhile.
  std::string HandOff(Copy& first, const std::vector<std::string>& args) {
    const std::size_t before = first.Out().size();
    Copy later(args, home.path(), "later");
    EXPECT_TRUE(later.Started());
    EXPECT_EQ(later.Exit(5000), 0);
    EXPECT_EQ(later.Out(), "");
    EXPECT_EQ(later.Err(), "");
    // The later copy ends only after the first has acted, so anything the
    // first copy opened is already in its output.
    return first.Out().substr(before);
  }
};

TEST_F(TwoCopies, LaterCopiesHandOverProjectsOnly) {
  Copy first({}, home.path(), "first");
  ASSERT_TRUE(first.Started());
  for (const auto end = Clock::now() + milliseconds(5000); !fs::is_socket(socket) && Clock::now() < end;) usleep(2000);
  ASSERT_TRUE(fs::is_socket(socket)) << "first copy never listened";

  struct Case {
    const char* what;
    std::vector<std::string> args;
    std::string opened;
  };
  for (const Case& c : {Case{"quoted name with a blank", {"\"" + project + "\""}, "Opened: " + project + "\n"},
                        Case{"upper-case extension", {"\"" + upper + "\""}, ""},
                        Case{"session file", {"\"" + session + "\""}, ""}, Case{"no argument", {}, ""}}) {
    EXPECT_EQ(HandOff(first, c.args), c.opened) << c.what;
  }
  EXPECT_EQ(first.Err(), "");

  first.Kill(SIGTERM);
  EXPECT_EQ(first.Exit(5000), 0);
  EXPECT_FALSE(fs::exists(socket)) << "a clean end takes its socket along";
}

}  // namespace
}  // namespace quorvel
