#pragma once

// Byte blocks as text: hex pairs ("00 01 FF") and base64.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

std::string ToHexPairs(std::span<const std::uint8_t> bytes);
// Hex digits in pairs, blanks allowed between pairs; nullopt for anything else.
std::optional<std::vector<std::uint8_t>> FromHexPairs(std::string_view text);

std::string ToBase64(std::span<const std::uint8_t> bytes);
// Standard alphabet with padding; blanks and line ends are skipped.
std::optional<std::vector<std::uint8_t>> FromBase64(std::string_view text);

}  // namespace quorvel
