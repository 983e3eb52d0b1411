#pragma once

// A desktop frame whose COM1 and COM2 are the two ends of a virtual
// null-modem line, and the texts its windows show.

#include <gtest/gtest.h>

#include <QMessageBox>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/qt/MainWindow.h"
#include "device/frmQuorvel.h"
#include "platform/NullModem.h"

namespace quorvel {

struct ModemDesktop : ::testing::Test {
  platform::NullModem modem;
  std::thread line{[this] { modem.Run(); }};
  platform::SystemClock clock;
  platform::MemorySettingsStore store;
  std::unique_ptr<MainWindow> frame;
  std::vector<QString> asked;  // the questions put, as "title: text"
  int answer = QMessageBox::No;

  // A frame on `ports` that answers questions with `answer`; a message box is a failure.
  std::unique_ptr<MainWindow> NewFrame(const platform::PortMap& ports) {
    auto made = std::make_unique<MainWindow>(clock, ports, store);
    made->AskYesNoCancel = [this](const QString& text, const QString& title) {
      asked.push_back(title + ": " + text);
      return answer;
    };
    made->SetMsgBoxSink([](const std::string& text) { ADD_FAILURE() << "message box: " << text; });
    return made;
  }
  // The frame on the line, `file` loaded ("" for none), shown.
  void Start(const std::string& file) {
    platform::PortMap ports;
    ports.ApplyOverride("COM1=" + modem.Path(platform::End::A));
    ports.ApplyOverride("COM2=" + modem.Path(platform::End::B));
    frame = NewFrame(ports);
    frame->Load(file);
    frame->show();
  }
  void TearDown() override {
    frame.reset();
    modem.Stop();
    line.join();
  }
};

// The text of the value labelled `label` (a register or coil's address caption).
inline std::string ValueText(const frmQuorvel& window, const char* label) {
  for (Table table : {Table::Holding, Table::Coil})
    for (const auto& filed : window.ElementsOf(table))
      if (filed.element->AddressCaption() == label) return filed.element->rCtrl()->Caption();
  return "(no " + std::string(label) + ")";
}

}  // namespace quorvel
