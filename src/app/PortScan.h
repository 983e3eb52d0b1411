#pragma once

// A device scan run on a port of its own, in steps: whoever owns the event
// loop calls Serve when the line has bytes or the deadline has come, so the
// scan never blocks the loop and can be stopped between any two steps. The
// port takes the line settings of the frame's record for that port, and
// shares its traffic log, so the scan shows in the port's Traffic window.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/DeviceScan.h"
#include "platform/Clock.h"
#include "serial/DeviceLink.h"
#include "serial/PortEntry.h"
#include "serial/clsCOM.h"

namespace quorvel {

class PortScan : public DeviceDirectory {
 public:
  enum class State { Running, Finished, Cancelled, Failed };

  // `settings`: the frame's record of port `com`, read once here.
  PortScan(const PortEntry& settings, int com, std::vector<int> ids, std::int32_t timeoutMs,
           const platform::Clock& clock, clsCOM::LineFactory lines);
  ~PortScan() override;

  // Opens the line and asks the first id; Failed, with Problem() said, when
  // the line does not open.
  void Start();
  // Whatever is due now: an answer taken, the next id asked. Never waits.
  void Serve();
  // Stops at once; the line is closed when this returns.
  void Cancel();

  // For the loop: when Serve must next run if no byte comes (ms of the
  // clock), and the descriptor whose bytes must run it (-1: none).
  double NextDeadlineMs() const;
  int Descriptor() const;

  State state() const { return state_; }
  const DeviceScan& Scan() const { return scan_; }
  const std::string& Problem() const { return problem_; }
  int Com() const { return com_; }

  // DeviceDirectory: no device window answers on this port.
  std::size_t DeviceCount() const override { return 0; }
  DeviceLink& Device(std::size_t) override;

 private:
  void Stop(State state, std::string problem = {});
  void AskCurrent(double nowMs);

  // How long past its time-out the port may take to report one, and how
  // long it may refuse a request (finishing the last exchange) before the
  // scan counts it as failed.
  static constexpr double kSlackMs = 2000;
  // How soon a refused request is tried again.
  static constexpr double kRetryMs = 2;

  PortEntry entry_;
  int com_;
  std::int32_t timeoutMs_;
  const platform::Clock& clock_;
  clsCOM::LineFactory lines_;
  DeviceScan scan_;
  std::unique_ptr<clsCOM> port_;
  State state_ = State::Running;
  std::string problem_;
  bool waiting_ = false;   // the current id's request is out
  bool answered_ = false;  // ... and its answer (or time-out) has come
  double giveUpMs_ = 0;    // the port has failed when nothing moves by then
};

}  // namespace quorvel
