// The soak: the sample session's Master and Slave polling each other for an
// hour over a paced virtual null-modem cable that damages about one
// character in a thousand, in one process as the desktop program would run
// them (one thread serving both ports, the cable on a second). Once a minute
// it prints the process's resident memory, the polls, the faults the cable
// put in, the errors the windows counted and any value the Master showed that
// the Slave never held; at the end a verdict, and a status of 1 when memory
// grew after the first five minutes, a fault went uncounted or a value was
// wrong.
//
// How faults and errors are matched: the cable counts a fault as it reads
// the faulty character from its sender, so every fault of a poll is counted
// between the end of the poll before (its answer taken or its time run out)
// and the end of this one; the next request waits the window's Interval, so
// it never falls in. Each poll gets the faults and the rise of the Master's
// error counters over that span. A damaged poll must count exactly one error:
// damage in a request spoils its CRC or its length, the Slave does not answer
// (a frame that fails its check names no slave, so no window counts it) and
// the Master times out; damage in an answer makes the Master count a CRC,
// frame or data error, or time out. Noise that follows an answer's last
// character is not part of that answer, which came whole, but spoils the
// next one: that error is counted a poll late and listed as such. An error
// that no damage explains is a stall of this machine, not the line's.
//
// Values: after every turn of the loop the text of what each of the Slave's
// elements holds in its registers is noted (the last few hundred of each),
// and each text the Master's panel shows must be among the same element's.
// The sample's elements move on their own as the Slave emulates them; the
// totaliser, which does not, is typed into the Slave once a minute as a user
// would.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/PollLoop.h"
#include "app/Session.h"
#include "app/Startup.h"
#include "app/cli/HeadlessFrame.h"
#include "convert/AddressCode.h"
#include "convert/RegisterDecode.h"
#include "convert/RegisterEncode.h"
#include "platform/NullModem.h"
#include "platform/StopSignals.h"
#include "serial/PortEntry.h"

namespace quorvel::soak {
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
  double seconds = 3600;
  int baud = 19200;
  std::uint32_t every = 1000;  // one fault in this many characters; 0: none
  std::string session;
  std::optional<LineTiming> timing;
  std::optional<std::int32_t> period;  // each periodic request's period in ms; the session's when unset
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (i + 1 >= argc) return false;
    const std::string value = argv[++i];
    char* end = nullptr;
    if (name == "--seconds") {
      options.seconds = std::strtod(value.c_str(), &end);
      if (*end != '\0' || !(options.seconds > 0)) return false;
    } else if (name == "--baud") {
      options.baud = static_cast<int>(std::strtol(value.c_str(), &end, 10));
      if (*end != '\0' || options.baud <= 0) return false;
    } else if (name == "--every") {
      options.every = static_cast<std::uint32_t>(std::strtoul(value.c_str(), &end, 10));
      if (*end != '\0') return false;
    } else if (name == "--period") {
      options.period = static_cast<std::int32_t>(std::strtol(value.c_str(), &end, 10));
      if (*end != '\0' || *options.period < 1) return false;
    } else if (name == "--session") {
      options.session = value;
    } else if (name == "--timing") {
      options.timing = ParseLineTiming(value);
      if (!options.timing) return false;
    } else {
      return false;
    }
  }
  return true;
}

// One fault in `every` characters: half of them drops, a third flips, a
// sixth noise. Periods of 2, 3 and 6 times `every` would make the three
// kinds strike together; these prime neighbours drift apart instead.
platform::DamageOptions Damage(std::uint32_t every) {
  if (every == 0) return {};
  return {.dropEvery = 2 * every + 3, .flipEvery = 3 * every + 1, .noiseEvery = 6 * every + 7};
}

long ResidentKiB() {
  long pages = 0, resident = 0;
  if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(statm);
  }
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

std::uint64_t Faults(const platform::ForwarderCounts& c) {
  return c.dropped + c.flipped + c.noise + c.overrun + c.collided;
}

