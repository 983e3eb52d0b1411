// Why a port did not open, as the user reads it.

#include <gtest/gtest.h>

#include <cerrno>

#include "platform/OpenFailure.h"

namespace quorvel::platform {
namespace {

struct TextCase {
  int com;
  OpenFailure failure;
  std::string text;
};

class OpenFailureTexts : public ::testing::TestWithParam<TextCase> {};

TEST_P(OpenFailureTexts, KeepTheFirstLineAndNameTheCause) {
  EXPECT_EQ(OpenFailureText(GetParam().com, GetParam().failure), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Causes, OpenFailureTexts,
    ::testing::Values(
        TextCase{3, {}, "Can not open COM3"},
        TextCase{3,
                 {OpenCause::Held, EBUSY, "/dev/ttyUSB0", PortHolder{1234, "minicom"}, "", false},
                 "Can not open COM3\nCOM3 is /dev/ttyUSB0, which is in use by process 1234 (minicom)."},
        TextCase{5,
                 {OpenCause::PermissionDenied, EACCES, "/dev/ttyUSB0", std::nullopt, "dialout", false},
                 "Can not open COM5\nCOM5 is /dev/ttyUSB0, which this login may not use. Its group is dialout: "
                 "add yourself (sudo usermod -aG dialout $USER), then log out and in again."},
        TextCase{5,
                 {OpenCause::PermissionDenied, EACCES, "/dev/ttyUSB0", std::nullopt, "uucp", true},
                 "Can not open COM5\nCOM5 is /dev/ttyUSB0, which this login may not use. You are in its group uucp "
                 "only from your next login on: log out and in again."},
        TextCase{6,
                 {OpenCause::NoSuchDevice, ENOENT, "/dev/ttyUSB1", std::nullopt, "", false},
                 "Can not open COM6\nCOM6 is /dev/ttyUSB1, which does not exist. Is the adapter plugged in?"},
        TextCase{12,
                 {OpenCause::NoSuchDevice, ENXIO, "/dev/ttyS1", std::nullopt, "", false},
                 "Can not open COM12\nCOM12 is /dev/ttyS1, which has no device behind it. Is the adapter plugged in?"},
        TextCase{16,
                 {OpenCause::NotSerial, ENOTTY, "/dev/null", std::nullopt, "", false},
                 "Can not open COM16\nCOM16 is /dev/null, which is not a serial line."},
        TextCase{4,
                 {OpenCause::Other, EIO, "/dev/ttyS3", std::nullopt, "", false},
                 "Can not open COM4\nCOM4 is /dev/ttyS3: Input/output error."}));

}  // namespace
}  // namespace quorvel::platform
