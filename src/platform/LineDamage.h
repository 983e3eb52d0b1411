#pragma once

// Deterministic damage to a byte stream, for fault tests of framing and
// checking: drop every Nth character, invert a bit of every Nth, or add a
// noise character after every Nth. Characters are counted from 1 over the
// life of the stream, so "every 10th" hits the 10th, 20th, ... whatever the
// writes' sizes. A dropped character is not flipped; noise follows the Nth
// character even when that one was dropped (it is then replaced by noise).

#include <cstdint>
#include <span>
#include <vector>

namespace quorvel::platform {

struct DamageOptions {
  std::uint32_t dropEvery = 0;   // 0: never
  std::uint32_t flipEvery = 0;   // the k-th flipped character has bit (k-1) mod 8 inverted
  std::uint32_t noiseEvery = 0;  // noise characters are pseudo-random but the same every run

  bool Any() const { return dropEvery != 0 || flipEvery != 0 || noiseEvery != 0; }
};

struct DamageCounts {
  std::uint64_t characters = 0;  // characters that went in
  std::uint64_t dropped = 0;
  std::uint64_t flipped = 0;
  std::uint64_t noise = 0;  // characters added
};

class LineDamage {
 public:
  explicit LineDamage(DamageOptions options = {}) : options_(options) {}

  // Appends to `out` what the line makes of `in`.
  void Pass(std::span<const std::uint8_t> in, std::vector<std::uint8_t>& out);

  // One character: writes 0, 1 or 2 characters to `out` and returns how many.
  int PassOne(std::uint8_t c, std::uint8_t out[2]);

  const DamageCounts& Counts() const { return counts_; }
  const DamageOptions& Options() const { return options_; }

 private:
  DamageOptions options_;
  DamageCounts counts_;
  std::uint32_t noiseState_ = 0x2545F491;
};

}  // namespace quorvel::platform