std::int64_t Errors(const MODBUS::TrafficCounters& c) {
  return std::int64_t{c.TOErr} + c.DtErr + c.PtyErr + c.CRCErr + c.FrErr + c.Ex1 + c.Ex2 + c.Ex3 + c.Ex4;
}

// The value elements of a window in panel order.
std::vector<const CtrlProp*> ValueElements(frmQuorvel& window) {
  std::vector<const CtrlProp*> elements;
  for (const auto& control : window.panel().Controls()) {
    if (control->Name() != "TBox") continue;
    const std::string key = std::to_string(control->Index());
    for (Table table : {Table::Holding, Table::InputReg, Table::Coil, Table::Discrete})
      for (const auto& filed : window.ElementsOf(table))
        if (filed.key == key) elements.push_back(filed.element.get());
  }
  return elements;
}

std::string Text(const CtrlProp& element) { return element.rCtrl() ? element.rCtrl()->Caption() : std::string(); }

// What the Slave's registers hold for an element, shown as the element shows
// a value. Its panel shows the emulated value itself, which a Float or an
// Integer register rounds, so at a last digit's edge the two texts differ and
// only this one can reach the Master.
void RegisterText(const CtrlProp& element, std::string& text) {
  const AddressCode code(element.Address());
  EncodedValue image = EncodeValue(element.Data(), code.raw);
  const double held = code.isBit()
                          ? DecodeBits(image.view(), 0, code.width())
                          : DecodeRegisters({image.bytes.data(), static_cast<std::size_t>(image.size)}, code.raw);
  text = element.ShownText(held);
}

// A minute's (or the run's) figures.
struct Row {
  long rssKiB = 0;
  std::int64_t polls = 0;
  std::uint64_t faults = 0;          // characters the cable damaged, both ways
  std::int64_t damagedPolls = 0;     // polls with at least one of them
  std::int64_t masterErrors = 0;     // the Master's error counters' rise
  std::int64_t slaveRequests = 0;    // requests the Slave took and answered
  std::int64_t late = 0;             // damaged polls whose error the next poll counted
  std::int64_t missed = 0;           // damaged polls whose error never came
  std::int64_t undamagedErrors = 0;  // errors no damage explains: stalls
  std::int64_t wrongValues = 0;
  std::int64_t panelDiffers = 0;  // Slave values whose panel text is not their registers'
};

class Ledger {
 public:
  Ledger(frmQuorvel& master, frmQuorvel& slave, const platform::NullModem& modem)
      : master_(master),
        slave_(slave),
        modem_(modem),
        masterValues_(ValueElements(master)),
        slaveValues_(ValueElements(slave)),
        held_(slaveValues_.size()),
        shown_(masterValues_.size()) {
    NoteSlave();
    for (std::size_t i = 0; i < masterValues_.size(); ++i) shown_[i] = Text(*masterValues_[i]);
    pollStart_ = Snapshot();
  }

  bool Matched() const { return masterValues_.size() == slaveValues_.size() && !masterValues_.empty(); }

  // After each turn of the loop.
  void Turn() {
    NoteSlave();
    CheckMaster();
    const auto now = Snapshot();
    // A poll is over once the Master waits no more: its answer was taken or
    // its time ran out.
    if (!master_.WaitResponce() && now.requests != pollStart_.requests) {
      const std::uint64_t faults = now.faults - pollStart_.faults;
      const std::int64_t errors = now.masterErrors - pollStart_.masterErrors;
      // A time-out and the next request in one turn would make two polls of
      // one span; they are counted as two so that the totals stay honest.
      const std::int64_t polls = now.requests - pollStart_.requests;
      minute_.polls += polls;
      minute_.faults += faults;
      minute_.masterErrors += errors;
      minute_.slaveRequests += now.slaveRequests - pollStart_.slaveRequests;
      std::int64_t unexplained = errors;
      // Noise after an answer's last character is not part of that answer
      // (it came whole) but spoils the next one: a damaged poll that counted
      // no error is paid for by the next poll's.
      if (owed_ && unexplained > 0) {
        --unexplained;
        ++minute_.late;
      } else if (owed_) {
        ++minute_.missed;
      }
      owed_ = false;
      if (faults != 0) {
        ++minute_.damagedPolls;
        if (unexplained > 0)
          --unexplained;
        else
          owed_ = true;
      }
      minute_.undamagedErrors += unexplained;
      if (unexplained > 0) TellStall(now);
      pollStart_ = now;
    }
  }

