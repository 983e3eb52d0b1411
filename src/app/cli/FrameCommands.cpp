// quorvel-cli frame / check: seal a message as it goes on the wire, or judge a
// received frame the way the receiving side does.

#include <array>
#include <ostream>

#include "app/cli/HexArgs.h"
#include "modbus/FrameCodec.h"

namespace quorvel::cli {
namespace {

// The port's frame buffers: RTU frames are binary, ASCII frames twice as long.
constexpr std::size_t kRtuBuffer = 299;
constexpr std::size_t kAsciiBuffer = 599;

enum class Framing { Rtu, Ascii };

std::optional<Framing> ParseFraming(const std::string& text) {
  if (text == "rtu" || text == "RTU") return Framing::Rtu;
  if (text == "ascii" || text == "ASCII") return Framing::Ascii;
  return std::nullopt;
}

// "\r" and "\n" typed as escapes stand for the line ends; a frame typed
// without any line end gets the CR LF that the line would have carried.
std::string AsciiFrameText(const Args& parts) {
  std::string joined;
  for (const std::string& part : parts) joined += part;
  std::string text;
  for (std::size_t i = 0; i < joined.size(); ++i) {
    if (joined[i] == '\\' && i + 1 < joined.size() && (joined[i + 1] == 'r' || joined[i + 1] == 'n')) {
      text += joined[++i] == 'r' ? '\r' : '\n';
    } else {
      text += joined[i];
    }
  }
  if (text.find_first_of("\r\n") == std::string::npos) text += "\r\n";
  return text;
}

}  // namespace

int RunFrame(const Args& args, Io& io) {
  if (args.size() < 2) return UsageError(io, "frame");
  const auto framing = ParseFraming(args[0]);
  if (!framing) return UsageError(io, "frame", "framing must be rtu or ascii, not '" + args[0] + "'");
  std::string error;
  const auto message = ParseHexBytes(std::span(args).subspan(1), error);
  if (!message) return UsageError(io, "frame", error);
  if (message->empty()) return UsageError(io, "frame", "no message bytes given");

  if (*framing == Framing::Rtu) {
    std::array<std::uint8_t, kRtuBuffer> buf{};
    if (message->size() + 2 > buf.size())
      return UsageError(io, "frame", "an RTU frame holds at most 297 message bytes");
    std::copy(message->begin(), message->end(), buf.begin());
    const auto n = static_cast<std::int32_t>(message->size());
    MODBUS::AddCRC(buf, n);
    io.out << HexBytesText(std::span(buf).first(message->size() + 2)) << "\n";
    return kOk;
  }
  std::array<std::uint8_t, kAsciiBuffer> buf{};
  if (2 * message->size() + 5 > buf.size())
    return UsageError(io, "frame", "an ASCII frame holds at most 297 message bytes");
  std::copy(message->begin(), message->end(), buf.begin());
  const auto n = static_cast<std::int32_t>(message->size());
  MODBUS::ToASCII(buf, n);
  // The text without its CR LF, as it reads on a terminal.
  io.out << std::string(buf.begin(), buf.begin() + 2 * n + 3) << "\n";
  return kOk;
}

int RunCheck(const Args& args, Io& io) {
  if (args.size() < 2) return UsageError(io, "check");
  const auto framing = ParseFraming(args[0]);
  if (!framing) return UsageError(io, "check", "framing must be rtu or ascii, not '" + args[0] + "'");
  const Args rest(args.begin() + 1, args.end());

  if (*framing == Framing::Rtu) {
    std::string error;
    const auto frame = ParseHexBytes(rest, error);
    if (!frame) return UsageError(io, "check", error);
    std::array<std::uint8_t, kRtuBuffer> buf{};
    if (frame->size() > buf.size()) {
      io.out << "Frame error! (longer than " << buf.size() << " bytes)\n";
      return kFailed;
    }
    if (frame->size() < 3) {
      io.out << "Frame error! (shorter than address, function and CRC)\n";
      return kFailed;
    }
    std::copy(frame->begin(), frame->end(), buf.begin());
    const auto n = static_cast<std::int32_t>(frame->size() - 2);
    if (!MODBUS::AddCRC(buf, n)) {
      io.out << "CRC error! (expected " << HexBytesText(std::span(buf).subspan(frame->size() - 2, 2)) << ")\n";
      return kFailed;
    }
    io.out << "CRC ok\n" << HexBytesText(std::span(buf).first(static_cast<std::size_t>(n))) << "\n";
    return kOk;
  }

  const std::string text = AsciiFrameText(rest);
  std::array<std::uint8_t, kAsciiBuffer> buf{};
  if (text.size() > buf.size()) {
    io.out << "Frame error! (longer than " << buf.size() << " characters)\n";
    return kFailed;
  }
  std::copy(text.begin(), text.end(), buf.begin());
  const auto length = static_cast<std::int32_t>(text.size());
  if (length < 5 || buf[0] != ':' || buf[length - 2] != '\r' || buf[length - 1] != '\n') {
    io.out << "Frame error! (a frame is ':', hex digits, LRC, CR LF)\n";
    return kFailed;
  }
  if (!MODBUS::FromASCII(buf, length)) {
    io.out << "LRC error!\n";
    return kFailed;
  }
  const std::size_t m = static_cast<std::size_t>((length - 3) / 2);
  io.out << "LRC ok\n" << HexBytesText(std::span(buf).first(m - 1)) << "\n";
  return kOk;
}

}  // namespace quorvel::cli
