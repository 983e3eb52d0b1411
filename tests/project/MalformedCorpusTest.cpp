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

}  // namespace
}  // namespace quorvel
