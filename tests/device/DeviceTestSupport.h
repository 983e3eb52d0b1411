#pragma once

// A main frame on an in-memory null-modem cable: COM1 is one end, COM2 the
// other, and time moves only when the test says so.

#include <memory>
#include <string>
#include <vector>

#include "app/frmQuorvelMain.h"
#include "platform/MemoryLine.h"
#include "serial/clsCOM.h"

namespace quorvel::testing {

struct Bench {
  platform::ManualClock clock{1'000'000'000};
  std::shared_ptr<platform::MemoryWire> wire = std::make_shared<platform::MemoryWire>(clock);
  std::vector<std::string> boxes;
  std::vector<std::string> shown;
  frmQuorvelMain frame{clock, platform::PortMap{}, [this](int com) -> std::unique_ptr<platform::SerialLine> {
                         if (com == 1) return std::make_unique<platform::MemoryLine>(wire, platform::End::A);
                         if (com == 2) return std::make_unique<platform::MemoryLine>(wire, platform::End::B);
                         return nullptr;
                       }};

  Bench() {
    frame.SetMsgBoxSink([this](const std::string& text) { boxes.push_back(text); });
    frame.SetShowMsgSink([this](const std::string& text) { shown.push_back(text); });
  }

  // Runs both timers once a millisecond for `ms` milliseconds.
  void Run(int ms) {
    for (int i = 0; i < ms; ++i) {
      clock.AdvanceMs(1);
      if (frame.PollingTimerEnabled()) frame.PollingTimer_Timer();
      if (frame.CheckTimerEnabled()) frame.CheckTimer_Timer();
    }
  }

  frmQuorvel& Open(std::int16_t com, std::int16_t mode) {
    frmQuorvel* window = frame.OpenProject(std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc");
    if (!window) throw std::runtime_error("sample project did not load");
    window->SetMode(mode);
    window->SetCOM(com);
    return *window;
  }

  void Connect(frmQuorvel& window) {
    window.SetConnected(true);
    frame.OpenCOM();
    window.ShowCaption();
  }
};

}  // namespace quorvel::testing
