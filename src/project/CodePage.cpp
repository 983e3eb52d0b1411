#include "project/CodePage.h"

#include <array>
#include <cstdio>

#include "project/CodePageTables.h"

namespace quorvel {
namespace {

const std::array<CodePage, 6>& Pages() {
  static const std::array<CodePage, 6> kPages = {
      CodePage(1250, detail::kCp1250High), CodePage(1251, detail::kCp1251High), CodePage(1252, detail::kCp1252High),
      CodePage(1253, detail::kCp1253High), CodePage(1254, detail::kCp1254High), CodePage(1257, detail::kCp1257High),
  };
  return kPages;
}

void AppendUtf8(std::string& out, char32_t ch) {
  if (ch < 0x80) {
    out += static_cast<char>(ch);
  } else if (ch < 0x800) {
    out += static_cast<char>(0xC0 | (ch >> 6));
    out += static_cast<char>(0x80 | (ch & 0x3F));
  } else {
    // Code pages reach no further than the Basic Multilingual Plane.
    out += static_cast<char>(0xE0 | (ch >> 12));
    out += static_cast<char>(0x80 | ((ch >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (ch & 0x3F));
  }
}

// Reads one UTF-8 sequence at `pos`, advancing it; throws on malformed input.
char32_t NextUtf8(std::string_view text, std::size_t& pos) {
  const auto lead = static_cast<unsigned char>(text[pos]);
  int extra = 0;
  char32_t ch = 0;
  char32_t least = 0;
  if (lead < 0x80) {
    ++pos;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    extra = 1, ch = lead & 0x1F, least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, ch = lead & 0x0F, least = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, ch = lead & 0x07, least = 0x10000;
  } else {
    throw CodePageError("the text is not valid UTF-8");
  }
  if (text.size() - pos <= static_cast<std::size_t>(extra)) throw CodePageError("the text is not valid UTF-8");
  for (int i = 1; i <= extra; ++i) {
    const auto next = static_cast<unsigned char>(text[pos + i]);
    if ((next & 0xC0) != 0x80) throw CodePageError("the text is not valid UTF-8");
    ch = (ch << 6) | (next & 0x3F);
  }
  if (ch < least || ch > 0x10FFFF || (ch >= 0xD800 && ch <= 0xDFFF)) {
    throw CodePageError("the text is not valid UTF-8");
  }
  pos += extra + 1;
  return ch;
}

}  // namespace

const CodePage* CodePage::Find(int number) {
  for (const CodePage& page : Pages()) {
    if (page.Number() == number) return &page;
  }
  return nullptr;
}

const CodePage& CodePage::Default() { return *Find(1252); }

std::vector<int> CodePage::Supported() {
  std::vector<int> numbers;
  for (const CodePage& page : Pages()) numbers.push_back(page.Number());
  return numbers;
}

char32_t CodePage::Decode(unsigned char byte) const { return byte < 0x80 ? byte : high_[byte - 0x80]; }

std::optional<unsigned char> CodePage::Encode(char32_t ch) const {
  if (ch < 0x80) return static_cast<unsigned char>(ch);
  for (int i = 0; i < 128; ++i) {
    if (high_[i] == ch) return static_cast<unsigned char>(0x80 + i);
  }
  return std::nullopt;
}

std::string CodePage::ToUtf8(std::string_view bytes) const {
  std::string out;
  out.reserve(bytes.size());
  for (char c : bytes) AppendUtf8(out, Decode(static_cast<unsigned char>(c)));
  return out;
}

std::string CodePage::FromUtf8(std::string_view utf8) const {
  std::string out;
  out.reserve(utf8.size());
  std::size_t pos = 0;
  while (pos < utf8.size()) {
    const char32_t ch = NextUtf8(utf8, pos);
    const auto byte = Encode(ch);
    if (!byte) {
      char code[16];
      std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(ch));
      throw CodePageError("character " + std::string(code) + " cannot be written in code page " +
                          std::to_string(number_));
    }
    out += static_cast<char>(*byte);
  }
  return out;
}

}  // namespace quorvel
