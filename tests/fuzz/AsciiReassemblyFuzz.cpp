// libFuzzer target: any bytes arriving at a port with ASCII framing, in
// pieces and with pauses between them, as a slave's requests or as a
// master's answer. A slave hands on only requests that stood whole on the
// line (':', the hex of each byte, the LRC, CR LF), and once the noise is over
// a good request still reaches its window. A master ends every request with
// exactly one answer, never longer than its buffer.
//
// Input: byte 0 picks slave or master; then pieces of [length][pause][bytes].

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "../serial/SerialTestSupport.h"
#include "FuzzCheck.h"
#include "modbus/FrameCodec.h"

using namespace quorvel;
using namespace quorvel::test;
using fuzz::Check;

namespace {

// The noise as pieces, each followed by a pause in ms: mostly within a
// frame's character gap, now and then a long one.
struct Piece {
  Bytes bytes;
  double pauseMs;
};

std::vector<Piece> Pieces(std::span<const std::uint8_t> data) {
  std::vector<Piece> pieces;
  while (data.size() >= 2) {
    const std::size_t length = std::min<std::size_t>(data[0], data.size() - 2);
    const std::uint8_t pause = data[1];
    pieces.push_back({Bytes(data.begin() + 2, data.begin() + 2 + static_cast<std::ptrdiff_t>(length)),
                      pause >= 0xF0 ? 1500.0 : static_cast<double>(pause % 20)});
    data = data.subspan(2 + length);
  }
  return pieces;
}

// Whether `message` stands as a whole ASCII frame in `line`: ':' then two
// characters per byte that read as it (characters that are no hex digits
// read as 0), the LRC's two, perhaps one more, then CR LF.
bool StoodOnLine(const Bytes& line, const Bytes& message) {
  const std::size_t n = message.size();
  for (std::size_t p = 0; p < line.size(); ++p) {
    if (line[p] != ':') continue;
    bool same = p + 2 * n + 5 <= line.size();
    for (std::size_t i = 0; same && i < n; ++i)
      same = MODBUS::HexToByte(line[p + 1 + 2 * i], line[p + 2 + 2 * i]) == message[i];
    if (!same) continue;
    for (const std::size_t length : {2 * n + 5, 2 * n + 6}) {
      if (p + length <= line.size() && line[p + length - 2] == '\r' && line[p + length - 1] == '\n') return true;
    }
  }
  return false;
}

// The port's traffic log, kept short: the log a port makes for itself
// holds many thousands of frames, and setting it up would take most of the
// time of a run.
std::shared_ptr<TrafficLog> SmallLog() { return std::make_shared<TrafficLog>(16); }

void Send(SerialBench& bench, platform::MemoryLine& peer, const std::vector<Piece>& pieces, Bytes& line) {
  for (const Piece& piece : pieces) {
    if (!piece.bytes.empty()) peer.Write(piece.bytes);
    line.insert(line.end(), piece.bytes.begin(), piece.bytes.end());
    bench.Tick(0);
    // A long pause in one step: nothing arrives during it.
    if (piece.pauseMs > 100) {
      bench.Tick(piece.pauseMs);
    } else {
      for (double t = 0; t < piece.pauseMs; t += 1) bench.Tick(1);
    }
  }
}

// A port with ASCII framing on COM1, one window (address 1) on it, and the
// far end of its line.
struct AsciiPort {
  explicit AsciiPort(std::int16_t mode) {
    bench.ports[1].Mode = mode;
    bench.ports[1].Traffic = SmallLog();
    bench.ports[1].ASCII = true;
    bench.ports[1].ASCII8bits = true;
    Check(bench.Open(1) != nullptr, "the port opens");
    peer = Peer(bench);
    Check(peer != nullptr, "the far end opens");
  }

  SerialBench bench;
  FakeWindow& window = bench.AddWindow(1, 1);
  std::unique_ptr<platform::MemoryLine> peer;
};

void AsSlave(const std::vector<Piece>& pieces) {
  AsciiPort rig(kModeSlave);
  Bytes line;
  Send(rig.bench, *rig.peer, pieces, line);
  rig.bench.Tick(1500);
  for (const Bytes& request : rig.window.requests) {
    Check(!request.empty() && request[0] == 1, "a request handed on is for the window's address");
    Check(StoodOnLine(line, request), "a request handed on stood whole on the line");
  }
  const std::size_t heard = rig.window.requests.size();

  const Bytes good = Text(":010300000002FA\r\n");
  Send(rig.bench, *rig.peer, {{good, 5}}, line);
  Check(rig.window.requests.size() == heard + 1 && rig.window.requests.back() == Bytes({1, 3, 0, 0, 0, 2}),
        "a good request after the noise reaches its window");
}

void AsMaster(const std::vector<Piece>& pieces) {
  AsciiPort rig(kModeMaster);
  Check(rig.bench.Send(rig.window, ReadHolding(0, 2), 100), "the request goes out");
  Bytes line;
  Send(rig.bench, *rig.peer, pieces, line);
  // Past the time-out and any gap that could still end a frame.
  for (int i = 0; i < 40 && rig.window.waiting; ++i) rig.bench.Tick(100);
  Check(rig.window.answers.size() == 1, "a request ends with exactly one answer");
  const auto& answer = rig.window.answers.front();
  Check(answer.length >= 0 && static_cast<std::size_t>(answer.length) <= answer.bufferSize,
        "an answer fits its buffer");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::vector<Piece> pieces = Pieces({data + 1, size - 1});
  if ((data[0] & 1) == 0) {
    AsSlave(pieces);
  } else {
    AsMaster(pieces);
  }
  return 0;
}
