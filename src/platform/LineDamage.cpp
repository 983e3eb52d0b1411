#include "platform/LineDamage.h"

namespace quorvel::platform {
namespace {

bool Hits(std::uint64_t k, std::uint32_t every) { return every != 0 && k % every == 0; }

}  // namespace

int LineDamage::PassOne(std::uint8_t c, std::uint8_t out[2]) {
  const std::uint64_t k = ++counts_.characters;
  int n = 0;
  if (Hits(k, options_.dropEvery)) {
    ++counts_.dropped;
  } else {
    if (Hits(k, options_.flipEvery)) {
      c = static_cast<std::uint8_t>(c ^ (1U << (counts_.flipped % 8)));
      ++counts_.flipped;
    }
    out[n++] = c;
  }
  if (Hits(k, options_.noiseEvery)) {
    // xorshift32: cheap, and the same sequence every run.
    noiseState_ ^= noiseState_ << 13;
    noiseState_ ^= noiseState_ >> 17;
    noiseState_ ^= noiseState_ << 5;
    out[n++] = static_cast<std::uint8_t>(noiseState_ >> 24);
    ++counts_.noise;
  }
  return n;
}

void LineDamage::Pass(std::span<const std::uint8_t> in, std::vector<std::uint8_t>& out) {
  if (!options_.Any()) {
    out.insert(out.end(), in.begin(), in.end());
    counts_.characters += in.size();
    return;
  }
  std::uint8_t produced[2];
  for (const std::uint8_t c : in) {
    const int n = PassOne(c, produced);
    out.insert(out.end(), produced, produced + n);
  }
}

}  // namespace quorvel::platform
