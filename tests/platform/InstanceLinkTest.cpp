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

// With no runtime directory the link's folder has a name in /tmp that any
// user can take first; the first copy then uses a folder of its own.
TEST(InstanceLink, AFolderTakenByAnotherUserGivesWayToTheUsersCache) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a folder another user owns";
  TempDir temp;
  const std::string taken = (temp.path() / "quorvel-0").string();
  const std::string fallback = (temp.path() / "cache" / "quorvel").string();
  ASSERT_EQ(mkdir(taken.c_str(), 0700), 0);
  ASSERT_EQ(chown(taken.c_str(), 65534, 65534), 0);

  std::string note, error;
  EXPECT_EQ(PrepareLinkDirectoryOr(taken, "", note, error), "");
  EXPECT_EQ(error, taken + " belongs to another user");
  EXPECT_EQ(note, "");

  error.clear();
  EXPECT_EQ(PrepareLinkDirectoryOr(taken, fallback, note, error), fallback);
  EXPECT_EQ(error, "");
  EXPECT_EQ(note, taken + " belongs to another user; later copies find this one through " + fallback);
  EXPECT_EQ(fs::status(fallback).permissions(), fs::perms::owner_all);
  // A later copy comes to the same folder and finds the first one there.
  auto server = ClaimFirst(fallback);
  ASSERT_TRUE(server);
  std::string again;
  EXPECT_EQ(PrepareLinkDirectoryOr(taken, fallback, again, error), fallback);

  // A folder of the user's own is used as it is, without a word.
  note.clear();
  EXPECT_EQ(PrepareLinkDirectoryOr(fallback, taken, note, error), fallback);
  EXPECT_EQ(note, "");
}

TEST(InstanceLink, TheCacheFolderIsAFallbackOnlyWithoutARuntimeDirectory) {
  const struct {
    const char *runtime, *cache, *home, *expected;
  } cases[] = {
      {"/run/user/1000", "/c", "/h", ""}, {nullptr, "/c", "/h", "/c/quorvel"}, {"", "rel", "/h", "/h/.cache/quorvel"},
      {nullptr, nullptr, "rel", ""},      {nullptr, nullptr, nullptr, ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(FallbackLinkDirectoryFor(c.runtime, c.cache, c.home), c.expected)
        << (c.runtime ? c.runtime : "-") << " " << (c.cache ? c.cache : "-") << " " << (c.home ? c.home : "-");
}

TEST(InstanceLink, HandedOverNamesArePrintedWithoutControlCharacters) {
  const std::pair<std::string, std::string> cases[] = {
      {"/home/u/Anlage Süd.qvc", "/home/u/Anlage Süd.qvc"},
      {"a\x1b]0;owned\x07.qvc", "a\\x1b]0;owned\\x07.qvc"},
      {"one\ntwo\r.qvc", "one\\x0atwo\\x0d.qvc"},
      {std::string("nul\0\x7f", 5), "nul\\x00\\x7f"},
  };
  for (const auto& [name, shown] : cases) EXPECT_EQ(PrintableName(name), shown);
}

}  // namespace
}  // namespace quorvel::platform
