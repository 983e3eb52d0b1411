// Values typed on our master's panel reach a pymodbus device: quorvel-cli run
// types them, the device stores them, and both our next poll and a second,
// independent run read them back.

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

using WriteInterop = PymodbusDeviceTest;

TEST_F(WriteInterop, TypedValuesAreWrittenToAPymodbusDeviceAndReadBack) {
  ASSERT_NO_FATAL_FAILURE(StartDevice("5"));
  // The interop master's panel, with value entry allowed on a master.
  std::ifstream source(SourceFile("InteropMaster.json"));
  nlohmann::json project = nlohmann::json::parse(source);
  project["DirectWrite"] = 1;
  const fs::path json = dir_.path() / "writer.json";
  std::ofstream(json) << project.dump();
  const fs::path qvc = Built(dir_.path(), json, "writer.qvc");
  ASSERT_FALSE(qvc.empty());

  std::vector<std::string> writer = {"--seconds", "1.5"};
  // A scaled register (function 6), a 32-bit Long (function 16) and a coil (function 5).
  for (const char* write : {"HR0009=31.5", "HR0007=-1234567", "C 0001=1"})
    writer.insert(writer.end(), {"--write", write});
  writer.push_back(qvc.string());
  const auto wrote = RunMaster(writer, "writer");
  ASSERT_EQ(wrote.status, 0) << wrote.err;
  auto state = nlohmann::json::parse(wrote.out, nullptr, false);
  ASSERT_FALSE(state.is_discarded()) << wrote.out;
  // Each write the user started is answered in the message window.
  EXPECT_EQ(state["messages"], nlohmann::json::array({"Responce is OK.", "Responce is OK.", "Responce is OK."}))
      << wrote.out;
  EXPECT_EQ(state["windows"][0]["counters"]["TOErr"], 0) << wrote.out;

  const auto read = RunMaster({"--seconds", "1.5", qvc.string()}, "reader");
  ASSERT_EQ(read.status, 0) << read.err;
  for (const auto& window : {state["windows"][0], FirstWindow(read.out)}) {
    const auto shown = Shown(window);
    EXPECT_EQ(shown.at("HR0009"), "31.5") << window;
    // "# ### ### ##0": the blank after the unused leading digit stays.
    EXPECT_EQ(shown.at("HR0007"), "- 1 234 567") << window;
    EXPECT_EQ(shown.at("C 0001"), "1") << window;
    EXPECT_EQ(shown.at("C 0000"), "1") << "the coil beside it is left alone";
  }
  EXPECT_TRUE(device_->Running()) << Report(*device_);
}

TEST_F(WriteInterop, ARefusedValueIsToldAndNothingIsSent) {
  ASSERT_FALSE(dir_.path().empty());
  const auto run = RunToEnd({QuorvelCli(), "run", "--map", "COM1=" + (dir_.path() / "none").string(), "--seconds",
                             "0.2", "--write", "HR0019=abc", "--write", "HR0020=-5", "--write", "XX99=1",
                             (fs::path(QUORVEL_BIN_DIR) / "Coriolis.qvc").string()},
                            dir_.path(), "refused", 30s);
  // XX99 names no element: the run reports it and fails.
  EXPECT_EQ(run.status, 1);
  auto state = nlohmann::json::parse(run.out, nullptr, false);
  ASSERT_FALSE(state.is_discarded()) << run.out << run.err;
  const std::string messages = state["messages"].dump();
  EXPECT_NE(messages.find("HR0019=abc: "), std::string::npos) << messages;
  EXPECT_NE(messages.find("HR0020=-5: "), std::string::npos) << messages;
  EXPECT_NE(messages.find("no value element XX99"), std::string::npos) << messages;
  EXPECT_EQ(state["windows"][0]["counters"]["RequestCount"], 0) << run.out;
}

}  // namespace
}  // namespace quorvel::interop
