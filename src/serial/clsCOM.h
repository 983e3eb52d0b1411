#pragma once

// The serial port object: one per open port (COM1..COM16), held in the port's
// record of the port table and shared by every device window on that port.
// It opens and configures the line, owns the frame buffer, sends requests
// (Master) and answers (Slave), and is serviced by Hit while the port is
// busy: when bytes arrive on its line and at its next deadline
// (NextDeadlineMs). Hit never waits: it looks at what
// has arrived, compares the clock with the deadlines, and when a frame is
// complete hands it to the device window concerned (GetResponce for an
// answer, DoResponce for a request, FrameHeard for a listening Monitor).
//
// The port's timing (Classic, Standard, Fast; see LineTiming.h) decides how
// a frame's end is found and when a request may go out; Classic keeps the
// character-gap framing and sends at once. With Standard and Fast a request
// may have to wait for the line to be quiet: SendRequest then keeps it, the
// port counts as busy, and Hit sends it when the time comes. With Echo set
// the line is wrapped so that the port never reads its own bytes.
//
// Everything runs on the caller's thread, one call at a time. A line that goes
// away while open (an adapter pulled out) is closed at once so that its
// device can come back under the same name; the port then stays silent, as a
// line on which nobody answers, and is opened again by itself once the
// device is back.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/LineSettings.h"
#include "platform/SerialLine.h"
#include "project/ReqProp.h"
#include "serial/CommTimeouts.h"
#include "serial/DeviceLink.h"
#include "serial/FrameRule.h"
#include "serial/OverlappedRead.h"
#include "serial/PortEntry.h"

namespace quorvel::platform {
class EchoLine;
}

namespace quorvel {

class clsCOM {
 public:
  // Gives the line of port `com` (not yet open); null when there is none.
  using LineFactory = std::function<std::unique_ptr<platform::SerialLine>(int com)>;
  // Shows a message to the user (a failure to open the port).
  using MessageSink = std::function<void(const std::string& text)>;

  static constexpr std::int32_t kRtuBufferSize = 299;
  static constexpr std::int32_t kAsciiBufferSize = 599;

  // States of the transaction on the port.
  static constexpr std::int32_t kSending = 1;
  static constexpr std::int32_t kWaitingFirst = 2;
  static constexpr std::int32_t kReading = 4;
  static constexpr std::int32_t kListening = 16;
  static constexpr std::int32_t kAnswering = 32;

  clsCOM(PortEntry& entry, DeviceDirectory& devices, const platform::Clock& clock, LineFactory lines,
         MessageSink message);
  ~clsCOM() { Class_Terminate(); }
  clsCOM(const clsCOM&) = delete;
  clsCOM& operator=(const clsCOM&) = delete;

  // Opens port `com` with the settings of the port record given at
  // construction. Slave and Monitor ports start listening at once (and stay
  // Busy). On failure shows "Can not open COMn" and the cause on a second
  // line, and returns false.
  bool OpenCOM(std::int16_t& com);

  // The periodic service; see the class comment.
  void Hit();

  // Waits on for the awaited answer after a frame that was someone else's.
  void WaitResponce();

  // Seals the answer of `length` message bytes that the caller has laid at the
  // front of the frame buffer, and sends it. `length` leaves as the count sent.
  void SendResponce(std::int32_t& length, bool& result);

  // Lays the request for slave `id` into the frame buffer, seals it, sends it
  // and starts waiting for the answer, which Hit delivers to the device window
  // that waits on this port: code 1 (expected length), 4 (another length) or
  // 8 (nothing within `timeout` ms after the request has left). `interval` is
  // the character gap that ends an RTU answer; it is never taken below the
  // port's own minimum. False when nothing was sent.
  void SendRequest(std::uint8_t id, const ReqProp& request, std::int32_t timeout, std::int32_t interval, bool& result);

  // Master mode, a frame typed by hand: `message` (address, function, data)
  // goes out sealed with its CRC or as ASCII, or as it stands when `seal` is
  // false, and the answer (the bytes as received; none after `timeout` ms)
  // goes to `done` instead of a device window. The answer is looked for as
  // the one to the message's address and function. False when nothing was
  // sent: the port is busy, not a master's, or the frame does not fit.
  using AnswerSink = std::function<void(bool timedOut, std::span<const std::uint8_t> answer)>;
  bool SendFrame(std::span<const std::uint8_t> message, bool seal, std::int32_t timeout, AnswerSink done);

  // Closes the line (its previous settings restored) and clears Busy.
  void Class_Terminate();

  // For an event loop: when Hit next has something to do if no byte arrives
  // (ms of the clock; infinity when only arriving bytes can move it), whether
  // bytes arriving now would move it, and the descriptor that tells of them
  // (-1 when the line has none and must be serviced by time).
  double NextDeadlineMs() const;
  bool WantsBytes() const;
  int Descriptor() const { return LineUp() ? line_->Descriptor() : -1; }

  std::int16_t COM() const { return com_; }
  std::int32_t State() const { return state_; }
  const CommTimeouts& Timeouts() const { return timeouts_; }
  std::span<std::uint8_t> Buffer() { return buffer_; }

 private:
  static constexpr double kReopenPeriodMs = 1000;

