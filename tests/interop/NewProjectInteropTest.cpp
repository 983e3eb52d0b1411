// A project made by `quorvel-cli new` from a register list polls a pymodbus
// device: every listed value arrives as the device's fixed map and the list's
// types say, without a failed transaction.

#include <gtest/gtest.h>

#include "InteropTestSupport.h"

namespace quorvel::interop {
namespace {

// The map of pymodbus_ascii_server.py read through every register type.
constexpr const char* kList =
    "label,table,address,type,order,format,k,x0,writable\n"
    "signed,HR,0,int16\n"
    "unsigned,HR,1,uint16\n"
    "float,HR,2,float32\n"
    "float swapped,HR,4,float32,swapped\n"
    "hex,HR,6,hex16\n"
    "high byte,HR,6,hi8\n"
    "low byte,HR,6,lo8\n"
    "long,HR,7,int32\n"
    "unsigned long,HR,7,uint32\n"
    "hex long,HR,7,hex32\n"
    "scaled,HR,9,int16,,0.0,0.1\n"
    "bits of a byte,HR,9,bin8\n"
    "year,IR,0,uint16\n"
    "code,IR,1,hex16\n"
    "coils,C,0,bits:8\n"
    "coil 2,C,2\n"
    "inputs,DI,0,bits:2\n";

// Worked out by hand from the server's map.
const std::vector<std::string> kExpected = {
    "-1 234",          // FB2E
    "64 302",          // FB2E unsigned
    "3.25",            // 0000 4050: 0x40500000
    "-1.50",           // BFC0 0000 swapped: 0xBFC00000
    "BEEFh",           //
    "190",             // BE
    "239",             // EF
    "-1 234 567 890",  // FD2E B669: 0xB669FD2E
    "3 060 399 406",   //
    "B66A FD2Eh",      // hex text splits the signed value: the high word of a negative one shows one up
    "25.0",            // 250 x 0.1
    "1111 1010",       // FA
    "2 023",           // 07E7
    "1234h",           //
    "1010 0101",       // coils 0..7: 1 0 1 0 0 1 0 1, coil 0 the least significant
    "1",               // coil 2
    "10",              // inputs 0..1: 0 1
};

using NewProjectInterop = PymodbusDeviceTest;

TEST_F(NewProjectInterop, PollsAPymodbusDeviceWithEveryListedValue) {
  ASSERT_NO_FATAL_FAILURE(StartDevice("7"));
  const fs::path project = NewProjectFromList(dir_.path(), kList, 200);
  ASSERT_FALSE(project.empty());
  const auto dumped = RunToEnd({QuorvelCli(), "dump", project.string()}, dir_.path(), "dump", 30s);
  ASSERT_EQ(dumped.status, 0) << dumped.err;
  EXPECT_EQ(dumped.err, "");

  const auto run = RunMaster({"--seconds", "2", project.string()}, "master");
  ASSERT_EQ(run.status, 0) << run.err;
  auto window = FirstWindow(run.out);
  ExpectNoFailures(window);
  // Five requests (HR, IR, C, DI) every 200 ms: each at least twice, whatever the load.
  EXPECT_GE(window["counters"]["RequestCount"].get<int>(), 8) << window;
  std::vector<std::string> shown;
  for (const auto& value : window["values"]) shown.push_back(value["text"]);
  EXPECT_EQ(shown, kExpected) << window["values"];
}

}  // namespace
}  // namespace quorvel::interop
