// Values typed on our master's panel reach a pymodbus device: quorvel-cli run
// types them, the device stores them, and both our next poll and a second,
// independent run read them back.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

std::map<std::string, std::string> Shown(const nlohmann::json& window) {
  std::map<std::string, std::string> shown;
  for (const auto& value : window["values"]) shown[value.value("label", "")] = value.value("text", "");
  return shown;
}

TEST(WriteInterop, TypedValuesAreWrittenToAPymodbusDeviceAndReadBack) {
  const TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  std::string missing;
  const std::string python = PythonPeer(missing);
  ASSERT_FALSE(python.empty()) << missing;
  const NullModemCable cable(dir.path(), 19200);
  ASSERT_TRUE(cable.Ready()) << cable.Problem();

  // The interop master's panel, with value entry allowed on a master.
  std::ifstream source(SourceFile("InteropMaster.json"));
  nlohmann::json project = nlohmann::json::parse(source);
  project["DirectWrite"] = 1;
  const fs::path json = dir.path() / "writer.json";
  std::ofstream(json) << project.dump();
  const fs::path qvc = dir.path() / "writer.qvc";
  const auto built = RunToEnd({QuorvelCli(), "build", json.string(), "-o", qvc.string()}, dir.path(), "build", 30s);
  ASSERT_TRUE(built && built->status == 0) << (built ? built->err : "build did not end");

  Child device({python, SourceFile("pymodbus_ascii_server.py"), cable.Com2().string(), "19200", "5"}, dir.path(),
               "device");
  ASSERT_TRUE(device.WaitForLines(1, 20s)) << Report(device);

  const std::vector<std::string> common = {QuorvelCli(), "run", "--map",  "COM1=" + cable.Com1().string(),
                                           "--id",       "5",   "--line", "19200-8N1-ascii",
                                           "--seconds",  "1.5"};
  auto writer = common;
  // A scaled register (function 6), a 32-bit Long (function 16) and a coil (function 5).
  for (const char* write : {"HR0009=31.5", "HR0007=-1234567", "C 0001=1"})
    writer.insert(writer.end(), {"--write", write});
  writer.push_back(qvc.string());
  const auto wrote = RunToEnd(writer, dir.path(), "writer", 30s);
  ASSERT_TRUE(wrote) << "quorvel-cli run did not end";
  ASSERT_EQ(wrote->status, 0) << wrote->err;
  auto state = nlohmann::json::parse(wrote->out, nullptr, false);
  ASSERT_FALSE(state.is_discarded()) << wrote->out;
  // Each write the user started is answered in the message window.
  EXPECT_EQ(state["messages"], nlohmann::json::array({"Responce is OK.", "Responce is OK.", "Responce is OK."}))
      << wrote->out;
  EXPECT_EQ(state["windows"][0]["counters"]["TOErr"], 0) << wrote->out;

  auto reader = common;
  reader.push_back(qvc.string());
  const auto read = RunToEnd(reader, dir.path(), "reader", 30s);
  ASSERT_TRUE(read && read->status == 0) << (read ? read->err : "did not end");
  auto again = nlohmann::json::parse(read->out, nullptr, false);
  ASSERT_FALSE(again.is_discarded()) << read->out;
  for (const auto* run : {&state, &again}) {
    const auto shown = Shown((*run)["windows"][0]);
    EXPECT_EQ(shown.at("HR0009"), "31.5") << run->dump();
    // "# ### ### ##0": the blank after the unused leading digit stays.
    EXPECT_EQ(shown.at("HR0007"), "- 1 234 567") << run->dump();
    EXPECT_EQ(shown.at("C 0001"), "1") << run->dump();
    EXPECT_EQ(shown.at("C 0000"), "1") << "the coil beside it is left alone";
  }
  EXPECT_TRUE(device.Running()) << Report(device);
}

TEST(WriteInterop, ARefusedValueIsToldAndNothingIsSent) {
  const TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  const auto run = RunToEnd({QuorvelCli(), "run", "--map", "COM1=" + (dir.path() / "none").string(), "--seconds", "0.2",
                             "--write", "HR0019=abc", "--write", "HR0020=-5", "--write", "XX99=1",
                             (fs::path(QUORVEL_BIN_DIR) / "Coriolis.qvc").string()},
                            dir.path(), "refused", 30s);
  ASSERT_TRUE(run) << "did not end";
  // XX99 names no element: the run reports it and fails.
  EXPECT_EQ(run->status, 1);
  auto state = nlohmann::json::parse(run->out, nullptr, false);
  ASSERT_FALSE(state.is_discarded()) << run->out << run->err;
  const std::string messages = state["messages"].dump();
  EXPECT_NE(messages.find("HR0019=abc: "), std::string::npos) << messages;
  EXPECT_NE(messages.find("HR0020=-5: "), std::string::npos) << messages;
  EXPECT_NE(messages.find("no value element XX99"), std::string::npos) << messages;
  EXPECT_EQ(state["windows"][0]["counters"]["RequestCount"], 0) << run->out;
}

}  // namespace
}  // namespace quorvel::interop
