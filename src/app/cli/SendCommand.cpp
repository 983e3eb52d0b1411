// quorvel-cli send: one frame typed by hand goes out on a port as a master
// sends it (with its CRC or as ASCII unless --no-crc), and the answer comes
// back as hex and decoded, or "Timeout!".

#include <ostream>

#include "app/cli/PortArgs.h"
#include "modbus/FrameCodec.h"
#include "modbus/FrameDecode.h"
#include "modbus/MasterTransaction.h"
#include "platform/StopSignals.h"

namespace quorvel::cli {
namespace {

constexpr const char* kSendOptions[] = {"--map", "--com", "--line", "--timeout", "--timing"};
constexpr const char* kSendFlags[] = {"--no-crc"};

}  // namespace

int RunSend(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kSendOptions, options, error, kSendFlags)) return UsageError(io, "send", error);
  const auto message = ParseHexBytes(options.positional, error);
  if (!message) return UsageError(io, "send", error);
  if (message->size() < 2) return UsageError(io, "send", "a frame has an address and a function at least");
  PortEntry entry;
  PortChoice choice;
  if (const int status = ReadPortOptions("send", options, choice, entry, io); status != kOk) return status;
  std::int32_t timeout = 1000;
  if (const int status = ReadTimeout("send", options, 0, 600'000, timeout, io); status != kOk) return status;
  entry.Mode = kModeMaster;
  // The request as the answer is read against: it names the block.
  std::vector<std::uint8_t> sealed = *message;
  sealed.resize(sealed.size() + 2);
  MODBUS::AddCRC(sealed, static_cast<std::int32_t>(message->size()));
  const MODBUS::DecodedFrame request = MODBUS::DecodeFrame(sealed, false, false);

  const platform::StopSignals stop;
  platform::SystemClock clock;
  LonePort lone(entry, clock, choice.map, io);
  std::int16_t com = choice.com;
  if (!lone.Port().OpenCOM(com)) return kFailed;
  bool done = false;
  int status = kOk;
  const bool sent = lone.Port().SendFrame(*message, !options.has("--no-crc"), timeout,
                                          [&](bool timedOut, std::span<const std::uint8_t> answer) {
                                            done = true;
                                            if (timedOut) {
                                              io.out << MODBUS::kTimeoutText << "\n";
                                              status = kFailed;
                                              return;
                                            }
                                            const auto f = MODBUS::DecodeFrame(answer, entry.ASCII, true, &request);
                                            io.out << MODBUS::HexBytes(answer) << "\n" << MODBUS::Summary(f) << "\n";
                                            if (!f.Ok()) status = kFailed;
                                          });
  if (!sent) {
    io.err << "the frame could not be sent\n";
    return kFailed;
  }
  while (!done) {
    if (WaitOnPort(lone.Port(), clock, stop.fd(), 1000)) return kFailed;
    lone.Port().Hit();
  }
  return status;
}

}  // namespace quorvel::cli
