// The link between copies, in one process: the first copy's side served on
// this thread, the later copy's on another. Every wait is bounded.

#include "platform/InstanceLink.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <future>
#include <mutex>

#include "LineTestSupport.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Short limits, so that the failure cases end quickly.
LinkLimits Quick() {
  LinkLimits limits;
  limits.connect = milliseconds(150);
  limits.answer = milliseconds(1500);
  limits.offer = milliseconds(150);
  return limits;
}

struct LinkDir {
  TempDir temp;
  std::string dir = (temp.path() / "quorvel").string();
  LinkDir() {
    std::string error;
    if (!PrepareLinkDirectory(dir, error)) ADD_FAILURE() << error;
  }
};

std::unique_ptr<InstanceServer> ClaimFirst(const std::string& dir, LinkLimits limits = Quick()) {
  InstanceClaim claim = ClaimInstance(dir, limits);
  EXPECT_EQ(claim.role, InstanceRole::First) << claim.error;
  return std::move(claim.server);
}

// Runs the first copy's side until `done` holds or `ms` have passed.
template <typename Done>
void Serve(InstanceServer& server, const InstanceServer::Receive& receive, Done done, int ms = 3000) {
  const auto end = Clock::now() + milliseconds(ms);
  while (!done() && Clock::now() < end) {
    pollfd p{server.fd(), POLLIN, 0};
    if (poll(&p, 1, 5) > 0) server.Service(receive);
  }
}

bool Ready(const std::future<bool>& f) { return f.wait_for(milliseconds(0)) == std::future_status::ready; }

sockaddr_un Address(const std::string& dir) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = dir + "/link";
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

// A listening end that never answers; -1 on failure.
int RawListen(const std::string& dir) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = Address(dir);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && listen(fd, 1) == 0) return fd;
  close(fd);
  return -1;
}

TEST(InstanceLink, LaterCopyEndsOnlyAfterTheFirstCopyHasActedOnTheName) {
  const LinkDir link;
  auto server = ClaimFirst(link.dir);
  ASSERT_TRUE(server);
  std::mutex lock;
  std::vector<std::string> events;
  const auto note = [&](const std::string& event) {
    const std::lock_guard<std::mutex> guard(lock);
    events.push_back(event);
  };
  for (const std::string name : {"C:\\dir\\a b.qvc", "", "two words.qvs extra"}) {
    events.clear();
    auto offer = std::async(std::launch::async, [&] {
      const bool ended = OfferName(link.dir, name, Quick());
      note("later copy ends");
      return ended;
    });
    // The later copy's connection is what wakes the first copy.
    pollfd p{server->fd(), POLLIN, 0};
    ASSERT_EQ(poll(&p, 1, 2000), 1);
    Serve(
        *server,
        [&](const std::string& received) {
          note("fetched " + received);
          SleepMs(60);  // the later copy must still be waiting here
          note("acted");
        },
        [&] { return Ready(offer); });
    ASSERT_TRUE(Ready(offer));
    EXPECT_TRUE(offer.get());
    EXPECT_EQ(events, (std::vector<std::string>{"fetched " + name, "acted", "later copy ends"}));
    EXPECT_EQ(server->PendingPeers(), 0U);
  }
}

TEST(InstanceLink, NoFirstCopyMeansNoAnswer) {
  const LinkDir link;
  const auto start = Clock::now();
  EXPECT_FALSE(OfferName(link.dir, "a.qvc", Quick()));
  EXPECT_LT(Clock::now() - start, milliseconds(1000));
  EXPECT_FALSE(OfferName("/nonexistent/quorvel", "a.qvc", Quick()));
}

TEST(InstanceLink, StaleSocketIsHarmless) {
  const LinkDir link;
  // A crashed copy leaves its socket file behind with nobody listening.
  close(RawListen(link.dir));
  ASSERT_TRUE(fs::is_socket(link.dir + "/link"));
  EXPECT_FALSE(OfferName(link.dir, "a.qvc", Quick())) << "nobody listens on a stale socket";

  auto server = ClaimFirst(link.dir);
  ASSERT_TRUE(server);
  auto offer = std::async(std::launch::async, [&] { return OfferName(link.dir, "a.qvc", Quick()); });
  std::vector<std::string> received;
  Serve(
      *server, [&](const std::string& name) { received.push_back(name); }, [&] { return Ready(offer); });
  ASSERT_TRUE(Ready(offer));
  EXPECT_TRUE(offer.get());
  EXPECT_EQ(received, std::vector<std::string>{"a.qvc"});
}

}  // namespace
}  // namespace quorvel::platform
