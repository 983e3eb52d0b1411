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
      {1252, 0x80, U'\u20AC'}, {1252, 0xB0, U'\u00B0'}, {1252, 0x9F, U'\u0178'}, {1252, 0x81, U'\u0081'},
      {1252, 0x41, U'A'},      {1250, 0x8A, U'\u0160'}, {1250, 0xB9, U'\u0105'}, {1251, 0xC0, U'\u0410'},
      {1251, 0xFF, U'\u044F'}, {1251, 0x98, U'\u0098'}, {1253, 0xC1, U'\u0391'}, {1253, 0xD2, U'\u00D2'},
      {1254, 0xD0, U'\u011E'}, {1254, 0xFD, U'\u0131'}, {1257, 0xC0, U'\u0104'}, {1257, 0xA1, U'\u00A1'},
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

TEST(CodePageTest, WritesUtf8AsTheBytesOfTheCodePage) {
  EXPECT_EQ(CodePage::Default().ToUtf8("12\xB0"
                                       "C \x80"),
            "12\u00B0C \u20AC");
  EXPECT_EQ(CodePage::Default().FromUtf8("Druck \u00B0C \u20AC"),
            "Druck \xB0"
            "C \x80");
  EXPECT_EQ(CodePage::Find(1251)->FromUtf8("\u0414\u0430"), "\xC4\xE0");
}

TEST(CodePageTest, RefusesCharactersTheCodePageLacks) {
  try {
    CodePage::Default().FromUtf8("Ok \u0416");
    FAIL() << "no error";
  } catch (const CodePageError& e) {
    EXPECT_EQ(std::string(e.what()), "character U+0416 cannot be written in code page 1252");
  }
  EXPECT_THROW(CodePage::Default().FromUtf8("\xF0\x9F\x98\x80"), CodePageError);  // outside the BMP
}

TEST(CodePageTest, RefusesMalformedUtf8) {
  for (const char* bad : {"\xC3", "\xC3(", "\xC0\x80", "\xED\xA0\x80", "\xFF", "\x80"}) {
    EXPECT_THROW(CodePage::Default().FromUtf8(bad), CodePageError) << bad;
  }
}

}  // namespace
}  // namespace quorvel
