#pragma once

// The serial devices present, as a port's path may be chosen from them.

#include <string>
#include <vector>

namespace quorvel::platform {

// Under `dev` (normally /dev): the stable names in serial/by-id first, since
// they survive re-plugging an adapter, then the ttyS, ttyUSB, ttyACM, ttyAMA
// and rfcomm devices in that order, each family numbered in order. On-board
// ttyS entries the kernel knows to have no UART behind them are left out.
std::vector<std::string> ListSerialDevices(const std::string& dev = "/dev");

}  // namespace quorvel::platform
