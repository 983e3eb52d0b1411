// The sample project that ships beside the programs: it must load cleanly and
// show every kind of element and request a user meets.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

#include "convert/AddressCode.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectJson.h"
#include "project/ProjectLoader.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

class CoriolisSample : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ifstream in(QUORVEL_TEST_DATA "/../../samples/Coriolis.json");
    ASSERT_TRUE(in) << "samples/Coriolis.json is missing";
    const auto json = nlohmann::ordered_json::parse(in);
    const auto bytes = WriteProject(ProjectFromJson(json, CodePage::Default()));
    load_ = LoadProjectBytes(bytes, "Coriolis.qvc", panel_, CodePage::Default());
    ASSERT_TRUE(load_.ok);
  }

  std::vector<AddressCode> Codes(const ElementCollection& c) const {
    std::vector<AddressCode> codes;
    for (const auto& filed : c) codes.emplace_back(filed.element->Address());
    return codes;
  }

  Panel panel_;
  ProjectLoad load_;
};

TEST_F(CoriolisSample, LoadsWithoutAFailedStep) {
  EXPECT_EQ(load_.failedSteps, 0);
  EXPECT_EQ(load_.file.Exeptions, 0xFF);  // all four exception answers, all four write functions
  EXPECT_EQ(load_.file.DirectWrite, -1);
  EXPECT_GT(load_.file.Timeout, 0);
}

TEST_F(CoriolisSample, ShowsEveryFormat) {
  std::multiset<int> types;
  int swapped = 0, hex = 0, binary = 0, unsignedLong = 0, scaled = 0, offset = 0, times = 0;
  std::map<int, int> byteHalves;  // address -> types 4 and 5 seen
  for (const auto& filed : load_.HoldingElements) {
    const CtrlProp& e = *filed.element;
    const AddressCode c(e.Address());
    types.insert(c.typeField());
    swapped += c.swapped() && c.typeField() == 2;
    hex += c.hex();
    binary += c.binary();
    unsignedLong += c.unsignedFlag() && c.typeField() == 1;
    scaled += e.k() != 1.0f;
    offset += e.x0() != 0.0f;
    times += e.FormatString() == "hh:mm:ss";
    if (c.typeField() == 4 || c.typeField() == 5) byteHalves[c.address()] |= 1 << (c.typeField() - 4);
  }
  EXPECT_GE(types.count(2), 4u);
  EXPECT_EQ(swapped, 1);
  EXPECT_GE(types.count(3), 1u);
  EXPECT_GE(hex, 1);
  EXPECT_GE(binary, 1);
  EXPECT_GE(unsignedLong, 1);
  EXPECT_GE(scaled, 1);
  EXPECT_GE(offset, 1);
  EXPECT_EQ(times, 1);
  bool pair = false;
  for (const auto& [address, halves] : byteHalves) pair = pair || halves == 3;
  EXPECT_TRUE(pair) << "a Byte hi and a Byte low element on one register";

  bool group8 = false, single = false;
  for (const AddressCode& c : Codes(load_.CoilElements)) {
    group8 = group8 || c.width() == 8;
    single = single || c.width() == 1;
  }
  EXPECT_TRUE(group8);
  EXPECT_TRUE(single);
  EXPECT_FALSE(load_.DiscreteElements.empty());
  EXPECT_FALSE(load_.InputRegElements.empty());
  EXPECT_GT(panel_.Count("Lbl"), 0);
  EXPECT_GT(panel_.Count("Fr"), 0);
  ASSERT_EQ(panel_.Count("Img"), 1);
  ASSERT_TRUE(panel_.FindControl("Img", 1)->Picture());
}

// Every element must be covered by the periodic read of its table, or it
// would never show a value.
TEST_F(CoriolisSample, PollsEveryElement) {
  const std::pair<int, const ElementCollection*> tables[] = {{3, &load_.HoldingElements},
                                                             {4, &load_.InputRegElements},
                                                             {1, &load_.CoilElements},
                                                             {2, &load_.DiscreteElements}};
  for (const auto& [func, elements] : tables) {
    const ReqProp* read = nullptr;
    for (const auto& r : load_.Requests) {
      if (r->Func() == func && r->Control() == 0) read = r.get();
    }
    ASSERT_NE(read, nullptr) << "no periodic read with function " << func;
    EXPECT_GT(read->Period(), 0);
    for (const AddressCode& c : Codes(*elements)) {
      EXPECT_GE(c.address(), read->ReadAddr()) << func;
      EXPECT_LE(c.address() + c.width(), read->ReadAddr() + read->ReadQnt()) << func << " " << c.address();
    }
  }
}

TEST_F(CoriolisSample, OffersUserWritesWithTheDataTheirFramesNeed) {
  std::set<int> controls, funcs;
  for (const auto& r : load_.Requests) {
    if (r->Control() == 0) continue;
    controls.insert(r->Control());
    funcs.insert(r->Func());
    std::size_t bytes = 0;
    switch (r->Func()) {
      case 5:
      case 6:
        bytes = 2;
        break;
      case 15:
        bytes = (r->WriteQnt() + 7) / 8;
        break;
      case 22:
        bytes = 4;
        break;
      default:
        bytes = 2 * r->WriteQnt();
    }
    EXPECT_EQ(r->Data().size(), bytes) << r->Label();
    EXPECT_FALSE(r->Label().empty());
  }
  EXPECT_TRUE(controls.contains(1));
  EXPECT_TRUE(controls.contains(2));
  EXPECT_TRUE(funcs.contains(22));
  EXPECT_TRUE(funcs.contains(23));
  EXPECT_FALSE(load_.file.MenuCaption1.empty());
}

}  // namespace
}  // namespace quorvel
