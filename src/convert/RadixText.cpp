#include "convert/RadixText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "convert/NumberFormat.h"

namespace quorvel {

namespace {

// Bit counts beyond a double's range carry nothing but leading zeros.
constexpr int kMaxBits = 1100;

// Nearest integer with ties to even, as the conversion to a 32-bit integer rounds.
double RoundHalfEven(double v) {
  const double below = std::floor(v);
  const double rest = v - below;
  if (rest > 0.5) return below + 1;
  if (rest < 0.5) return below;
  return std::fmod(below, 2.0) == 0 ? below : below + 1;
}

// Upper-case digits; a negative number shows its 32-bit two's complement.
std::string Hex(std::int32_t n) {
  char buffer[8];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<std::uint32_t>(n), 16).ptr;
  std::string out(buffer, end);
  for (char& c : out) {
    if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

std::string LastFour(const std::string& digits) {
  const std::string padded = "000" + digits;
  return padded.substr(padded.size() - 4);
}

}  // namespace

// The 32-bit value splits into a high and a low word by truncating division,
// so a negative value keeps the sign in both halves: -65535..-1 have no high
// word and show eight digits, and other negatives show the low four digits of
// each half's complement (0xFFFE0001 reads "FFFF 0001h"). The asymmetry is
// kept on purpose.
std::string HexText(double v) {
  if (v > 2147483647.0) v -= 4294967296.0;
  const double rounded = RoundHalfEven(v);
  if (!(rounded >= -2147483648.0 && rounded <= 2147483647.0)) throw FormatError(kOverflowText);
  const auto x = static_cast<std::int32_t>(rounded);
  const std::int32_t hi = x / 65536;
  const std::int32_t lo = x % 65536;
  if (hi != 0) return LastFour(Hex(hi)) + " " + LastFour(Hex(lo)) + "h";
  return Hex(lo) + "h";
}

std::string BinaryText(double v, int bits, std::string_view format) {
  if (!std::isfinite(v)) throw FormatError(kOverflowText);
  bits = std::clamp(bits, 0, kMaxBits);
  // Halving with floor gives a negative value its two's complement bits.
  std::string digits(static_cast<std::size_t>(bits), '0');
  double x = RoundHalfEven(v);
  for (int i = bits - 1; i >= 0; --i) {
    const double half = std::floor(x / 2);
    if (x - 2 * half != 0) digits[static_cast<std::size_t>(i)] = '1';
    x = half;
  }

  // Laid from the right into bits x '#' followed by the format, so digits the
  // format has no room for still show, unseparated, on the left.
  std::string mask(static_cast<std::size_t>(bits), '#');
  mask += format;
  std::string out;
  int next = bits - 1;
  for (std::size_t i = mask.size(); i-- > 0 && next >= 0;) {
    const char m = mask[i];
    out += m == '0' || m == '#' ? digits[static_cast<std::size_t>(next--)] : m;
  }
  std::reverse(out.begin(), out.end());
  return out;
}

}  // namespace quorvel