  // The minute's row, and a fresh one begun.
  Row EndMinute() {
    Row row = minute_;
    row.rssKiB = ResidentKiB();
    minute_ = Row{};
    return row;
  }

 private:
  struct Snap {
    std::int64_t requests = 0;
    std::uint64_t faults = 0;
    std::int64_t masterErrors = 0;
    std::int64_t slaveRequests = 0;
    MODBUS::TrafficCounters counters;
    double atMs = 0;
  };
  Snap Snapshot() const {
    return {master_.Counters().RequestCount,
            Faults(modem_.Counts(platform::End::A)) + Faults(modem_.Counts(platform::End::B)),
            Errors(master_.Counters()),
            slave_.Counters().SlaveRequestCount,
            master_.Counters(),
            std::chrono::duration<double, std::milli>(Clock::now().time_since_epoch()).count()};
  }

  // Which counter an error no damage explains went to, and how long its poll took.
  void TellStall(const Snap& now) const {
    const MODBUS::TrafficCounters& was = pollStart_.counters;
    const MODBUS::TrafficCounters& is = now.counters;
    std::cerr << "stall: poll " << now.requests << " of " << now.atMs - pollStart_.atMs << " ms:";
    const std::pair<const char*, std::int32_t MODBUS::TrafficCounters::*> counters[] = {
        {"TOErr", &MODBUS::TrafficCounters::TOErr},
        {"DtErr", &MODBUS::TrafficCounters::DtErr},
        {"PtyErr", &MODBUS::TrafficCounters::PtyErr},
        {"CRCErr", &MODBUS::TrafficCounters::CRCErr},
        {"FrErr", &MODBUS::TrafficCounters::FrErr}};
    for (const auto& [name, counter] : counters)
      if (is.*counter != was.*counter) std::cerr << " " << name << " +" << is.*counter - was.*counter;
    std::cerr << "\n";
  }

  // The last texts an element of the Slave held, in a ring whose every slot
  // is made at the start: the soak's own bookkeeping must not show as growth
  // of the memory it watches.
  class Held {
   public:
    static constexpr std::size_t kSlots = 512;
    Held() : slots_(kSlots) {
      for (std::string& slot : slots_) slot.reserve(32);
    }
    // False when `text` is the newest already.
    bool Note(const std::string& text) {
      if (count_ > 0 && slots_[(next_ + kSlots - 1) % kSlots] == text) return false;
      slots_[next_].assign(text);
      next_ = (next_ + 1) % kSlots;
      count_ = std::min(count_ + 1, kSlots);
      return true;
    }
    bool Contains(const std::string& text) const {
      for (std::size_t k = 1; k <= count_; ++k)
        if (slots_[(next_ + kSlots - k) % kSlots] == text) return true;
      return false;
    }

   private:
    std::vector<std::string> slots_;
    std::size_t next_ = 0;
    std::size_t count_ = 0;
  };

  void NoteSlave() {
    for (std::size_t i = 0; i < slaveValues_.size(); ++i) {
      RegisterText(*slaveValues_[i], scratch_);
      if (held_[i].Note(scratch_) && Text(*slaveValues_[i]) != scratch_) ++minute_.panelDiffers;
    }
  }

