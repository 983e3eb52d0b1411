#pragma once

// Looking for devices on a line: each slave id in turn is asked for holding
// register 0 (function 3, count 1). A device is there when it answers with
// registers, and also when it answers with an exception (it exists but has
// no such register): both prove that the id is taken. The scan itself is
// plain logic; whoever owns the port sends the messages and hands back what
// came, so the command line and the desktop drive it alike.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorvel {

struct ScanHit {
  int id = 0;
  std::string what;  // "registers" or "exception N"
};

class DeviceScan {
 public:
  DeviceScan(std::vector<int> ids, bool ascii);

  bool Done() const { return next_ >= ids_.size(); }
  int CurrentId() const { return ids_[next_]; }
  // The message for the current id: address, function, data (no checksum).
  std::vector<std::uint8_t> Message() const;
  // What came for the current id (the answer as received, or nothing after
  // the time-out); moves on to the next id and returns what was found.
  std::optional<ScanHit> Take(bool timedOut, std::span<const std::uint8_t> answer);

  // 0..100: the share of ids asked.
  int Percent() const;
  const std::vector<ScanHit>& Hits() const { return hits_; }
  std::size_t Count() const { return ids_.size(); }

 private:
  std::vector<int> ids_;
  bool ascii_;
  std::size_t next_ = 0;
  std::vector<ScanHit> hits_;
};

// "1-247", "5", "1,5,10-20": slave ids 1..247 in the order given, each once;
// nullopt with `error` set for another text.
std::optional<std::vector<int>> ParseIdList(const std::string& text, std::string& error);

}  // namespace quorvel
