#pragma once

// Helpers for the tests that need real time (pseudo-terminals): every wait
// ends after `timeoutMs` at the latest, so a fault fails a test instead of
// hanging it.

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <thread>
#include <vector>

#include "platform/SerialLine.h"

namespace quorvel::platform {

inline void SleepMs(int ms) {
  const timespec pause{ms / 1000, (ms % 1000) * 1'000'000L};
  nanosleep(&pause, nullptr);
}

// Reads from `line` until `count` bytes have come, the line fails, or time is up.
inline std::vector<std::uint8_t> ReadLine(SerialLine& line, std::size_t count, int timeoutMs = 2000) {
  std::vector<std::uint8_t> got;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  std::uint8_t buffer[4096];
  while (got.size() < count && std::chrono::steady_clock::now() < end) {
    const IoResult r = line.ReadAvailable(buffer);
    if (r.status != IoStatus::Ok) break;
    got.insert(got.end(), buffer, buffer + r.count);
    if (r.count == 0) SleepMs(1);
  }
  return got;
}

// A forwarder (NullModem, VirtualBus) forwarding on a thread of its own from
// Start until Stop or the end of the test. Writes made before Start are
// taken at one reading of the clock, as if all ends had written at once.
template <class Forwarder>
class Running {
 public:
  template <class Options>
  explicit Running(const Options& options) : forwarder(options) {}
  ~Running() { Stop(); }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  void Start() {
    thread_ = std::thread([this] { result_ = forwarder.Run(); });
  }
  // Returns what Run returned.
  int Stop() {
    if (thread_.joinable()) {
      forwarder.Stop();
      thread_.join();
    }
    return result_;
  }

  Forwarder forwarder;

 private:
  int result_ = -1;
  std::thread thread_;
};

// A scratch directory of the test's own, removed afterwards.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quorvel-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace quorvel::platform