  bool Framed() const { return timing_ != LineTiming::Classic; }
  // Sends the frame sealed in the buffer (sendCount_ bytes) and starts
  // waiting `timeout` ms for the answer, or keeps it for a quiet line; false
  // when the line refused it.
  bool BeginTransaction(double nowMs, std::int32_t timeout);
  // Standard and Fast: reads what has come while no frame is awaited, so that
  // a late answer is seen (and dropped) before the next request goes out.
  void Drain(double nowMs);
  // When the kept request may go out.
  double QuietUntilMs() const;
  // Writes the frame laid for the request; false when the line refused it.
  bool WriteRequest(double nowMs);
  // Echo mismatches since the last look.
  int EchoMismatches();
  // Frames the line dropped (a Modbus TCP answer to another transaction).
  void CountDroppedFrames();
  // Into the port's traffic log. A received frame is judged by its checksum
  // and, for one that fails, by whether it has the length its header says.
  void RecordSent(bool response, std::int32_t count);
  void RecordReceived(TrafficVerdict verdict, bool response, std::span<const std::uint8_t> bytes);
  TrafficVerdict Judge(std::span<const std::uint8_t> frame, bool response) const;
  // Listening framed (Standard, Fast, and a Monitor in any timing).
  // Classic ASCII gathers characters up to LF piecewise; every other read
  // is framed by OverlappedRead.
  bool GathersAscii() const { return ascii_ && !Framed(); }
  bool ListensFramed() const { return !GathersAscii() && (Framed() || mode_ == kModeMonitor); }
  const FrameRule& RequestRule() const { return ascii_ ? asciiRule_ : requestRule_; }
  // How long a framed read waits after the last character before it gives up
  // on the frame: t3.5 for RTU, a second for ASCII, whose frames may pause.
  double FrameSilenceMs() const { return ascii_ ? kAsciiGapMs : silenceMs_; }
  void HitMaster();
  void HitSlave();
  void HitMonitor();
  void Deliver(std::int32_t code);
  DeviceLink* FindDevice(std::int32_t address);
  DeviceLink* CheckRequest(std::int32_t& count);
  void WaitEvent() { eventArmed_ = true; }
  std::int32_t CheckEvent();
  bool StartRead(std::int32_t index, std::int32_t count);
  std::int32_t ReadRTU();
  std::int32_t ReadASCII() { return GatherASCII(masterAccumulator_); }
  std::int32_t ReadASCIISlave() { return GatherASCII(slaveAccumulator_); }
  std::int32_t GatherASCII(std::int32_t& accumulator);
  void SetTimeouts() { timeouts_ = TimeoutsFor(dcb_.BaudRate, ascii_, mode_); }
  void Listen();

  // Closes a line that went away, and tries it again once a while.
  void KeepLine(double nowMs);
  void LoseLine(double nowMs);
  bool LineUp() const { return line_ && !lineLost_; }

  PortEntry& entry_;
  DeviceDirectory& devices_;
  const platform::Clock& clock_;
  LineFactory lines_;
  MessageSink message_;

  std::unique_ptr<platform::SerialLine> line_;  // null while not open
  platform::LineSettings settings_;             // what the line is opened with
  bool lineLost_ = false;                       // went away; closed until it comes back
  double reopenAtMs_ = 0;

  std::int16_t com_ = 0;
  std::int16_t mode_ = 0;
  DCB dcb_;                         // the record's, ByteSize set by the ASCII framing
  CommTimeouts timeouts_;           // in force
  std::uint32_t intervalCopy_ = 0;  // the smallest character gap this port allows
  bool ascii_ = false;
  std::vector<std::uint8_t> buffer_;  // the frame buffer, sized once at open
  std::int32_t bufferSize_ = 0;
  OverlappedRead read_;
  std::int32_t readIndex_ = 0;  // where the running read puts its characters
  bool eventArmed_ = false;     // waiting for a first character
  std::int32_t state_ = 0;
  std::int64_t responseDeadline_ = 0;  // ms of the clock
  std::int64_t transmitEnd_ = 0;
  std::int32_t sendCount_ = 0;
  std::int32_t slaveAccumulator_ = 0;
  std::int32_t expectedLength_ = 0;  // on the wire: bytes (RTU) or characters (ASCII)
  std::int32_t masterAccumulator_ = 0;
  std::int32_t received_ = 0;  // the count of the last completed read or frame

  LineTiming timing_ = LineTiming::Classic;
  double silenceMs_ = 0;  // t3.5 at the port's rate
  static constexpr double kAsciiGapMs = 1000;
  const FrameRule asciiRule_ = FrameRule::Ascii();
  platform::EchoLine* echo_ = nullptr;  // the line itself, when it removes echo
  bool wholeFrames_ = false;            // the line hands over whole frames (Modbus TCP)
  FrameRule answerRule_ = FrameRule::AnswerFrom(0, 0);
  FrameRule requestRule_ = FrameRule::Requests();
  bool writeKept_ = false;       // a request waits for a quiet line
  double lastHeardMs_ = -1e300;  // the last byte seen on the line, ours or others'
  double quietNeededMs_ = 0;     // after a failure: a whole answer time-out
  std::int32_t timeoutMs_ = 0;   // of the request under way
  int echoMismatches_ = 0;       // during the transaction under way
  std::int32_t answeredId_ = 0;  // the address our slave answered last
  AnswerSink handAnswer_;        // where the answer to a hand-made frame goes
};

}  // namespace quorvel
