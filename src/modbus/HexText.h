#pragma once

// Bytes typed as hexadecimal text, as people write them: "01 03 00 00",
// "010300", "0x01,0x03". The command line and the desktop's hand-made frames
// read them alike.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorvel::MODBUS {

// Hex bytes given as separate parts ("01 03 00") or run together
// ("010300"); blanks, ',', ':' and '-' separate, a "0x" prefix is allowed.
// On failure `error` says which part is wrong and nothing is returned.
std::optional<std::vector<std::uint8_t>> ParseHexBytes(std::span<const std::string> parts, std::string& error);

}  // namespace quorvel::MODBUS
