#pragma once

// Where an RTU frame lies in what a port has received, for the timings that
// do not wait for silence. A frame is taken the moment its announced length
// is in and its CRC holds, wherever it starts: bytes before it that cannot
// begin one (a glitch on the bus, the tail of a frame heard half) are passed
// over. A candidate that starts earlier and may still complete holds back a
// later one, so that a CRC that happens to hold inside a long frame does not
// cut it; once the line has gone quiet nothing more can complete, and the
// first whole frame is taken wherever it lies.
//
// A master looks for the answer of the slave it asked, to the function it
// sent (or its exception answer); a listening slave looks for requests to any
// address, and also knows the answers other slaves give, so that it can pass
// over them instead of reading them as requests.
//
// An ASCII frame needs no length: it runs from a ':' to the next LF, and a
// ':' that comes again before that LF starts the frame anew (what was before
// it was cut short). So several frames read at once are each found in turn.

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvel {

enum class FrameKind : std::uint8_t {
  None,     // no frame found
  Awaited,  // what the rule looks for: the answer (master) or a request (slave)
  Foreign,  // a whole frame that is not for us: another slave's answer
};

struct FrameMatch {
  FrameKind kind = FrameKind::None;
  std::size_t start = 0;
  std::size_t length = 0;  // CRC included
  // No frame found, but the bytes begin one whose announced length has not
  // come in yet.
  bool pending = false;
};

class FrameRule {
 public:
  // The answer of slave `id` to `function`, or its exception answer.
  static FrameRule AnswerFrom(std::uint8_t id, std::uint8_t function);
  // Requests to any address (0, broadcast, up to 247); other slaves' answers
  // are recognised as foreign.
  static FrameRule Requests();
  // ASCII frames, from ':' to LF, whoever sends them.
  static FrameRule Ascii();

  // `quiet`: no more bytes will come for this frame.
  FrameMatch Find(std::span<const std::uint8_t> bytes, bool quiet = false) const;

 private:
  enum class Side : std::uint8_t { Master, Slave, Ascii };
  FrameMatch FindAscii(std::span<const std::uint8_t> bytes) const;
  FrameRule(Side side, std::uint8_t id, std::uint8_t function) : side_(side), id_(id), function_(function) {}

  Side side_;
  std::uint8_t id_;
  std::uint8_t function_;
};

}  // namespace quorvel
