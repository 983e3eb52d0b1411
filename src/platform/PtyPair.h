#pragma once

// A pseudo-terminal: the master side, which this program drives, and the
// slave path (/dev/pts/N) that a serial-port user opens as if it were a
// device. The pair keeps its own descriptor of the slave open for as long as
// it lives, so that the master neither reports a hang-up nor loses its
// settings while no user has the slave open; both ends start raw, so nothing
// is echoed or translated before a user opens the slave.

#include <string>

namespace quorvel::platform {

class PtyPair {
 public:
  // Throws std::system_error when no pseudo-terminal can be had.
  PtyPair();
  ~PtyPair();
  PtyPair(PtyPair&& other) noexcept;
  PtyPair& operator=(PtyPair&& other) noexcept;
  PtyPair(const PtyPair&) = delete;
  PtyPair& operator=(const PtyPair&) = delete;

  int Master() const { return master_; }       // non-blocking
  int SlaveKeeper() const { return keeper_; }  // the pair's own slave descriptor
  const std::string& SlavePath() const { return slavePath_; }

  // Closes the master: users of the slave see the line hang up, as when a
  // USB adapter is pulled out.
  void CloseMaster();

 private:
  void Release();

  int master_ = -1;
  int keeper_ = -1;
  std::string slavePath_;
};

}  // namespace quorvel::platform
