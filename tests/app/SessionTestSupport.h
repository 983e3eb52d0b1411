#pragma once

// Temporary folders, small project files and a headless frame.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/frmQuorvelMain.h"
#include "platform/Clock.h"
#include "project/ProjectFile.h"
#include "project/ProjectWriter.h"

namespace quorvel::testing {

// A fresh folder of its own (so tests may run side by side), removed at the end.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quorvel-app-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // `relative` below the folder, its parent folders created.
  std::string Make(const std::string& relative) const {
    const auto full = path_ / relative;
    std::filesystem::create_directories(full.parent_path());
    return full.string();
  }

 private:
  std::filesystem::path path_;
};

// An empty project whose polling period, time-out and interval differ from
// what tests set later.
inline std::string WriteTestProject(const std::string& path) {
  ProjectFile file;
  file.Header = "DraventaFabricant session test\r\n";
  file.Setting1 = 777;
  file.Timeout = 55;
  file.Interval = 11;
  file.Sections = SectionsFor(file);
  std::string error;
  if (!SaveProjectBytes(path, WriteProject(file), error)) throw std::runtime_error(error);
  return path;
}

inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// The sample project in a window of `mode` on `com`, connected, its port open.
inline frmQuorvel& ConnectSample(frmQuorvelMain& frame, std::int16_t com, std::int16_t mode) {
  frmQuorvel* window = frame.OpenProject(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
  if (!window) throw std::runtime_error("sample project did not load");
  window->SetMode(mode);
  window->SetCOM(com);
  window->SetConnected(true);
  frame.OpenCOM();
  return *window;
}

// A headless frame whose message boxes are collected.
struct TestFrame {
  platform::ManualClock clock;
  frmQuorvelMain frame{clock};
  std::vector<std::string> messages;

  TestFrame() {
    frame.SetMsgBoxSink([this](const std::string& text) { messages.push_back(text); });
  }
};

}  // namespace quorvel::testing