  void CheckMaster() {
    for (std::size_t i = 0; i < masterValues_.size() && i < held_.size(); ++i) {
      const std::string text = Text(*masterValues_[i]);
      if (text == shown_[i]) continue;
      shown_[i].assign(text);
      if (held_[i].Contains(text)) continue;
      ++minute_.wrongValues;
      std::cerr << "wrong value: " << masterValues_[i]->AddressCaption() << " shows '" << text
                << "', which the Slave did not hold lately\n";
    }
  }

  frmQuorvel& master_;
  frmQuorvel& slave_;
  const platform::NullModem& modem_;
  std::vector<const CtrlProp*> masterValues_;
  std::vector<const CtrlProp*> slaveValues_;
  std::vector<Held> held_;
  std::string scratch_;
  std::vector<std::string> shown_;
  Snap pollStart_;
  bool owed_ = false;  // the last poll was damaged and counted no error
  Row minute_;
};

frmQuorvel* FirstWindow(frmQuorvelMain& frame, std::int16_t mode) {
  for (const auto& window : frame.Devices())
    if (window->Mode() == mode) return window.get();
  return nullptr;
}

void PrintRow(const std::string& minute, const Row& r) {
  std::printf("%6s %8ld %7lld %7lld %6llu %7lld %7lld %5lld %6lld %6lld %5lld\n", minute.c_str(), r.rssKiB,
              static_cast<long long>(r.polls), static_cast<long long>(r.slaveRequests),
              static_cast<unsigned long long>(r.faults), static_cast<long long>(r.damagedPolls),
              static_cast<long long>(r.masterErrors), static_cast<long long>(r.late), static_cast<long long>(r.missed),
              static_cast<long long>(r.undamagedErrors), static_cast<long long>(r.wrongValues));
  std::fflush(stdout);
}

void Add(Row& total, const Row& r) {
  total.polls += r.polls;
  total.faults += r.faults;
  total.damagedPolls += r.damagedPolls;
  total.masterErrors += r.masterErrors;
  total.slaveRequests += r.slaveRequests;
  total.late += r.late;
  total.missed += r.missed;
  total.undamagedErrors += r.undamagedErrors;
  total.wrongValues += r.wrongValues;
  total.panelDiffers += r.panelDiffers;
}

