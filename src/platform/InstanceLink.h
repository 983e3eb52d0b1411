#pragma once

// One copy of the program per user: the first copy holds a lock for its
// whole life and listens on a Unix-domain socket beside it; a later copy
// finds the lock taken, hands its file name over the socket and ends.
//
// The exchange keeps a fixed order: the later copy connects (which wakes the
// first copy) and offers the name, ended by a NUL byte; the first copy reads
// it, acts on it, then answers one byte and closes, which ends the fetch; the
// later copy waits for that end and only then exits. Whatever goes wrong on
// the way (no first copy, one that dies, a name cut short) ends the later
// copy quietly and opens nothing.
//
// Both files live in a directory that only this user can reach, so the
// socket needs no further authentication; the first copy still checks its
// peer's user, and gives every peer a time and size limit so that a stuck
// or hostile client cannot hold it up.

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::platform {

struct LinkLimits {
  // Later copy: how long a first copy that holds the lock but is not yet
  // listening (it is starting, or it has just crashed) may take to answer.
  std::chrono::milliseconds connect{1000};
  // Later copy: how long the first copy may take to fetch the name and end.
  std::chrono::milliseconds answer{10000};
  // First copy: how long a connected peer may take to offer its whole name.
  std::chrono::milliseconds offer{2000};
  // First copy: longest name taken, in bytes; a longer one is refused.
  std::size_t maxName = 32 * 1024;
  // First copy: peers served at the same time; more are turned away.
  std::size_t maxPeers = 16;
};

// The link directory for a runtime directory (the value of XDG_RUNTIME_DIR,
// may be null) and a user: "<runtime>/quorvel" when the runtime directory is
// an absolute path, "/tmp/quorvel-<uid>" otherwise.
std::string LinkDirectoryFor(const char* runtimeDir, uid_t uid);
// The same for this process's environment and user; QUORVEL_LINK_DIR, when
// it is an absolute path, names the directory itself.
std::string LinkDirectory();

// Creates `dir` with mode 0700 when it is missing. False, with the reason in
// `error`, when it is not a directory of this user's that nobody else can
// enter (a symbolic link is refused too).
bool PrepareLinkDirectory(const std::string& dir, std::string& error);

// Where the link goes when the shared /tmp name is taken by another user,
// who may have made it first to keep this user out: "<cache>/quorvel" under
// XDG_CACHE_HOME when that is an absolute path, else under "$HOME/.cache".
// Empty without either, or when a runtime directory (or QUORVEL_LINK_DIR)
// decides the place, since no other user can take that.
std::string FallbackLinkDirectoryFor(const char* runtimeDir, const char* cacheHome, const char* home);
// The same for this process's environment.
std::string FallbackLinkDirectory();

// Prepares `dir`, or `fallback` (when not empty) if `dir` belongs to another
// user; then `note` says which folder is used and why. The directory to use,
// or empty with the reason in `error`.
std::string PrepareLinkDirectoryOr(const std::string& dir, const std::string& fallback, std::string& note,
                                   std::string& error);

// A name as it may be printed: control characters (which could move the
// cursor or rewrite a terminal's title) become "\xNN".
std::string PrintableName(std::string_view name);

struct InstanceClaim;

// The first copy's end of the link. Never blocks: fd() becomes readable when
// there is something to do (a peer connected, bytes arrived, a peer's time
// ran out), and Service() then does it.
class InstanceServer {
 public:
  using Receive = std::function<void(const std::string& name)>;

  ~InstanceServer();
  InstanceServer(const InstanceServer&) = delete;
  InstanceServer& operator=(const InstanceServer&) = delete;

  // A descriptor to wait on for reading (poll, or a socket notifier).
  int fd() const { return poll_; }

  // Accepts, reads and expires whatever is ready, without waiting. Every
  // name offered in full goes to `receive`; the peer's fetch is ended after
  // `receive` returns. `receive` may itself run Service() again.
  void Service(const Receive& receive);

  // Peers that are connected and have not yet offered their whole name.
  std::size_t PendingPeers() const { return peers_.size(); }

 private:
  friend InstanceClaim ClaimInstance(const std::string& dir, LinkLimits limits);
  struct Peer {
    int fd;
    std::string name;
    std::chrono::steady_clock::time_point deadline;
  };

  InstanceServer(std::string path, int lock, int listener, int poll, int timer, LinkLimits limits);
  void Accept();
  // False when the peer is done with: offered its name (moved to `done`) or failed.
  bool Read(Peer& peer, std::vector<Peer>& done);
  void Drop(Peer& peer);
  void ArmTimer();

  std::string path_;  // the socket's, removed again on the way out
  int lock_;
  int listener_;
  int poll_;
  int timer_;
  LinkLimits limits_;
  std::vector<Peer> peers_;
};

enum class InstanceRole {
  First,   // this process holds the lock; `server` answers later copies
  Later,   // another copy holds the lock
  Failed,  // no safe link could be made; `error` says why
};

struct InstanceClaim {
  InstanceRole role;
  std::unique_ptr<InstanceServer> server;
  std::string error;
};

// The previous-instance test, race-free: whoever takes the lock in `dir`
// first is the first copy, removes any socket a crashed copy left behind and
// listens in its place. `dir` must have been prepared.
InstanceClaim ClaimInstance(const std::string& dir, LinkLimits limits = {});

// The later copy's end: offers `name` to the copy listening in `dir` and
// waits until it ends the fetch. False when nobody fetched the name in full.
bool OfferName(const std::string& dir, const std::string& name, LinkLimits limits = {});

}  // namespace quorvel::platform
