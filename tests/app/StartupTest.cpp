// Start-up: the title, the two name rules of a hand-off, the decision between
// first and later copy in-process, and the real program run as two copies.

#include "app/Startup.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>

#include "SessionTestSupport.h"

extern char** environ;

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

const std::string kBinDir = QUORVEL_BIN_DIR;

TEST(Startup, TitleHasPlainVersionNumbers) {
  EXPECT_EQ(MakeProgramTitle(kVersionMajor, kVersionMinor), "Quorvel 1.0");
  EXPECT_EQ(MakeProgramTitle(2, 15), "Quorvel 2.15");
  EXPECT_EQ(MakeProgramTitle(10, 5), "Quorvel 10.5");
}

TEST(Startup, CommandLineIsTheArgumentsJoinedWithSingleBlanks) {
  using Args = std::vector<const char*>;
  struct Case {
    Args args;
    const char* expected;
  };
  for (const Case& c : {Case{{}, ""}, Case{{"a.qvc"}, "a.qvc"}, Case{{"\"/x/a", "b.qvc\""}, "\"/x/a b.qvc\""},
                        Case{{"", "x"}, " x"}, Case{{"a  b", "c"}, "a  b c"}}) {
    EXPECT_EQ(WholeCommandLine(c.args), c.expected);
  }
}

TEST(Startup, LaterCopyDropsOnlyDoubleQuotes) {
  struct Case {
    const char* line;
    const char* name;
  };
  for (const Case& c :
       {Case{"\"C:\\dir\\a b.qvc\"", "C:\\dir\\a b.qvc"}, Case{" Plant.QVC ", " Plant.QVC "}, Case{"a\"b\"\"c", "abc"},
        Case{"\"\"", ""}, Case{"one.qvc two.qvc", "one.qvc two.qvc"}, Case{"'x.qvc'", "'x.qvc'"}}) {
    EXPECT_EQ(HandOffName(c.line), c.name) << c.line;
  }
}

TEST(Startup, FirstCopyTakesOnlyNamesEndingInLowerCaseQvc) {
  struct Case {
    const char* name;
    bool taken;
  };
  for (const Case& c : {Case{"a.qvc", true}, Case{"qvc", true}, Case{"/x/A B.qvc", true}, Case{"", false},
                        Case{"vc", false}, Case{"a.QVC", false}, Case{"a.Qvc", false}, Case{"a.qvs", false},
                        Case{"a.qvc ", false}, Case{"a.qvc.bak", false}}) {
    EXPECT_EQ(IsHandOffProject(c.name), c.taken) << c.name;
  }
}

TEST(Startup, ReceivedNameOpensAProjectAsGivenOrNothing) {
  const testing::TempDir dir;
  const std::string project = testing::WriteTestProject(dir.Make("my plant/Boiler.qvc"));
  // Files that exist under each name (the upper-case one lowered too), so
  // that only the rule keeps them shut.
  const std::string upper = testing::WriteTestProject(dir.Make("my plant/Boiler.QVC"));
  testing::WriteTestProject(dir.Make("my plant/boiler.qvc"));
  const std::string session = dir.Make("my plant/Boiler.qvs");
  testing::WriteBytes(session, testing::ReadBytes(QUORVEL_TEST_DATA "/../../samples/Coriolis.qvs"));

  testing::TestFrame t;
  for (const std::string& ignored : {upper, session, std::string()}) {
    EXPECT_EQ(Form_LinkOpen(t.frame, ignored), nullptr) << ignored;
  }
  EXPECT_TRUE(t.frame.Devices().empty());
  EXPECT_TRUE(t.messages.empty());

  const frmQuorvel* window = Form_LinkOpen(t.frame, project);
  ASSERT_NE(window, nullptr);
  ASSERT_EQ(t.frame.Devices().size(), 1U);
  EXPECT_EQ(window->ProjectFile(), project) << "opened as given, not lowered";

  EXPECT_EQ(Form_LinkOpen(t.frame, dir.Make("my plant/Missing.qvc")), nullptr);
  EXPECT_EQ(t.frame.Devices().size(), 1U);
}

TEST(Startup, ProgramDirectoryIsWhereThisProgramLives) {
  const std::string directory = ProgramDirectory();
  ASSERT_FALSE(directory.empty());
  EXPECT_EQ(directory.back(), '/');
  EXPECT_EQ(fs::canonical(directory), fs::canonical(kBinDir));
}

TEST(Startup, UnsafeLinkDirectoryLeavesAFirstCopyWithoutLink) {
  const testing::TempDir dir;
  const std::string linkDir = (dir.path() / "quorvel").string();
  ASSERT_EQ(mkdir(linkDir.c_str(), 0777), 0);
  ASSERT_EQ(chmod(linkDir.c_str(), 0777), 0);
  auto first = Main({}, linkDir);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->Link, nullptr);
  EXPECT_NE(first->LinkProblem.find(linkDir), std::string::npos) << first->LinkProblem;
  EXPECT_FALSE(fs::exists(linkDir + "/link"));
}

