// libFuzzer target: any bytes as what a later copy (or anything else that
// reaches the hand-off socket) sends to the first copy, in pieces. The first
// copy must take exactly the text before the first NUL when it comes within
// the name limit, nothing otherwise, and be left with no peer once the
// sender has gone.
//
// Input: byte 0 sets the size of the pieces the bytes are sent in; the rest
// is sent, up to a piece past the name limit: by then the first copy has
// either taken the name or dropped the peer, so longer inputs would only
// cost sends and reads (each run is a real connection, the target's cost).
// The server lives for the whole run, in a directory of its own.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzCheck.h"
#include "platform/InstanceLink.h"

using namespace quorvel::platform;
using quorvel::fuzz::Check;

namespace {

constexpr std::size_t kMaxName = 200;

struct Link {
  std::string dir;
  std::unique_ptr<InstanceServer> server;
  std::string socket;
};

Link& TheLink() {
  static Link* link = [] {
    auto* made = new Link;
    char pattern[] = "/tmp/quorvel-handoff-fuzz-XXXXXX";
    Check(mkdtemp(pattern) != nullptr, "a directory for the link");
    made->dir = pattern;
    std::string error;
    Check(PrepareLinkDirectory(made->dir, error), "the link directory is usable");
    LinkLimits limits;
    limits.maxName = kMaxName;
    InstanceClaim claim = ClaimInstance(made->dir, limits);
    Check(claim.role == InstanceRole::First, "the fuzzer is the first copy");
    made->server = std::move(claim.server);
    made->socket = made->dir + "/link";
    Check(access(made->socket.c_str(), F_OK) == 0, "the first copy's socket is where it should be");
    return made;
  }();
  return *link;
}

std::optional<int> Connect(const std::string& socketPath) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return std::nullopt;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    return std::nullopt;
  }
  return fd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  Link& link = TheLink();

  const std::size_t piece = 1 + data[0] % 64;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), std::min(size - 1, kMaxName + 1 + 64));
  const auto fd = Connect(link.socket);
  Check(fd.has_value(), "a later copy connects");

  std::vector<std::string> received;
  const auto receive = [&](const std::string& name) { received.push_back(name); };
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    const std::string_view part = bytes.substr(at, piece);
    // The server may already have dropped a peer that went over the limit.
    if (send(*fd, part.data(), part.size(), MSG_NOSIGNAL) < 0) break;
    link.server->Service(receive);
  }
  close(*fd);
  for (int i = 0; i < 4 && link.server->PendingPeers() != 0; ++i) link.server->Service(receive);
  link.server->Service(receive);

  const std::size_t nul = bytes.find('\0');
  if (nul != std::string_view::npos && nul <= kMaxName) {
    Check(received.size() == 1 && received.front() == bytes.substr(0, nul), "the name before the NUL is taken");
  } else {
    Check(received.empty(), "no name is taken without its NUL within the limit");
  }
  Check(link.server->PendingPeers() == 0, "a peer that has gone is dropped");
  return 0;
}
