#pragma once

// One descriptor for an event loop to wait on, standing for several: it polls
// readable when any descriptor watched is, or while the owner holds input
// that is already read in (frames kept back to be handed over one at a time),
// which no socket would tell of any more. A line with a listening socket and
// its clients, or with frames it has cut from a stream, shows this one as its
// Descriptor.

namespace quorvel::platform {

class ReadySet {
 public:
  ReadySet();
  ~ReadySet();
  ReadySet(const ReadySet&) = delete;
  ReadySet& operator=(const ReadySet&) = delete;

  // -1 when the system refused one of the descriptors needed.
  int Descriptor() const { return epoll_; }
  void Watch(int fd);
  void Unwatch(int fd);
  // Whether the owner holds input: the descriptor polls readable while it does.
  void SetHolding(bool holding);

 private:
  int epoll_ = -1;
  int held_ = -1;  // an eventfd, non-zero while input is held
  bool holding_ = false;
};

}  // namespace quorvel::platform
