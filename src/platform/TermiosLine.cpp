#include "platform/TermiosLine.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/PendingBytes.h"

namespace quorvel::platform {
namespace {

constexpr std::size_t kPendingReserve = 4096;

bool IsGoneError(int error) {
  return error == EIO || error == ENXIO || error == ENODEV || error == EPIPE || error == EBADF;
}

// poll() with no wait; also makes the tty layer move input it still holds
// into the queue that FIONREAD counts.
short PollNow(int fd, short events) {
  pollfd p{fd, events, 0};
  if (poll(&p, 1, 0) < 0) return 0;
  return p.revents;
}

constexpr short kHangUp = POLLHUP | POLLERR | POLLNVAL;

}  // namespace

TermiosLine::TermiosLine(std::string path) : path_(std::move(path)) {}

TermiosLine::~TermiosLine() { Close(); }

OpenFailure TermiosLine::Open(const LineSettings& settings) {
  Close();
  const int fd = open(path_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return DescribeOpenFailure(path_, errno);
  termios2 found{};
  int error = 0;
  if (flock(fd, LOCK_EX | LOCK_NB) != 0)
    error = errno;
  else if (!GetTermios(fd, found))
    error = errno == EINVAL ? ENOTTY : errno;
  else if (ioctl(fd, TIOCEXCL) != 0)
    error = errno;
  if (error != 0) {
    // Closed before describing, so that looking for the holder does not find us.
    close(fd);
    return DescribeOpenFailure(path_, error);
  }
  fd_ = fd;
  gone_ = false;
  saved_ = Saved{};
  saved_.termios = found;
  pending_.clear();
  pending_.reserve(kPendingReserve);
  Configure(settings);
  Purge(PurgeWhat::Both);
  return {};
}

void TermiosLine::Configure(const LineSettings& settings) {
  termios2 wanted = saved_.termios;
  MakeRaw(wanted);
  ApplyFraming(wanted, settings);
  if (!SetTermios(fd_, wanted)) {
    // A driver that refuses the rate outright still gets the rest.
    wanted.c_cflag = (wanted.c_cflag & ~static_cast<tcflag_t>(CBAUD | CIBAUD)) |
                     (saved_.termios.c_cflag & static_cast<tcflag_t>(CBAUD | CIBAUD));
    wanted.c_ispeed = saved_.termios.c_ispeed;
    wanted.c_ospeed = saved_.termios.c_ospeed;
    SetTermios(fd_, wanted);
  }

  // USB adapters hold received bytes up to 16 ms before passing them on
  // unless asked for low latency, which would blur the gaps that end RTU frames.
  serial_struct serial{};
  if (ioctl(fd_, TIOCGSERIAL, &serial) == 0 && (serial.flags & ASYNC_LOW_LATENCY) == 0) {
    serial_struct fast = serial;
    fast.flags |= ASYNC_LOW_LATENCY;
    if (ioctl(fd_, TIOCSSERIAL, &fast) == 0) saved_.serial = serial;
  }

  bool rtsByDriver = false;
  serial_rs485 rs485{};
  if (settings.rts == RtsControl::Toggle && ioctl(fd_, TIOCGRS485, &rs485) == 0) {
    serial_rs485 toggle = rs485;
    toggle.flags |= SER_RS485_ENABLED | SER_RS485_RTS_ON_SEND;
    toggle.flags &= ~static_cast<decltype(toggle.flags)>(SER_RS485_RTS_AFTER_SEND);
    if (ioctl(fd_, TIOCSRS485, &toggle) == 0) {
      saved_.rs485 = rs485;
      rtsByDriver = true;
    }
  }

  int lines = 0;
  if (ioctl(fd_, TIOCMGET, &lines) == 0) {
    saved_.modemLines = lines;
    SetModemLine(TIOCM_DTR, settings.dtr);
    // Without the driver's direction control, toggling falls back to RTS on:
    // an adapter that switches direction by itself works, and nothing is lost
    // for one that needs RTS.
    if (!rtsByDriver) SetModemLine(TIOCM_RTS, settings.rts != RtsControl::Off);
  }
}

void TermiosLine::SetModemLine(int line, bool on) { ioctl(fd_, on ? TIOCMBIS : TIOCMBIC, &line); }

void TermiosLine::Close() {
  if (fd_ < 0) return;
  // Dropping unsent output first keeps close() from waiting for it to drain,
  // which a stuck line would make last half a minute. Failures are of no
  // consequence here: on a line that is gone every call fails at once.
  Purge(PurgeWhat::Both);
  if (saved_.rs485) ioctl(fd_, TIOCSRS485, &*saved_.rs485);
  if (saved_.serial) ioctl(fd_, TIOCSSERIAL, &*saved_.serial);
  SetTermios(fd_, saved_.termios);
  if (saved_.modemLines) {
    SetModemLine(TIOCM_DTR, (*saved_.modemLines & TIOCM_DTR) != 0);
    SetModemLine(TIOCM_RTS, (*saved_.modemLines & TIOCM_RTS) != 0);
  }
  ioctl(fd_, TIOCNXCL);
  close(fd_);  // also releases the flock
  fd_ = -1;
  gone_ = false;
  pending_.clear();
}

IoResult TermiosLine::Failure(int error) {
  if (error == EAGAIN || error == EINTR) return {};
  if (IsGoneError(error)) {
    gone_ = true;
    return {0, IoStatus::Gone, error};
  }
  return {0, IoStatus::Failed, error};
}

bool TermiosLine::HungUp() { return (PollNow(fd_, POLLIN) & kHangUp) != 0; }

IoResult TermiosLine::FlushPending() {
  return FlushPendingBytes(
      pending_, [this](const std::uint8_t* data, std::size_t size) { return write(fd_, data, size); },
      [this](int error) { return Failure(error); });
}

IoResult TermiosLine::Write(std::span<const std::uint8_t> bytes) {
  if (fd_ < 0) return {0, IoStatus::Closed, EBADF};
  if (gone_) return {0, IoStatus::Gone, EIO};
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  const IoResult flushed = FlushPending();
  if (flushed.status != IoStatus::Ok) return flushed;
  return {bytes.size(), IoStatus::Ok, 0};
}

IoResult TermiosLine::ReadAvailable(std::span<std::uint8_t> into) {
  if (fd_ < 0) return {0, IoStatus::Closed, EBADF};
  if (gone_) return {0, IoStatus::Gone, EIO};
  if (!pending_.empty() && FlushPending().status == IoStatus::Gone) return {0, IoStatus::Gone, EIO};
  const short events = PollNow(fd_, POLLIN);
  if ((events & POLLIN) != 0 && !into.empty()) {
    const ssize_t n = read(fd_, into.data(), into.size());
    if (n > 0) return {static_cast<std::size_t>(n), IoStatus::Ok, 0};
    if (n < 0) return Failure(errno);
  }
  // A hung-up tty reads as end of file: no data, and poll says why.
  if ((events & kHangUp) != 0 && (events & POLLIN) == 0) return Failure(EIO);
  if ((events & POLLIN) != 0 && !into.empty() && HungUp()) return Failure(EIO);
  return {};
}

std::size_t TermiosLine::BytesAvailable() {
  if (fd_ < 0 || gone_) return 0;
  PollNow(fd_, POLLIN);
  int count = 0;
  if (ioctl(fd_, FIONREAD, &count) != 0 || count < 0) return 0;
  return static_cast<std::size_t>(count);
}

std::size_t TermiosLine::OutputQueued() {
  if (fd_ < 0 || gone_) return 0;
  if (!pending_.empty()) FlushPending();
  int queued = 0;
  if (ioctl(fd_, TIOCOUTQ, &queued) != 0 || queued < 0) queued = 0;
  std::size_t total = pending_.size() + static_cast<std::size_t>(queued);
  // The driver's queue may be empty while the UART still shifts out the last
  // character; drivers that can tell report it through the line status.
  unsigned lineStatus = 0;
  if (total == 0 && ioctl(fd_, TIOCSERGETLSR, &lineStatus) == 0 && (lineStatus & TIOCSER_TEMT) == 0) total = 1;
  return total;
}

void TermiosLine::Purge(PurgeWhat what) {
  if (fd_ < 0) return;
  const bool input = what == PurgeWhat::Input || what == PurgeWhat::Both;
  const bool output = what == PurgeWhat::Output || what == PurgeWhat::Both;
  if (output) pending_.clear();
  const int queue = input && output ? TCIOFLUSH : input ? TCIFLUSH : TCOFLUSH;
  ioctl(fd_, TCFLSH, queue);
}

}  // namespace quorvel::platform
