// Cost of the per-frame and per-value work: sealing and checking frames, and
// turning register bytes into panel text.

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>

#include "convert/AddressCode.h"
#include "convert/DisplayText.h"
#include "convert/RegisterDecode.h"
#include "convert/ValueEntry.h"
#include "modbus/FrameCodec.h"

namespace {

using namespace quorvel;

// A read of 125 holding registers is the longest common response.
constexpr std::int32_t kMessage = 253;

void BM_AddCRC(benchmark::State& state) {
  std::array<std::uint8_t, 299> buf{};
  for (std::int32_t i = 0; i < kMessage; ++i) buf[i] = static_cast<std::uint8_t>(i * 7);
  for (auto _ : state) benchmark::DoNotOptimize(MODBUS::AddCRC(buf, kMessage));
  state.SetBytesProcessed(state.iterations() * kMessage);
}
BENCHMARK(BM_AddCRC);

void BM_AsciiRoundTrip(benchmark::State& state) {
  std::array<std::uint8_t, 599> buf{};
  std::array<std::uint8_t, kMessage> message{};
  for (std::int32_t i = 0; i < kMessage; ++i) message[i] = static_cast<std::uint8_t>(i * 7 + 1);
  const std::int32_t length = 2 * kMessage + 5;
  for (auto _ : state) {
    std::memcpy(buf.data(), message.data(), message.size());
    MODBUS::ToASCII(buf, kMessage);
    benchmark::DoNotOptimize(MODBUS::FromASCII(buf, length));
  }
  state.SetBytesProcessed(state.iterations() * kMessage);
}
BENCHMARK(BM_AsciiRoundTrip);

// Decode and format one value the way a response updates one panel element.
void BM_DisplayValue(benchmark::State& state, std::uint32_t code, std::array<std::uint8_t, 8> wire) {
  const std::string format = DefaultFormat(code);
  for (auto _ : state) {
    std::array<std::uint8_t, 8> bytes = wire;
    const double v = DecodeRegisters(bytes, code);
    benchmark::DoNotOptimize(DisplayText(v, code, format, 1.0, 0.0));
  }
}
BENCHMARK_CAPTURE(BM_DisplayValue, integer, 0x00000000u, {0x30, 0x39});
BENCHMARK_CAPTURE(BM_DisplayValue, float, 0x00200000u, {0x40, 0x49, 0x0F, 0xDB});
BENCHMARK_CAPTURE(BM_DisplayValue, double, 0x00300000u, {0x40, 0x09, 0x21, 0xFB, 0x54, 0x44, 0x2D, 0x18});
BENCHMARK_CAPTURE(BM_DisplayValue, hex_long, 0x01100000u, {0x12, 0x34, 0x56, 0x78});

void BM_ParseEntry(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(ParseEntry("1 234.5", 0x00200000u, "0.00"));
}
BENCHMARK(BM_ParseEntry);

}  // namespace
