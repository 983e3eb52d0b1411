// COM numbers to device paths: defaults and --map overrides.

#include <gtest/gtest.h>

#include <map>

#include "platform/PortMap.h"

namespace quorvel::platform {
namespace {

TEST(PortMap, DefaultsFollowTheLinuxDeviceNames) {
  const PortMap map;
  const std::map<int, std::string> expected = {{1, "/dev/ttyS0"},
                                               {4, "/dev/ttyS3"},
                                               {5, "/dev/ttyUSB0"},
                                               {12, "/dev/ttyUSB7"},
                                               {13, "/dev/ttyACM0"},
                                               {16, "/dev/ttyACM3"},
                                               {0, ""},
                                               {17, ""}};
  for (const auto& [com, path] : expected) EXPECT_EQ(map.Path(com), path) << "COM" << com;
}

TEST(PortMap, AppliesOnlyWellFormedOverrides) {
  const std::pair<std::string, std::pair<int, std::string>> good[] = {{"COM3=/dev/pts/7", {3, "/dev/pts/7"}},
                                                                      {"com16=/tmp/a=b", {16, "/tmp/a=b"}}};
  for (const auto& [text, port] : good) {
    PortMap map;
    EXPECT_FALSE(map.ApplyOverride(text).has_value()) << text;
    EXPECT_EQ(map.Path(port.first), port.second);
  }
  for (const char* text : {"COM17=/dev/x", "COM0=/dev/x", "COMX=/dev/x", "COM003=/dev/x", "COM3=", "PORT3=/dev/x"}) {
    PortMap map;
    EXPECT_TRUE(map.ApplyOverride(text).has_value()) << text;
    for (int com = 1; com <= PortMap::kPorts; ++com) EXPECT_EQ(map.Path(com), PortMap::DefaultPath(com)) << text;
  }
}

}  // namespace
}  // namespace quorvel::platform
