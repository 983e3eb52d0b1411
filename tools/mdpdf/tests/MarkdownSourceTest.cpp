#include "MarkdownSource.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace quorvel::mdpdf {
namespace {

// The pictures that "exist" in these cases, as the Markdown names them after
// decoding; everything else is missing.
const std::set<std::string> kPresent = {"shots/frame.png"};

struct PictureCase {
  const char* what;
  const char* markdown;
  const char* expected;
};

class ResolvePicturesTest : public ::testing::TestWithParam<PictureCase> {};

TEST_P(ResolvePicturesTest, KeepsPresentPicturesAndReplacesMissingOnes) {
  const std::string out = ResolvePictures(
      GetParam().markdown, [](std::string_view reference) { return kPresent.count(std::string(reference)) > 0; });
  EXPECT_EQ(out, GetParam().expected) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ResolvePicturesTest,
    ::testing::Values(
        PictureCase{"present picture stays", "See ![The frame](shots/frame.png) here.\n",
                    "See ![The frame](shots/frame.png) here.\n"},
        PictureCase{"missing picture becomes its alt text", "![The main frame](shots/none.png)\n",
                    "*The main frame*\n"},
        PictureCase{"missing picture without alt text goes", "before ![](shots/none.png)after\n", "before after\n"},
        PictureCase{"alt text with emphasis marks stays plain", "![a *bold* claim](x.png)", "a *bold* claim"},
        PictureCase{"remote pictures are never fetched", "![logo](https://example.org/shots/frame.png)", "*logo*"},
        PictureCase{"links are not pictures", "[guide](missing.md) and [![x](none.png)](missing.md)",
                    "[guide](missing.md) and [*x*](missing.md)"},
        PictureCase{"code span is text", "type `![x](none.png)` to show a picture",
                    "type `![x](none.png)` to show a picture"},
        PictureCase{"fenced block is text", "```md\n![x](none.png)\n```\n![y](none.png)\n",
                    "```md\n![x](none.png)\n```\n*y*\n"},
        PictureCase{"unterminated picture stays as typed", "![alt](none.png", "![alt](none.png"}));

}  // namespace
}  // namespace quorvel::mdpdf
