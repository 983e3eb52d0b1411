#pragma once

// The fixed map that the test devices serve (modbus_rtu_server.cpp,
// pymodbus_ascii_server.py) as InteropMaster.json's elements show it, worked
// out by hand: what a window of that project must show once it has the
// answers to all four of its requests, whether it asked or only listened.

#include <map>
#include <string>

namespace quorvel::interop {

inline const std::map<std::string, std::string> kExpectedTexts = {
    {"HR0000", "-1 234"},          // FB2E as a signed Integer
    {"HR0001", "64 302"},          // FB2E Unsigned
    {"HR0002", "3.25"},            // Float 0x40500000, registers 0000 4050
    {"HR0004", "-1.50"},           // Float 0xBFC00000 Swapped, registers BFC0 0000
    {"HR0006", "BEEFh"},           // Hex
    {"HR0007", "-1 234 567 890"},  // Long 0xB669FD2E, registers FD2E B669
    {"HR0009", "25.0"},            // 250 scaled by 0.1
    {"IR0000", "2 023"},           // 07E7
    {"IR0001", "1234h"},           // Hex input register
    {"C 0000", "1"},               // coils 0..7 are A5: 1 0 1 0 0 1 0 1
    {"C 0001", "0"},
    {"C 0002", "1"},
    {"C 0007", "1"},
    {"DI0000", "0"},  // discrete inputs 0..1: 0 1
    {"DI0001", "1"},
};

}  // namespace quorvel::interop
