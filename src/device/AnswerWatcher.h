#pragma once

// Something that follows a device window's values answer by answer (a value
// log, a trend chart): told of each answer the window takes in, a Master's to
// its own requests and a Monitor's heard on the line, after the panel shows it.

#include <span>

namespace quorvel {

class CtrlProp;

class AnswerWatcher {
 public:
  virtual ~AnswerWatcher() = default;
  // `read`: the elements the answered request reads (none for a write);
  // `ok`: whether their values came, or the request failed (a time-out, a
  // bad frame or an exception).
  virtual void AnswerTaken(std::span<CtrlProp* const> read, bool ok) = 0;
};

}  // namespace quorvel
