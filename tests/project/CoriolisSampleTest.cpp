// The sample project that ships beside the programs: it must load cleanly and
// show every kind of element and request a user meets.

#include <gtest/gtest.h>

#include <fstream>

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

  Panel panel_;
  ProjectLoad load_;
};

TEST_F(CoriolisSample, LoadsWithoutAFailedStep) {
  EXPECT_EQ(load_.failedSteps, 0);
  EXPECT_EQ(load_.file.Exeptions, 0xFF);  // all four exception answers, all four write functions
  EXPECT_EQ(load_.file.DirectWrite, -1);
  EXPECT_GT(load_.file.Timeout, 0);
  EXPECT_FALSE(load_.DiscreteElements.empty());
  EXPECT_FALSE(load_.InputRegElements.empty());
  ASSERT_EQ(panel_.Count("Img"), 1);
  EXPECT_TRUE(panel_.FindControl("Img", 1)->Picture());
}

}  // namespace
}  // namespace quorvel
