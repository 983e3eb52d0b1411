#pragma once

// The main frame as the headless runner and the demo use it: no screen, so
// every message is told to a sink as it happens and kept, and a user request
// that wants its values typed first is sent with the values the panel shows.

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

#include "app/frmQuorvelMain.h"
#include "platform/StopSignals.h"

namespace quorvel::cli {

class HeadlessFrame : public frmQuorvelMain {
 public:
  HeadlessFrame(platform::Clock& clock, platform::PortMap portMap, std::function<void(const std::string&)> tell);

  void ShowUserWrite(frmQuorvel& window, const ElementCollection& elements, std::shared_ptr<ReqProp> request) override;

  // Everything told so far, oldest first.
  const std::vector<std::string>& Messages() const { return messages_; }
  void Tell(const std::string& text);

  // Serves the ports for `seconds` (0: until stopped) or until a stop signal
  // arrives, waking only for bytes on a line and for the frame's deadlines;
  // `everySecond` is called once a second.
  void Drive(const platform::StopSignals& stop, double seconds, const std::function<void()>& everySecond = {});

 private:
  std::function<void(const std::string&)> tell_;
  std::vector<std::string> messages_;
};

// A window's caption, statistics, counters and values in panel order.
nlohmann::ordered_json WindowState(frmQuorvel& window);

// What typing into an element came to: `refusal` is empty when the value was
// taken; `found` is false when no element has the label at all.
struct Typed {
  bool found = true;
  std::string refusal;
};

// Types `text` into the value element whose label (e.g. "HR0040") or tool tip
// is `label`, as a double-click, typing and Enter would.
Typed TypeInto(frmQuorvel& window, const std::string& label, const std::string& text);

// Chooses the user menu item captioned `caption`; false when there is none.
bool ChooseUserRequest(frmQuorvel& window, const std::string& caption);

}  // namespace quorvel::cli
