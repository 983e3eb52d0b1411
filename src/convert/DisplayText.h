#pragma once

// The text a value label shows for a decoded value.

#include <cstdint>
#include <string>
#include <string_view>

namespace quorvel {

// Chooses Binary, Hex or a scaled plain number (v * k + x0) by the address
// code; bit elements show their bits laid into the format. Never throws: a
// failure comes back as its error text.
std::string DisplayText(double v, std::uint32_t code, std::string_view format, double k, double x0);

}  // namespace quorvel
