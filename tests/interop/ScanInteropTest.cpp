// quorvel-cli scan on a virtual RS-485 bus (ASCII framing) against two of our
// slaves and a pymodbus device: each id that is taken is found, with what it
// answered, and no other.

#include <gtest/gtest.h>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

constexpr const char* kLine = "19200-8N1-ascii";

// Our slave with id `id` on end `end` of the bus, emulating the values of `range`.
std::vector<std::string> SlaveOf(const fs::path& dir, const std::string& end, const std::string& id,
                                 const std::string& range) {
  const fs::path project = dir / ("slave" + id + ".qvc");
  const auto made = RunToEnd({QuorvelCli(), "new", "--range", range, "-o", project.string()}, dir, "new" + id, 30s);
  EXPECT_EQ(made.status, 0) << made.err;
  return OurSlave(end, id, {"--line", kLine, project.string()});
}

TEST(ScanInterop, FindsOurSlavesAndAPymodbusDeviceOnABus) {
  TempDir dir;
  std::string missing;
  const std::string python = PythonPeer(missing);
  ASSERT_FALSE(python.empty()) << missing;
  const VirtualBus bus(dir.path(), 4, 19200);
  ASSERT_TRUE(bus.Ready()) << bus.Problem();

  // Id 3 has register 0; id 9 has only registers 10..13 and answers exception 2.
  Child three(SlaveOf(dir.path(), bus.End(2).string(), "3", "HR:0-3"), dir.path(), "three");
  Child nine(SlaveOf(dir.path(), bus.End(3).string(), "9", "HR:10-13"), dir.path(), "nine");
  Child pymodbus({python, SourceFile("pymodbus_ascii_server.py"), bus.End(4).string(), "19200", "7"}, dir.path(),
                 "pymodbus");
  ASSERT_TRUE(three.WaitForPort(bus.Device(2), 10s)) << Report(three);
  ASSERT_TRUE(nine.WaitForPort(bus.Device(3), 10s)) << Report(nine);
  ASSERT_TRUE(pymodbus.WaitForLines(1, 20s)) << Report(pymodbus);

  const auto scan = RunToEnd({QuorvelCli(), "scan", "--map", "COM1=" + bus.End(1).string(), "--com", "1", "--line",
                              kLine, "--ids", "1-10", "--timeout", "500"},
                             dir.path(), "scan", 30s);
  EXPECT_EQ(scan.status, 0) << scan.err;
  EXPECT_EQ(scan.out, "3: registers\n7: registers\n9: exception 2\n") << scan.err;
  EXPECT_NE(scan.err.find("scan: 100% (3 found)"), std::string::npos) << scan.err;
}

TEST(ScanInterop, SaysSoWhenNothingAnswers) {
  TempDir dir;
  const NullModemCable cable(dir.path(), 19200);
  ASSERT_TRUE(cable.Ready()) << cable.Problem();
  const auto scan = RunToEnd({QuorvelCli(), "scan", "--map", "COM1=" + cable.Com1().string(), "--com", "1", "--ids",
                              "1-3", "--timeout", "50", "--bauds", "9600,19200"},
                             dir.path(), "scan", 30s);
  EXPECT_EQ(scan.status, 1);
  EXPECT_EQ(scan.out, "");
  EXPECT_NE(scan.err.find("scan at 19200 baud: 100% (0 found)"), std::string::npos) << scan.err;
  EXPECT_NE(scan.err.find("no device answered"), std::string::npos) << scan.err;
}

}  // namespace
}  // namespace quorvel::interop
