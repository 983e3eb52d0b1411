#pragma once

#include <cstdint>

namespace quorvel::platform {

// The two ends of a two-ended line (an in-memory wire, a null-modem cable).
enum class End : std::uint8_t { A, B };

}  // namespace quorvel::platform
