// The link between copies, in one process: the first copy's side served on
// this thread, the later copy's on another. Every wait is bounded.

#include "platform/InstanceLink.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
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

// Raw ends that do only what the test says; -1 on failure.
int RawConnect(const std::string& dir) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = Address(dir);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  close(fd);
  return -1;
}
int RawListen(const std::string& dir) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = Address(dir);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && listen(fd, 1) == 0) return fd;
  close(fd);
  return -1;
}

// True when the peer closed the connection within `ms` without sending anything.
bool ClosedByPeer(int fd, int ms) {
  pollfd p{fd, POLLIN, 0};
  char c;
  return poll(&p, 1, ms) > 0 && recv(fd, &c, 1, MSG_DONTWAIT) == 0;
}

TEST(InstanceLink, DirectoryComesFromTheRuntimeDirectoryWhenItIsAbsolute) {
  struct Case {
    const char* runtime;
    uid_t uid;
    const char* expected;
  };
  for (const Case& c : {Case{"/run/user/1000", 1000, "/run/user/1000/quorvel"}, Case{"/tmp/x y", 5, "/tmp/x y/quorvel"},
                        Case{nullptr, 1000, "/tmp/quorvel-1000"}, Case{"", 0, "/tmp/quorvel-0"},
                        Case{"run/user/7", 7, "/tmp/quorvel-7"}}) {
    EXPECT_EQ(LinkDirectoryFor(c.runtime, c.uid), c.expected) << (c.runtime ? c.runtime : "(unset)");
  }
}

TEST(InstanceLink, DirectoryIsMadePrivateAndRefusedWhenOthersCouldReachIt) {
  const TempDir temp;
  const std::string made = (temp.path() / "made").string();
  std::string error;
  ASSERT_TRUE(PrepareLinkDirectory(made, error)) << error;
  struct stat info {};
  ASSERT_EQ(stat(made.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
  EXPECT_TRUE(PrepareLinkDirectory(made, error)) << "an existing private directory is taken as it is";

  const std::string open = (temp.path() / "open").string();
  ASSERT_EQ(mkdir(open.c_str(), 0700), 0);
  ASSERT_EQ(chmod(open.c_str(), 0750), 0);
  const std::string file = (temp.path() / "file").string();
  std::ofstream(file) << "x";
  const std::string link = (temp.path() / "link").string();
  ASSERT_EQ(symlink(made.c_str(), link.c_str()), 0);
  for (const std::string& refused : {open, file, link, (temp.path() / "missing" / "quorvel").string()}) {
    error.clear();
    EXPECT_FALSE(PrepareLinkDirectory(refused, error)) << refused;
    EXPECT_NE(error.find(refused), std::string::npos) << error;
  }
}

TEST(InstanceLink, OnlyOneClaimIsFirstUntilItEnds) {
  const LinkDir link;
  {
    auto first = ClaimFirst(link.dir);
    ASSERT_TRUE(first);
    for (int i = 0; i < 2; ++i) {
      const InstanceClaim again = ClaimInstance(link.dir, Quick());
      EXPECT_EQ(again.role, InstanceRole::Later);
      EXPECT_EQ(again.server, nullptr);
    }
  }
  EXPECT_FALSE(fs::exists(link.dir + "/link")) << "the socket goes with its copy";
  EXPECT_TRUE(ClaimFirst(link.dir));
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

TEST(InstanceLink, NamesOverTheLimitAreRefusedUnread) {
  const LinkDir link;
  LinkLimits limits = Quick();
  limits.maxName = 16;
  auto server = ClaimFirst(link.dir, limits);
  ASSERT_TRUE(server);
  struct Case {
    std::size_t size;
    bool taken;
  };
  for (const Case& c : {Case{0, true}, Case{16, true}, Case{17, false}, Case{4097, false}, Case{300'000, false}}) {
    const std::string name(c.size, 'q');
    auto offer = std::async(std::launch::async, [&] { return OfferName(link.dir, name, limits); });
    std::vector<std::string> received;
    Serve(
        *server, [&](const std::string& got) { received.push_back(got); }, [&] { return Ready(offer); });
    ASSERT_TRUE(Ready(offer)) << c.size;
    EXPECT_EQ(offer.get(), c.taken) << c.size;
    EXPECT_EQ(received.size(), c.taken ? 1U : 0U) << c.size;
    if (c.taken && !received.empty()) {
      EXPECT_EQ(received[0], name);
    }
    EXPECT_EQ(server->PendingPeers(), 0U) << c.size;
  }
}

TEST(InstanceLink, StuckPeerIsDroppedAndDoesNotHoldUpOthers) {
  const LinkDir link;
  auto server = ClaimFirst(link.dir);
  ASSERT_TRUE(server);
  const int stuck = RawConnect(link.dir);
  ASSERT_GE(stuck, 0);
  ASSERT_EQ(send(stuck, "half.q", 6, MSG_NOSIGNAL), 6);  // and never the end
  Serve(
      *server, [](const std::string&) { ADD_FAILURE() << "nothing complete was offered"; },
      [&] { return server->PendingPeers() == 1; });
  ASSERT_EQ(server->PendingPeers(), 1U);

  // Served while the stuck one still waits.
  auto offer = std::async(std::launch::async, [&] { return OfferName(link.dir, "b.qvc", Quick()); });
  std::vector<std::string> received;
  Serve(
      *server, [&](const std::string& name) { received.push_back(name); }, [&] { return Ready(offer); });
  ASSERT_TRUE(Ready(offer));
  EXPECT_TRUE(offer.get());
  EXPECT_EQ(received, std::vector<std::string>{"b.qvc"});

  // The time limit wakes the first copy by itself; the stuck peer is cut off.
  Serve(
      *server, [](const std::string&) {}, [&] { return server->PendingPeers() == 0; }, 2000);
  EXPECT_EQ(server->PendingPeers(), 0U);
  EXPECT_TRUE(ClosedByPeer(stuck, 1000));
  close(stuck);
}

TEST(InstanceLink, FirstCopyThatDiesOrNeverAnswersEndsTheLaterCopyQuietly) {
  // A stand-in first copy that takes the name and then fails to end the fetch.
  for (const bool hangsUp : {true, false}) {
    const LinkDir link;
    const int listener = RawListen(link.dir);
    ASSERT_GE(listener, 0);
    LinkLimits limits = Quick();
    limits.answer = milliseconds(200);
    const auto start = Clock::now();
    auto offer = std::async(std::launch::async, [&] { return OfferName(link.dir, "a.qvc", limits); });
    const int peer = accept(listener, nullptr, nullptr);
    ASSERT_GE(peer, 0);
    ASSERT_EQ(ReadFd(peer, 6).size(), 6U);
    if (hangsUp) close(peer);
    ASSERT_EQ(offer.wait_for(milliseconds(2000)), std::future_status::ready) << hangsUp;
    EXPECT_FALSE(offer.get()) << hangsUp;
    if (!hangsUp) {
      EXPECT_GE(Clock::now() - start, milliseconds(200));
      close(peer);
    }
    close(listener);
  }
}

}  // namespace
}  // namespace quorvel::platform
