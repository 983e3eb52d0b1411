// The regression corpus of broken project files (made by
// tools/make_malformed.py): none of them may bring the loader down.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectLoader.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = QUORVEL_TEST_DATA "/malformed";

std::vector<std::uint8_t> Bytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(MalformedCorpusTest, EveryFileLoadsAsItsNameSays) {
  int files = 0;
  for (const auto& entry : fs::directory_iterator(kCorpus)) {
    const std::string name = entry.path().filename().string();
    ++files;
    Panel panel;
    const ProjectLoad load = LoadProject(entry.path().string(), panel, CodePage::Default());
    if (name.starts_with("refused-")) {
      EXPECT_FALSE(load.ok) << name;
      EXPECT_EQ(load.messages, (std::vector<std::string>{"Unknown file format: " + entry.path().string()})) << name;
      continue;
    }
    ASSERT_TRUE(load.ok) << name;
    if (name.starts_with("damaged-")) {
      EXPECT_GT(load.failedSteps, 0) << name;
      EXPECT_NO_THROW(WriteProject(load.file)) << name;
    } else {
      EXPECT_EQ(load.failedSteps, 0) << name;
      EXPECT_EQ(WriteProject(load.file), Bytes(entry.path())) << name;
    }
  }
  EXPECT_GE(files, 20);
}

// Values of the sound project as its generator encodes them.
TEST(MalformedCorpusTest, TheSoundProjectLoadsWhole) {
  Panel panel;
  const ProjectLoad load = LoadProject((kCorpus / "sound-small.qvc").string(), panel, CodePage::Default());
  ASSERT_TRUE(load.ok);
  EXPECT_EQ(load.title, "sound-small.qvc");
  EXPECT_EQ(load.file.Setting2, 7200);
  EXPECT_EQ(load.file.MenuCaption2, "&Service");
  EXPECT_EQ(load.file.Interval, 20);
  EXPECT_EQ(load.file.HiddenElements.size(), 1u);
  ASSERT_EQ(load.HoldingElements.size(), 1u);
  EXPECT_EQ(load.HoldingElements[0].element->FormatString(), "0.00");  // Float default
  EXPECT_EQ(panel.FindControl("Lbl", 1)->Caption(), "Mass flow [kg/h]");
  EXPECT_TRUE(panel.FindControl("Img", 1)->Picture());
  ASSERT_EQ(load.Requests.size(), 3u);
  EXPECT_EQ(load.Requests[1]->Data(), (std::vector<std::uint8_t>{0x00, 0x00, 0x3F, 0x80}));
  EXPECT_EQ(load.Requests[2]->Data(), (std::vector<std::uint8_t>{0xFF, 0xFF, 0x00, 0x00}));
  EXPECT_EQ(load.file.Requests[2].Data, (std::vector<std::uint8_t>{0x12, 0x34, 0x56, 0x78}));
}

}  // namespace
}  // namespace quorvel