int Run(const Options& options) {
  const platform::StopSignals stop;  // before the cable's thread, which then has them blocked too
  platform::NullModem modem({.baudRate = options.baud, .damage = Damage(options.every)});
  std::thread cable([&modem] { modem.Run(); });
  struct Join {
    platform::NullModem& modem;
    std::thread& cable;
    ~Join() {
      modem.Stop();
      cable.join();
    }
  } join{modem, cable};

  platform::PortMap ports;
  ports.ApplyOverride("COM1=" + modem.Path(platform::End::A));
  ports.ApplyOverride("COM2=" + modem.Path(platform::End::B));
  platform::SystemClock clock;
  cli::HeadlessFrame frame(clock, ports, [](const std::string& text) { std::cerr << text << "\n"; });
  const std::string session = options.session.empty() ? ProgramDirectory() + "Coriolis.qvs" : options.session;
  if (!LoadSession(frame, session)) return 2;
  frmQuorvel* master = FirstWindow(frame, kMaster);
  frmQuorvel* slave = FirstWindow(frame, kSlave);
  if (!master || !slave) {
    std::cerr << "soak: " << session << " needs a Master and a Slave window\n";
    return 2;
  }
  for (const auto& window : frame.Devices()) {
    frame.Port(window->COM()).dcb.BaudRate = static_cast<std::uint32_t>(options.baud);
    if (options.timing) frame.Port(window->COM()).Timing = *options.timing;
  }
  if (options.period)
    for (const auto& request : master->Requests)
      if (request->Period() > 0) request->SetPeriod(*options.period);
  master->mnuConnectAll_Click();

  Ledger ledger(*master, *slave, modem);
  if (!ledger.Matched()) {
    std::cerr << "soak: the Master's and the Slave's panels differ\n";
    return 2;
  }
  const std::string damage =
      options.every == 0 ? "no damage" : "one fault in " + std::to_string(options.every) + " characters";
  std::printf("soak: %s at %d baud, %s, %.0f s\n", session.c_str(), options.baud, damage.c_str(), options.seconds);
  std::printf("%6s %8s %7s %7s %6s %7s %7s %5s %6s %6s %5s\n", "minute", "RSS KiB", "polls", "S reqs", "faults",
              "damaged", "errors", "late", "missed", "stalls", "wrong");

  PollLoop loop(frame, clock);
  const int stopFd[] = {stop.fd()};
  const auto start = Clock::now();
  const auto end = start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.seconds));
  auto nextMinute = start + std::chrono::minutes(1);
  std::vector<Row> rows;
  Row total;
  bool stopped = false;
  for (;;) {
    const auto now = Clock::now();
    if (now >= end || now >= nextMinute) {
      const Row row = ledger.EndMinute();
      rows.push_back(row);
      Add(total, row);
      PrintRow(std::to_string(rows.size()), row);
      nextMinute += std::chrono::minutes(1);
      if (now >= end) break;
      // A new totaliser reading, typed into the Slave as a user would.
      const std::string typed = std::to_string(rows.size() * 1000 + 123) + ".456";
      if (const std::string refused = cli::TypeInto(*slave, "HR0008", typed); !refused.empty())
        std::cerr << "soak: " << refused << "\n";
    }
    const auto until = std::min(end, nextMinute);
    const double maxMs = std::chrono::duration<double, std::milli>(until - now).count();
    if (loop.Run(stopFd, maxMs).ready[0]) {
      stopped = true;
      break;
    }
    ledger.Turn();
  }

  // Flat memory: nothing above what the fifth minute had, give or take a page or two of the allocator's.
  long settled = 0, peak = 0;
  for (std::size_t i = 4; i < rows.size(); ++i) {
    if (i == 4) settled = rows[i].rssKiB;
    peak = std::max(peak, rows[i].rssKiB);
  }
  const bool flat = rows.size() < 6 || peak - settled <= 256;
  total.rssKiB = rows.empty() ? 0 : rows.back().rssKiB;
  PrintRow("total", total);
  std::printf("\nRSS after minute 5: %s (%ld KiB at minute 5, peak %ld KiB)\n",
              rows.size() < 6 ? "run too short to tell" : (flat ? "flat" : "GREW"), settled, peak);
  std::printf(
      "faults: %llu characters damaged in %lld polls; the Master counted %lld errors, one for each damaged poll "
      "(%lld of them in the poll after) and %lld more (stalls); %lld damaged polls counted nothing.\n"
      "The Slave took %lld of %lld requests; the other %lld were spoilt on their way (the Master timed out on "
      "them) or still on the line at the end.\n",
      static_cast<unsigned long long>(total.faults), static_cast<long long>(total.damagedPolls),
      static_cast<long long>(total.masterErrors), static_cast<long long>(total.late),
      static_cast<long long>(total.undamagedErrors), static_cast<long long>(total.missed),
      static_cast<long long>(total.slaveRequests), static_cast<long long>(total.polls),
      static_cast<long long>(total.polls - total.slaveRequests));
  std::printf("The Slave's panel showed %lld values otherwise than its registers held them (rounded by their type).\n",
              static_cast<long long>(total.panelDiffers));
  std::printf("wrong values shown: %lld%s\n", static_cast<long long>(total.wrongValues),
              stopped ? " (stopped early)" : "");
  return flat && total.missed == 0 && total.wrongValues == 0 ? 0 : 1;
}

}  // namespace
}  // namespace quorvel::soak

int main(int argc, char** argv) {
  quorvel::soak::Options options;
  if (!quorvel::soak::ParseOptions(argc, argv, options)) {
    std::cerr
        << "usage: quorvel_soak [--seconds S] [--baud B] [--every N] [--period MS] [--timing classic|standard|fast] "
           "[--session FILE.qvs]\n";
    return 2;
  }
  return quorvel::soak::Run(options);
}
