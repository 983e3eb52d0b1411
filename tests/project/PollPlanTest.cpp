// The periodic reads planned for a list of values: the fewest requests within
// the protocol's lengths, split at gaps of more than 16 addresses.

#include "project/PollPlan.h"

#include <gtest/gtest.h>

#include "convert/AddressCode.h"

namespace quorvel {
namespace {

// Address codes of the kinds of value, at address 0.
enum Kind : std::uint32_t { kInt16 = 0, kFloat = 0x00200000, kDouble = 0x00300000, kCoil16 = 0x20F00000 };

std::vector<std::uint32_t> Every(std::uint32_t kind, int first, int last, int step) {
  std::vector<std::uint32_t> codes;
  for (int a = first; a <= last; a += step) codes.push_back(kind | static_cast<std::uint32_t>(a));
  return codes;
}

struct PlanCase {
  const char* name;
  std::vector<std::uint32_t> codes;
  std::vector<std::pair<int, int>> blocks;  // first, count
};

class Plans : public testing::TestWithParam<PlanCase> {};

TEST_P(Plans, CoverEveryValueWithTheFewestRequests) {
  std::vector<std::pair<int, int>> blocks;
  for (const ReadBlock& b : PlanBlocks(GetParam().codes)) blocks.emplace_back(b.first, b.count);
  EXPECT_EQ(blocks, GetParam().blocks);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, Plans,
    testing::Values(PlanCase{"Contiguous", Every(kInt16, 0, 9, 1), {{0, 10}}},
                    PlanCase{"GapOf16IsReadThrough", {kInt16 | 0, kInt16 | 17}, {{0, 18}}},
                    PlanCase{"GapOf17Splits", {kInt16 | 0, kInt16 | 18}, {{0, 1}, {18, 1}}},
                    PlanCase{"GapCountsFromTheEndOfAWideValue", {kDouble | 0, kInt16 | 20}, {{0, 21}}},
                    PlanCase{"At125Registers", Every(kInt16, 0, 125, 1), {{0, 125}, {125, 1}}},
                    PlanCase{"WideValueIsNeverCut", {kInt16 | 0, kFloat | 124}, {{0, 1}, {124, 2}}},
                    PlanCase{"At2000Bits", Every(kCoil16, 0, 2000, 16), {{0, 2000}, {2000, 16}}},
                    PlanCase{"OverlapsAndAnyOrder", {kInt16 | 5, kFloat | 4, kInt16 | 4}, {{4, 2}}},
                    PlanCase{"LastAddress", {kInt16 | 65535}, {{65535, 1}}}, PlanCase{"Nothing", {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(PollPlanTest, ReadsEachTableWithItsFunction) {
  const std::vector<std::uint32_t> codes = {0x30000002, 0x20000001, 0x10000003, 0x00000004};
  const auto requests = PlanReads(codes, 750);
  std::vector<std::tuple<int, int, int>> got;
  for (const auto& r : requests) {
    got.emplace_back(r.Func, r.ReadAddr, r.ReadQnt);
    EXPECT_EQ(r.Period, 750);
    EXPECT_EQ(r.Control, 0);
    EXPECT_EQ(r.WriteQnt, 0);
  }
  const std::vector<std::tuple<int, int, int>> want = {{3, 4, 1}, {4, 3, 1}, {1, 1, 1}, {2, 2, 1}};
  EXPECT_EQ(got, want);
}

}  // namespace
}  // namespace quorvel
