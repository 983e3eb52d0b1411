#include "InteropTestSupport.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace quorvel::interop {
namespace {

using Clock = std::chrono::steady_clock;

std::string ReadWhole(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::size_t LineCount(const fs::path& file) {
  const std::string text = ReadWhole(file);
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

int DecodeStatus(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return -1;
}

}  // namespace

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/quorvel-interop-XXXXXX";
  if (mkdtemp(pattern.data())) path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  if (!path_.empty()) fs::remove_all(path_, ec);
}

Child::Child(const std::vector<std::string>& argv, const fs::path& dir, const std::string& name)
    : out_(dir / (name + ".out")), err_(dir / (name + ".err")) {
  // Everything the child needs is made before fork: after it, only calls that
  // are safe between fork and exec.
  std::vector<std::string> args = argv;
  std::vector<char*> pointers;
  for (auto& arg : args) pointers.push_back(arg.data());
  pointers.push_back(nullptr);
  const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int out = open(out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const int err = open(err_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const std::string failed = "cannot run " + (args.empty() ? std::string() : args[0]) + "\n";
  const pid_t parent = getpid();
  if (in >= 0 && out >= 0 && err >= 0 && !args.empty()) {
    pid_ = fork();
    if (pid_ == 0) {
      // A test program killed by its time limit takes its children with it.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() != parent) _exit(127);
      dup2(in, 0);
      dup2(out, 1);
      dup2(err, 2);
      execv(pointers[0], pointers.data());
      [[maybe_unused]] const auto ignored = write(2, failed.data(), failed.size());
      _exit(127);
    }
  }
  for (const int fd : {in, out, err}) {
    if (fd >= 0) close(fd);
  }
  if (pid_ < 0) status_ = 127;
}

Child::~Child() { Stop(); }

bool Child::Running() {
  if (status_) return false;
  int status = 0;
  if (waitpid(pid_, &status, WNOHANG) != pid_) return true;
  status_ = DecodeStatus(status);
  return false;
}

std::optional<int> Child::Wait(std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  while (Running()) {
    if (Clock::now() >= end) return std::nullopt;
    std::this_thread::sleep_for(5ms);
  }
  return status_;
}

int Child::Stop(std::chrono::milliseconds grace) {
  if (Running()) {
    kill(pid_, SIGTERM);
    if (!Wait(grace)) {
      kill(pid_, SIGKILL);
      int status = 0;
      waitpid(pid_, &status, 0);
      status_ = DecodeStatus(status);
    }
  }
  return *status_;
}

std::string Child::Out() const { return ReadWhole(out_); }

std::string Child::Err() const { return ReadWhole(err_); }

bool Child::WaitForLines(std::size_t lines, std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  for (;;) {
    const bool running = Running();  // before reading, so that a last line written on the way out is seen
    if (LineCount(out_) >= lines) return true;
    if (!running || Clock::now() >= end) return false;
    std::this_thread::sleep_for(5ms);
  }
}

bool WaitForFileLines(const fs::path& file, std::size_t lines, std::chrono::milliseconds limit) {
  const auto end = Clock::now() + limit;
  while (LineCount(file) < lines) {
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

bool Child::WaitForOpen(const fs::path& device, std::chrono::milliseconds limit) {
  const fs::path fds = fs::path("/proc") / std::to_string(pid_) / "fd";
  const auto end = Clock::now() + limit;
  while (Running()) {
    std::error_code ec;
    for (fs::directory_iterator it(fds, ec), last; !ec && it != last; it.increment(ec)) {
      std::error_code link;
      if (fs::read_symlink(it->path(), link) == device) return true;
    }
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(5ms);
  }
  return false;
}

bool Child::WaitForPort(const fs::path& device, std::chrono::milliseconds limit) {
  if (!WaitForOpen(device, limit)) return false;
  std::this_thread::sleep_for(200ms);
  return true;
}

std::string Report(const Child& child) {
  return "--- standard output:\n" + child.Out() + "--- standard error:\n" + child.Err();
}

Finished RunToEnd(const std::vector<std::string>& argv, const fs::path& dir, const std::string& name,
                  std::chrono::milliseconds limit) {
  Child child(argv, dir, name);
  if (const auto status = child.Wait(limit)) return {*status, child.Out(), child.Err()};
  child.Stop();
  return {-1, child.Out(), child.Err() + "\n(" + name + " did not end in time)"};
}

namespace {

std::vector<std::string> CableCommand(const fs::path& dir, int baud, bool echo) {
  std::vector<std::string> argv = {QuorvelCli(), "nullmodem", "--baud", std::to_string(baud), "--link", dir.string()};
  if (echo) argv.emplace_back("--echo");
  return argv;
}

}  // namespace

NullModemCable::NullModemCable(const fs::path& dir, int baud, bool echo)
    : dir_(dir), child_(CableCommand(dir, baud, echo), dir, "nullmodem") {
  // The links are made before the two paths are printed.
  ready_ = child_.WaitForLines(2, 10s);
}

VirtualBus::VirtualBus(const fs::path& dir, int ends, int baud)
    : dir_(dir),
      child_(
          {QuorvelCli(), "bus", "--ends", std::to_string(ends), "--baud", std::to_string(baud), "--link", dir.string()},
          dir, "bus") {
  // As for the cable: linked first, then the paths printed, one a line.
  ready_ = child_.WaitForLines(static_cast<std::size_t>(ends), 10s);
}

std::string QuorvelCli() { return QUORVEL_BIN_DIR "/quorvel-cli"; }

std::string SourceFile(const std::string& name) { return QUORVEL_INTEROP_DIR "/" + name; }

std::string FindPeer(const std::string& program, std::string& missing) {
  const char* path = std::getenv("PATH");
  std::istringstream dirs(path ? path : "/usr/bin:/bin");
  for (std::string dir; std::getline(dirs, dir, ':');) {
    const std::string candidate = (dir.empty() ? std::string(".") : dir) + "/" + program;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  missing = program + " is not installed: run `make deps`";
  return "";
}

std::string PythonPeer(std::string& missing) {
  // Debian's Python modules are seen by the system interpreter only.
  const std::string python = "/usr/bin/python3";
  if (access(python.c_str(), X_OK) != 0) {
    missing = python + " is not installed: run `make deps`";
    return "";
  }
  const TempDir dir;
  const auto probe = RunToEnd({python, "-c", "import pymodbus, serial, serial_asyncio"}, dir.path(), "probe", 30s);
  if (probe.status != 0) {
    missing = python + " cannot import pymodbus, serial and serial_asyncio (python3-pymodbus, python3-serial, " +
              "python3-serial-asyncio): run `make deps`\n" + probe.err;
    return "";
  }
  return python;
}

std::string RtuServer(std::string& missing) {
  const std::string server = QUORVEL_RTU_SERVER;
  if (server.empty()) {
    missing = "libmodbus was not found when the build was configured: run `make deps`, then configure again";
  } else if (access(server.c_str(), X_OK) != 0) {
    missing = server + " has not been built";
    return "";
  }
  return server;
}

fs::path NewProjectFromList(const fs::path& dir, const std::string& list, int periodMs) {
  const fs::path csv = dir / "device.csv";
  std::ofstream(csv) << list;
  const fs::path project = dir / "device.qvc";
  const auto made =
      RunToEnd({QuorvelCli(), "new", csv.string(), "-o", project.string(), "--period", std::to_string(periodMs)}, dir,
               "new", 30s);
  if (made.status == 0) return project;
  ADD_FAILURE() << "quorvel-cli new: " << made.err;
  return {};
}

fs::path Built(const fs::path& dir, const fs::path& json, const std::string& name) {
  const fs::path project = dir / name;
  const auto built = RunToEnd({QuorvelCli(), "build", json.string(), "-o", project.string()}, dir, "build", 30s);
  if (built.status == 0) return project;
  ADD_FAILURE() << json << " does not build: " << built.err;
  return {};
}

std::vector<std::string> OurMaster(const std::string& port, const std::string& id, std::vector<std::string> rest) {
  std::vector<std::string> argv = {QuorvelCli(), "run", "--map", "COM1=" + port, "--id", id};
  argv.insert(argv.end(), rest.begin(), rest.end());
  return argv;
}

std::vector<std::string> OurSlave(const std::string& port, const std::string& id, std::vector<std::string> rest) {
  std::vector<std::string> argv = {QuorvelCli(), "run",  "--map", "COM2=" + port, "--com", "2", "--mode",
                                   "slave",      "--id", id,      "--seconds",    "0"};
  argv.insert(argv.end(), rest.begin(), rest.end());
  return argv;
}

nlohmann::json FirstWindow(const std::string& out) {
  auto state = nlohmann::json::parse(out, nullptr, false);
  EXPECT_FALSE(state.is_discarded()) << out;
  if (state.is_discarded()) return nlohmann::json::object();
  EXPECT_EQ(state["messages"], nlohmann::json::array()) << out;
  return state["windows"][0];
}

std::map<std::string, std::string> Shown(nlohmann::json window) {
  std::map<std::string, std::string> shown;
  for (const auto& value : window["values"]) shown[value.value("label", "")] = value.value("text", "");
  return shown;
}

void ExpectNoFailures(nlohmann::json window) {
  for (const char* failure : kFailureCounters) EXPECT_EQ(window["counters"][failure], 0) << failure << " in " << window;
}

nlohmann::json PymodbusClient(const std::string& python, const fs::path& dir, std::vector<std::string> args,
                              const std::vector<std::string>& steps) {
  args.insert(args.begin(), {python, SourceFile("pymodbus_client.py")});
  args.insert(args.end(), steps.begin(), steps.end());
  const auto run = RunToEnd(args, dir, "client", 60s);
  auto results = run.status == 0 ? nlohmann::json::parse(run.out, nullptr, false) : nlohmann::json();
  if (results.is_array()) return results;
  ADD_FAILURE() << "pymodbus_client.py: " << (run.out + run.err);
  return nlohmann::json::array();
}

std::string MbpollOutcome(const std::string& out) {
  std::istringstream lines(out);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("Written ", 0) == 0) return line;
    if (line.empty() || line[0] != '[' || line.find("]:") == std::string::npos) continue;
    std::istringstream fields(line.substr(line.find("]:") + 2));
    std::string value;
    fields >> value;  // "65534 (-2)": the first number is the register as it came
    result += (result.empty() ? "" : " ") + value;
  }
  return result;
}

void PymodbusDeviceTest::StartDevice(const std::string& id) {
  ASSERT_FALSE(dir_.path().empty());
  std::string missing;
  const std::string python = PythonPeer(missing);
  ASSERT_FALSE(python.empty()) << missing;
  cable_.emplace(dir_.path(), 19200);
  ASSERT_TRUE(cable_->Ready()) << cable_->Problem();
  id_ = id;
  device_.emplace(
      std::vector<std::string>{python, SourceFile("pymodbus_ascii_server.py"), cable_->Com2().string(), "19200", id},
      dir_.path(), "device");
  ASSERT_TRUE(device_->WaitForLines(1, 20s)) << Report(*device_);
}

Finished PymodbusDeviceTest::RunMaster(std::vector<std::string> rest, const std::string& name) {
  rest.insert(rest.begin(), {"--line", "19200-8N1-ascii"});
  return RunToEnd(OurMaster(cable_->Com1().string(), id_, std::move(rest)), dir_.path(), name, 30s);
}

}  // namespace quorvel::interop
