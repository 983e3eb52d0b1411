// The serial devices offered for a port: stable names first, then the
// families in a fixed order, each numbered as a person counts.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/SerialDevices.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;

TEST(SerialDevices, StableNamesFirstThenEachFamilyInNumberOrder) {
  const fs::path dev = fs::temp_directory_path() / ("quorvel-dev-" + std::to_string(getpid()));
  fs::create_directories(dev / "serial" / "by-id");
  for (const char* name : {"ttyUSB10", "ttyUSB2", "ttyACM0", "rfcomm0", "ttyAMA0", "ttyUSB", "tty0", "console"})
    std::ofstream(dev / name);
  fs::create_symlink("../../ttyUSB2", dev / "serial" / "by-id" / "usb-FTDI_FT232R_A10K-if00-port0");
  const std::string d = dev.string();
  EXPECT_EQ(ListSerialDevices(d),
            (std::vector<std::string>{d + "/serial/by-id/usb-FTDI_FT232R_A10K-if00-port0", d + "/ttyUSB2",
                                      d + "/ttyUSB10", d + "/ttyACM0", d + "/ttyAMA0", d + "/rfcomm0"}));
  fs::remove_all(dev);
}

}  // namespace
}  // namespace quorvel::platform
