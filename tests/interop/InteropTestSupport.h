#pragma once

// Processes for the interoperability tests: our programs and the independent
// Modbus stacks they talk to, each a child with its output in files, every
// wait bounded, and every child gone when its owner goes (also when a test
// fails half-way, or when the test program itself is killed).
// Beside them, what the test files share: the commands that start our
// master and slave, the checks on the state a run prints, and the set-up of
// a pymodbus device on a cable.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::interop {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// The counters of a window that count failed transactions (a master) or
// exception answers and damaged requests (a slave).
inline constexpr const char* kFailureCounters[] = {"TOErr", "DtErr", "PtyErr", "CRCErr", "FrErr",
                                                   "Ex1",   "Ex2",   "Ex3",    "Ex4"};

// A fresh directory under $TMPDIR (or /tmp), removed with everything in it.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// One child process. Standard output and error go to files `name`.out and
// `name`.err in a directory; standard input is /dev/null.
class Child {
 public:
  Child(const std::vector<std::string>& argv, const fs::path& dir, const std::string& name);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t pid() const { return pid_; }
  bool Running();
  // The exit status (or 128 + signal) once the child has ended, waiting at most `limit`.
  std::optional<int> Wait(std::chrono::milliseconds limit);
  // SIGTERM, then SIGKILL if it has not ended within `grace`; the exit status.
  int Stop(std::chrono::milliseconds grace = 3s);

  std::string Out() const;
  std::string Err() const;
  // Waits until standard output holds `lines` complete lines; false if the
  // child ends first or the time runs out.
  bool WaitForLines(std::size_t lines, std::chrono::milliseconds limit);
  // Waits until the child holds `device` open; false if it ends first or the time runs out.
  bool WaitForOpen(const fs::path& device, std::chrono::milliseconds limit);
  // WaitForOpen for one of our programs, then time for it to set its port up:
  // our port drops what it holds meanwhile, so a frame sent then would be lost.
  bool WaitForPort(const fs::path& device, std::chrono::milliseconds limit);

 private:
  pid_t pid_ = -1;
  std::optional<int> status_;
  fs::path out_;
  fs::path err_;
};

// What a child printed, for failure messages.
std::string Report(const Child& child);

// A program run to its end: exit status and output. One still running after
// `limit` is stopped and comes back with status -1, standard error saying so.
struct Finished {
  int status;
  std::string out;
  std::string err;
};
Finished RunToEnd(const std::vector<std::string>& argv, const fs::path& dir, const std::string& name,
                  std::chrono::milliseconds limit);

// `quorvel-cli nullmodem --baud B --link DIR`: COM1 and COM2 in DIR are its
// two ends. With `echo` (--echo) each end also hears what it sends.
class NullModemCable {
 public:
  NullModemCable(const fs::path& dir, int baud, bool echo = false);
  bool Ready() const { return ready_; }
  std::string Problem() const { return Report(child_); }
  fs::path Com1() const { return dir_ / "COM1"; }
  fs::path Com2() const { return dir_ / "COM2"; }
  // The device behind an end, for Child::WaitForOpen.
  fs::path Device(const fs::path& end) const { return fs::canonical(end); }

 private:
  fs::path dir_;
  Child child_;
  bool ready_ = false;
};

// `quorvel-cli bus --ends N --baud B --link DIR`: ends 1 .. N in DIR, every
// one hearing what each of the others sends.
class VirtualBus {
 public:
  VirtualBus(const fs::path& dir, int ends, int baud);
  bool Ready() const { return ready_; }
  std::string Problem() const { return Report(child_); }
  fs::path End(int n) const { return dir_ / std::to_string(n); }
  // The device behind an end, for Child::WaitForOpen.
  fs::path Device(int n) const { return fs::canonical(End(n)); }

 private:
  fs::path dir_;
  Child child_;
  bool ready_ = false;
};

// Waits until the file holds `lines` complete lines; false if the time runs out.
bool WaitForFileLines(const fs::path& file, std::size_t lines, std::chrono::milliseconds limit);

// DIR/device.qvc made by `quorvel-cli new` from register list `list` (the
// CSV text), its reads every `periodMs`; empty, the test failed, when it
// could not be made.
fs::path NewProjectFromList(const fs::path& dir, const std::string& list, int periodMs);
// DIR/`name` built by `quorvel-cli build` from the project's JSON text in
// file `json`; empty, the test failed, when it could not be built.
fs::path Built(const fs::path& dir, const fs::path& json, const std::string& name);

// Our programs on a port: `quorvel-cli run` as a master of device `id` on
// COM1 = `port`, or as slave `id` on COM2 = `port` until it is stopped; then
// `rest` (more options, and the project).
std::vector<std::string> OurMaster(const std::string& port, const std::string& id, std::vector<std::string> rest);
std::vector<std::string> OurSlave(const std::string& port, const std::string& id, std::vector<std::string> rest);

// The first window of a run's state, which must parse and hold no message;
// an empty object when it does not parse.
nlohmann::json FirstWindow(const std::string& out);
// A window's value texts by their labels.
std::map<std::string, std::string> Shown(nlohmann::json window);
// Every one of kFailureCounters is zero in the window.
void ExpectNoFailures(nlohmann::json window);
// pymodbus_client.py run by `python` with `args` (its options, the line and
// the slave), then one request per step: what came back, step by step; an
// empty array, the test failed, when the client failed.
nlohmann::json PymodbusClient(const std::string& python, const fs::path& dir, std::vector<std::string> args,
                              const std::vector<std::string>& steps);
// What mbpoll printed for a successful step: the values after "[n]:"
// blank-separated, or its report of a write.
std::string MbpollOutcome(const std::string& out);

// Paths of the programs under test and of the peers; a peer that is missing
// comes back with an empty path and the reason in `missing`.
std::string QuorvelCli();
std::string SourceFile(const std::string& name);
std::string FindPeer(const std::string& program, std::string& missing);
std::string PythonPeer(std::string& missing);  // /usr/bin/python3 with pymodbus and pyserial
std::string RtuServer(std::string& missing);   // the libmodbus test device

// A pymodbus ASCII device (pymodbus_ascii_server.py, the fixed map) on COM2
// of a 19200-baud cable of its own, polled by our master on COM1.
class PymodbusDeviceTest : public testing::Test {
 protected:
  // Starts the device as slave `id`, returning once it listens.
  void StartDevice(const std::string& id);
  // Our master (OurMaster, ASCII at 19200 baud) of the device, run to its end.
  Finished RunMaster(std::vector<std::string> rest, const std::string& name);

  TempDir dir_;
  std::string id_;
  std::optional<NullModemCable> cable_;
  std::optional<Child> device_;
};

}  // namespace quorvel::interop
