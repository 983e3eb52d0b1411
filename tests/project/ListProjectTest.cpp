// Projects built from a register list load as any project does, with a panel
// whose boxes sit inside their table's frame without covering each other.

#include "project/ListProject.h"

#include <gtest/gtest.h>

#include "convert/AddressCode.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/PanelLayout.h"
#include "project/PollPlan.h"
#include "project/ProjectLoader.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

std::vector<RegisterRow> Rows(const std::string& csv) {
  const RegisterList list =
      ParseRegisterCsv("label,table,address,type,order,format,k,x0,writable\n" + csv, CodePage::Default());
  EXPECT_EQ(list.errors, std::vector<std::string>{});
  return list.rows;
}

ProjectLoad Load(const ProjectFile& file, Panel& panel) {
  const auto bytes = WriteProject(file);
  return LoadProjectBytes(bytes, "list.qvc", panel, CodePage::Default());
}

struct Box {
  int left, top, right, bottom;
  bool Inside(const Box& outer) const {
    return left >= outer.left && top >= outer.top && right <= outer.right && bottom <= outer.bottom;
  }
  bool Overlaps(const Box& o) const { return left < o.right && o.left < right && top < o.bottom && o.top < bottom; }
};

Box BoxOf(const ElementRecord& e) { return {e.Left, e.Top, e.Left + e.Width, e.Top + e.Height}; }

TEST(ListProjectTest, LoadsWithEveryValueFiledByTableAndTheReadsThatCoverThem) {
  const auto rows = Rows(
      "Flow,HR,0,float32,,0.000\n"
      "Status,HR,2,hex16\n"
      "Setpoint,HR,40,int16,,,0.1,,yes\n"
      "Temperature,IR,3,int16,,,0.1,-40\n"
      "Run,C,0\n"
      "Alarms,DI,8,bits:8\n");
  const ProjectFile file = BuildListProject(rows, {"Pump P-101", 500, 800}, CodePage::Default());
  Panel panel;
  const ProjectLoad load = Load(file, panel);
  ASSERT_TRUE(load.ok);
  EXPECT_EQ(load.failedSteps, 0);
  EXPECT_EQ(load.file, file);
  EXPECT_EQ(HeaderText(file.Header), "DraventaFabricant Pump P-101");
  EXPECT_EQ((std::vector<std::size_t>{load.HoldingElements.size(), load.InputRegElements.size(),
                                      load.CoilElements.size(), load.DiscreteElements.size()}),
            (std::vector<std::size_t>{3, 1, 1, 1}));
  // An empty format takes the address code's default as it loads.
  EXPECT_EQ(load.HoldingElements[0].element->FormatString(), "0.000");
  EXPECT_EQ(load.InputRegElements[0].element->FormatString(), "## ##0");
  EXPECT_EQ((std::vector<int>{file.DirectWrite, file.Exeptions, file.Timeout, file.Setting1}),
            (std::vector<int>{-1, 0xFF, 800, 500}));

  std::vector<std::tuple<int, int, int>> reads;
  for (const auto& r : load.Requests) reads.emplace_back(r->Func(), r->ReadAddr(), r->ReadQnt());
  const std::vector<std::tuple<int, int, int>> want = {{3, 0, 3}, {3, 40, 1}, {4, 3, 1}, {1, 0, 1}, {2, 8, 8}};
  EXPECT_EQ(reads, want);
}

TEST(ListProjectTest, WithoutWritableRowsNothingIsWrittenFromThePanel) {
  const ProjectFile file = BuildListProject(Rows("a,HR,0\n"), {}, CodePage::Default());
  EXPECT_EQ(file.DirectWrite, 0);
  EXPECT_EQ(file.Exeptions, 0x0F);
  EXPECT_EQ(HeaderText(file.Header), "DraventaFabricant");
}

TEST(ListProjectTest, LaysOutCaptionsAndBoxesInsideTheirFramesWithoutOverlap) {
  // Enough values for several columns in one table, long captions, wide values.
  std::string csv;
  for (int i = 0; i < 40; ++i) csv += "Value number " + std::to_string(i) + ",HR," + std::to_string(i) + ",bin16\n";
  csv += "A rather long caption for one coil,C,0\n";
  for (int i = 0; i < 3; ++i) csv += ",IR," + std::to_string(i * 4) + ",float64\n";
  const ProjectFile file = BuildListProject(Rows(csv), {"Title"}, CodePage::Default());

  std::vector<Box> frames;
  std::vector<std::pair<Box, std::string>> content;
  for (const auto& e : file.Elements) {
    if (e.CtrlName == "Fr")
      frames.push_back(BoxOf(e));
    else if (e.Caption != "Title")
      content.emplace_back(BoxOf(e), e.Caption);
  }
  ASSERT_EQ(frames.size(), 3u);
  ASSERT_EQ(content.size(), 2u * 44);
  for (std::size_t i = 0; i < frames.size(); ++i)
    for (std::size_t j = i + 1; j < frames.size(); ++j) EXPECT_FALSE(frames[i].Overlaps(frames[j])) << i << "," << j;
  for (std::size_t i = 0; i < content.size(); ++i) {
    const Box& b = content[i].first;
    EXPECT_EQ(std::count_if(frames.begin(), frames.end(), [&](const Box& f) { return b.Inside(f); }), 1)
        << content[i].second;
    for (std::size_t j = i + 1; j < content.size(); ++j) EXPECT_FALSE(b.Overlaps(content[j].first)) << i << "," << j;
    EXPECT_LE(b.right + 120, file.Setting2);
    EXPECT_LE(b.bottom + 120, file.Setting3);
  }
  // Captions get room for their characters, boxes for the widest value text.
  for (const auto& e : file.Elements) {
    if (e.CtrlName == "Lbl") {
      EXPECT_GE(e.Width, static_cast<int>(e.Caption.size()) * 95) << e.Caption;
    }
    if (e.CtrlName == "TBox") {
      EXPECT_GE(e.Width, ValueTextChars(e.Address, e.FormatString) * 95);
    }
  }
}

TEST(ListProjectTest, RefusesWhatAProjectCannotHold) {
  const auto one = Rows("a,HR,0\n");
  EXPECT_THROW(BuildListProject({}, {}, CodePage::Default()), std::invalid_argument);
  EXPECT_THROW(BuildListProject(one, {"two\nlines"}, CodePage::Default()), std::invalid_argument);
  EXPECT_THROW(BuildListProject(one, {std::string(240, 'x')}, CodePage::Default()), std::invalid_argument);
  EXPECT_THROW(BuildListProject(one, {"\xD0\x96"}, *CodePage::Find(1253)), std::invalid_argument);
  std::string error;
  const auto many = ParseRangeText("C:0-65535:bits:1", error);
  ASSERT_TRUE(many);
  EXPECT_THROW(BuildListProject(*many, {}, CodePage::Default()), std::invalid_argument);
}

}  // namespace
}  // namespace quorvel
