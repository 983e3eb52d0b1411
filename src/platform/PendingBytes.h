#pragma once

// Bytes a line was given to write that its descriptor has not taken yet. A
// non-blocking descriptor takes what fits; the rest waits here for the next
// write or read, so that a caller never blocks and never loses bytes it was
// told were written. Shared by the lines over a serial device and a socket,
// which differ only in the call that hands the bytes over.

#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/SerialLine.h"

namespace quorvel::platform {

// Hands `pending` to `put(data, size)` (a write or a send, returning what it
// took or -1) as far as it goes. A failure, made into a result by
// `failure(errno)`, drops the rest: it cannot be sent, and the caller hears
// of it from the result. A full descriptor leaves the rest for a later call.
template <class Put, class Failure>
IoResult FlushPendingBytes(std::vector<std::uint8_t>& pending, Put put, Failure failure) {
  std::size_t sent = 0;
  IoResult result;
  while (sent < pending.size()) {
    const ssize_t n = put(pending.data() + sent, pending.size() - sent);
    if (n > 0) {
      sent += static_cast<std::size_t>(n);
      continue;
    }
    if (n < 0) result = failure(errno);
    break;
  }
  if (result.status != IoStatus::Ok)
    pending.clear();
  else
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(sent));
  return result;
}

}  // namespace quorvel::platform