// The real program as a child process, its output collected as it comes.
class Copy {
 public:
  Copy(const std::vector<std::string>& args, const fs::path& home) {
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
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
    close(out[1]);
    close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }
  ~Copy() {
    if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
    if (out_ >= 0) close(out_);
    if (err_ >= 0) close(err_);
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  bool Started() const { return pid_ > 0; }
  pid_t Pid() const { return pid_; }
  const std::string& Out() const { return outText_; }
  const std::string& Err() const { return errText_; }

  // Collects output for up to `ms`, or until `done` holds; 0 takes only what is there.
  template <typename Done>
  void Collect(int ms, Done done) {
    const auto end = Clock::now() + milliseconds(ms);
    do {
      pollfd p[2] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
      const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now()).count();
      if (poll(p, 2, static_cast<int>(std::max<long long>(left, 0))) <= 0) break;
      Drain(p[0], out_, outText_);
      Drain(p[1], err_, errText_);
    } while (!done() && (out_ >= 0 || err_ >= 0) && Clock::now() < end);
  }
  void Collect() {
    Collect(0, [] { return false; });
  }

  // The exit status once the process has ended within `ms`: both pipes at
  // their end, then reaped.
  std::optional<int> Exit(int ms) {
    Collect(ms, [this] { return out_ < 0 && err_ < 0; });
    if (out_ >= 0 || err_ >= 0) return std::nullopt;
    int status = 0;
    if (waitpid(pid_, &status, 0) != pid_) return std::nullopt;
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  void Kill(int signal) { kill(pid_, signal); }

 private:
  static void Drain(const pollfd& p, int& fd, std::string& text) {
    if (fd < 0 || !(p.revents & (POLLIN | POLLHUP))) return;
    char buffer[4096];
    const ssize_t n = read(fd, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
    } else {
      close(fd);
      fd = -1;
    }
  }

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  std::string outText_;
  std::string errText_;
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
    Copy later(args, home.path());
    EXPECT_TRUE(later.Started());
    EXPECT_EQ(later.Exit(5000), 0);
    EXPECT_EQ(later.Out(), "");
    EXPECT_EQ(later.Err(), "");
    // The later copy ends only after the first has acted, so anything the
    // first copy opened is already in its output.
    first.Collect();
    return first.Out().substr(before);
  }

  static bool WaitFor(const std::function<bool()>& done, int ms) {
    const auto end = Clock::now() + milliseconds(ms);
    while (!done() && Clock::now() < end) usleep(2000);
    return done();
  }
};

TEST_F(TwoCopies, LaterCopiesHandOverProjectsOnly) {
  Copy first({}, home.path());
  ASSERT_TRUE(first.Started());
  ASSERT_TRUE(WaitFor([&] { return fs::is_socket(socket); }, 5000)) << "first copy never listened";

  struct Case {
    const char* what;
    std::vector<std::string> args;
    std::string opened;
  };
  const std::size_t blank = project.find("my projects") + 2;
  for (const Case& c : {Case{"quoted name with a blank", {"\"" + project + "\""}, "Opened: " + project + "\n"},
                        Case{"unquoted, split at the blank",
                             {project.substr(0, blank), project.substr(blank + 1)},
                             "Opened: " + project + "\n"},
                        Case{"upper-case extension", {"\"" + upper + "\""}, ""},
                        Case{"session file", {"\"" + session + "\""}, ""}, Case{"no argument", {}, ""}}) {
    EXPECT_EQ(HandOff(first, c.args), c.opened) << c.what;
  }
  EXPECT_EQ(first.Err(), "");

  first.Kill(SIGTERM);
  EXPECT_EQ(first.Exit(5000), 0);
  EXPECT_FALSE(fs::exists(socket)) << "a clean end takes its socket along";
}

TEST_F(TwoCopies, FirstCopyOpensItsOwnFileAndACrashLeavesNothingInTheWay) {
  // Lowered, the name names no file, so the first copy opens it as given.
  const std::string opened = "Opened: " + upper + "\n";
  {
    Copy first({"\"" + upper + "\""}, home.path());
    ASSERT_TRUE(first.Started());
    first.Collect(5000, [&] { return first.Out() == opened; });
    ASSERT_EQ(first.Out(), opened);
    first.Kill(SIGKILL);
    EXPECT_EQ(first.Exit(5000), 128 + SIGKILL);
  }
  ASSERT_TRUE(fs::is_socket(socket)) << "the crashed copy's socket is left behind";

  // The next first copy takes over; it listens before it opens its own file.
  Copy next({"\"" + upper + "\""}, home.path());
  next.Collect(5000, [&] { return next.Out() == opened; });
  ASSERT_EQ(next.Out(), opened);
  EXPECT_EQ(HandOff(next, {"\"" + project + "\""}), "Opened: " + project + "\n");
  next.Kill(SIGTERM);
  EXPECT_EQ(next.Exit(5000), 0);
}

}  // namespace
}  // namespace quorvel
