#include "MarkdownSource.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace quorvel::mdpdf {
namespace {

// The pictures that "exist" in these cases, as the Markdown names them after
// decoding; everything else is missing.
const std::set<std::string> kPresent = {"shots/frame.png", "shots/my shot.png", "/abs/icon.png", "a(1).png"};

struct PictureCase {
  const char* what;
  const char* markdown;
  const char* expected;
};

class ResolvePicturesTest : public ::testing::TestWithParam<PictureCase> {};

TEST_P(ResolvePicturesTest, KeepsPresentPicturesAndReplacesMissingOnes) {
  std::vector<std::string> asked;
  const std::string out = ResolvePictures(GetParam().markdown, [&asked](std::string_view reference) {
    asked.emplace_back(reference);
    return kPresent.count(std::string(reference)) > 0;
  });
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
        PictureCase{"alt text with blanks around is trimmed", "![  spaced  ](x.png)", "*spaced*"},
        PictureCase{"alt text with emphasis marks stays plain", "![a *bold* claim](x.png)", "a *bold* claim"},
        PictureCase{"underscores would pair up too", "![snake_case name](x.png)", "snake_case name"},
        PictureCase{"title after the reference", "![t](shots/frame.png \"The frame\") ![u](gone.png 'x')",
                    "![t](shots/frame.png \"The frame\") *u*"},
        PictureCase{"angle brackets allow blanks", "![s](<shots/my shot.png>)", "![s](<shots/my shot.png>)"},
        PictureCase{"percent escapes name the same file", "![s](shots/my%20shot.png)", "![s](shots/my%20shot.png)"},
        PictureCase{"balanced parentheses in the reference", "![p](a(1).png) ![q](b(2).png)", "![p](a(1).png) *q*"},
        PictureCase{"absolute path", "![i](/abs/icon.png)", "![i](/abs/icon.png)"},
        PictureCase{"remote pictures are never fetched", "![logo](https://example.org/shots/frame.png)", "*logo*"},
        PictureCase{"nested brackets in the alt text", "![a [b] c](none.png)", "*a [b] c*"},
        PictureCase{"two pictures on a line", "![x](none.png)|![y](shots/frame.png)", "*x*|![y](shots/frame.png)"},
        PictureCase{"links are not pictures", "[guide](missing.md) and [![x](none.png)](missing.md)",
                    "[guide](missing.md) and [*x*](missing.md)"},
        PictureCase{"escaped bang is text", "\\![x](none.png)", "\\![x](none.png)"},
        PictureCase{"code span is text", "type `![x](none.png)` to show a picture",
                    "type `![x](none.png)` to show a picture"},
        PictureCase{"double-tick code span with a tick inside", "``a ` ![x](none.png)`` ![y](none.png)",
                    "``a ` ![x](none.png)`` *y*"},
        PictureCase{"unclosed code span is just ticks", "a ` b ![x](none.png)", "a ` b *x*"},
        PictureCase{"fenced block is text", "```md\n![x](none.png)\n```\n![y](none.png)\n",
                    "```md\n![x](none.png)\n```\n*y*\n"},
        PictureCase{"tilde fence closed only by tildes", "~~~\n```\n![x](none.png)\n~~~\n![y](none.png)",
                    "~~~\n```\n![x](none.png)\n~~~\n*y*"},
        PictureCase{"longer fence needs as long a close", "````\n```\n![x](none.png)\n````\n",
                    "````\n```\n![x](none.png)\n````\n"},
        PictureCase{"unterminated picture stays as typed", "![alt](none.png", "![alt](none.png"},
        PictureCase{"unterminated alt text stays as typed", "![alt (none.png)", "![alt (none.png)"},
        PictureCase{"reference-style pictures are left alone", "![alt][logo]", "![alt][logo]"},
        PictureCase{"windows line ends are kept", "a\r\n![x](none.png)\r\n", "a\r\n*x*\r\n"},
        PictureCase{"bang at the end of the text", "Done!", "Done!"}));

TEST(ResolvePicturesTest, AsksOnlyAboutLocalPictureReferences) {
  std::vector<std::string> asked;
  ResolvePictures("![a](one.png) [b](two.png) ![c](http://x/y.png) `![d](three.png)` ![e](f%C3%BC.png)",
                  [&asked](std::string_view reference) {
                    asked.emplace_back(reference);
                    return false;
                  });
  EXPECT_EQ(asked, (std::vector<std::string>{"one.png", "f\xC3\xBC.png"}));
}

struct TitleCase {
  const char* markdown;
  const char* expected;
};

class DocumentTitleTest : public ::testing::TestWithParam<TitleCase> {};

TEST_P(DocumentTitleTest, FindsTheFirstLevelOneHeading) {
  EXPECT_EQ(DocumentTitle(GetParam().markdown), GetParam().expected) << GetParam().markdown;
}

INSTANTIATE_TEST_SUITE_P(Cases, DocumentTitleTest,
                         ::testing::Values(TitleCase{"# Quick start\ntext\n# Later\n", "Quick start"},
                                           TitleCase{"intro\n## Part\n   #  Spaced title  ##  \n", "Spaced title"},
                                           TitleCase{"# C# in a title\n", "C# in a title"},
                                           TitleCase{"```\n# not a title\n```\n# Real\n", "Real"},
                                           TitleCase{"#NoBlank\n    # indented code\n", ""},
                                           TitleCase{"# Windows\r\n", "Windows"}, TitleCase{"", ""}));

}  // namespace
}  // namespace quorvel::mdpdf
