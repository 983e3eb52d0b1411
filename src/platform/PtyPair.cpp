#include "platform/PtyPair.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/Termios2.h"

namespace quorvel::platform {
namespace {

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

PtyPair::PtyPair() {
  master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master_ < 0) Fail("posix_openpt");
  char name[128];
  if (grantpt(master_) != 0 || unlockpt(master_) != 0 || ptsname_r(master_, name, sizeof name) != 0) {
    const int error = errno;
    Release();
    errno = error;
    Fail("pseudo-terminal setup");
  }
  slavePath_ = name;
  keeper_ = open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  termios2 settings{};
  if (keeper_ < 0 || fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK) != 0 ||
      !GetTermios(keeper_, settings)) {
    const int error = errno;
    Release();
    errno = error;
    Fail("pseudo-terminal slave");
  }
  MakeRaw(settings);
  SetTermios(keeper_, settings);
}

PtyPair::~PtyPair() { Release(); }

PtyPair::PtyPair(PtyPair&& other) noexcept
    : master_(std::exchange(other.master_, -1)),
      keeper_(std::exchange(other.keeper_, -1)),
      slavePath_(std::move(other.slavePath_)) {}

PtyPair& PtyPair::operator=(PtyPair&& other) noexcept {
  if (this != &other) {
    Release();
    master_ = std::exchange(other.master_, -1);
    keeper_ = std::exchange(other.keeper_, -1);
    slavePath_ = std::move(other.slavePath_);
  }
  return *this;
}

void PtyPair::CloseMaster() {
  if (master_ >= 0) close(master_);
  master_ = -1;
}

void PtyPair::Release() {
  CloseMaster();
  if (keeper_ >= 0) close(keeper_);
  keeper_ = -1;
}

}  // namespace quorvel::platform
