#pragma once

// A main frame stand-in for device windows on their own: it holds the port
// table, tells the time the test sets, and counts what the windows ask of it.

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "device/DeviceHost.h"
#include "serial/PortEntry.h"
#include "serial/clsCOM.h"  // the table owns its open ports

namespace quorvel::testing {

struct FakeHost final : DeviceHost {
  std::array<PortEntry, 17> ports{};
  std::int32_t now = 5000;
  int openComCalls = 0;
  int setMenusCalls = 0;
  int sessionChanges = 0;
  std::vector<std::string> boxes;
  std::vector<std::string> shown;
  // The user write dialogs asked for: the element table handed over and the request.
  struct UserWriteCall {
    const ElementCollection* elements;
    std::shared_ptr<ReqProp> request;
  };
  std::vector<UserWriteCall> userWrites;
  std::string copied;
  std::map<int, std::string> paths;  // ports mapped otherwise than by default

  PortEntry& Port(int com) override { return ports.at(static_cast<std::size_t>(com)); }
  std::string PortPath(int com) const override { return paths.contains(com) ? paths.at(com) : std::string(); }
  void OpenCOM() override { ++openComCalls; }
  std::int32_t GetTickCount() override { return now; }
  void MsgBox(const std::string& text) override { boxes.push_back(text); }
  void ShowMsg(const std::string& text) override { shown.push_back(text); }
  void SetMenus() override { ++setMenusCalls; }
  void MarkSessionChanged() override { ++sessionChanges; }
  void ShowUserWrite(frmQuorvel&, const ElementCollection& elements, std::shared_ptr<ReqProp> request) override {
    userWrites.push_back({&elements, std::move(request)});
  }
  void CopyText(const std::string& text) override { copied = text; }
};

}  // namespace quorvel::testing
