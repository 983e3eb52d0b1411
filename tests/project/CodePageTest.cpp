#include "project/CodePage.h"

#include <gtest/gtest.h>

namespace quorvel {
namespace {

struct Known {
  int page;
  unsigned char byte;
  char32_t ch;
};

// Taken from the code page charts.
TEST(CodePageTest, DecodesTheCharactersOfEachCodePage) {
  const Known cases[] = {
      {1252, 0x80, U'\u20AC'}, {1252, 0x81, U'\u0081'}, {1250, 0x8A, U'\u0160'}, {1251, 0xC0, U'\u0410'},
      {1253, 0xD2, U'\u00D2'}, {1254, 0xFD, U'\u0131'}, {1257, 0xC0, U'\u0104'},
  };
  for (const Known& k : cases) {
    const CodePage* page = CodePage::Find(k.page);
    ASSERT_NE(page, nullptr) << k.page;
    EXPECT_EQ(page->Decode(k.byte), k.ch) << k.page << " byte " << int(k.byte);
  }
}

TEST(CodePageTest, EveryByteStringSurvivesTheTripThroughUtf8) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  for (int number : CodePage::Supported()) {
    const CodePage& page = *CodePage::Find(number);
    EXPECT_EQ(page.FromUtf8(page.ToUtf8(all)), all) << number;
  }
}

// Characters the code page lacks (one outside the BMP) and malformed UTF-8.
TEST(CodePageTest, RefusesWhatItCannotWrite) {
  for (const char* bad :
       {"Ok \u0416", "\xF0\x9F\x98\x80", "\xC3", "\xC3(", "\xC0\x80", "\xED\xA0\x80", "\xFF", "\x80"}) {
    EXPECT_THROW(CodePage::Default().FromUtf8(bad), CodePageError) << bad;
  }
  try {
    CodePage::Default().FromUtf8("Ok \u0416");
  } catch (const CodePageError& e) {
    EXPECT_EQ(std::string(e.what()), "character U+0416 cannot be written in code page 1252");
  }
}

}  // namespace
}  // namespace quorvel
