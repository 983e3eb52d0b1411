#pragma once

// Waiting on the event loop in the GUI tests: always bounded.

#include <QTest>

namespace quorvel {

// Waits (processing events) until `done` holds or `ms` have passed.
template <typename Done>
bool WaitFor(Done done, int ms = 8000) {
  for (int waited = 0; waited < ms && !done(); waited += 10) QTest::qWait(10);
  return done();
}

}  // namespace quorvel
