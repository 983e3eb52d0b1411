#include "app/CodePageSetting.h"

#include <charconv>
#include <cstdlib>
#include <string>

#include "app/Settings.h"

namespace quorvel {
namespace {

constexpr const char* kCodePageKey = "CodePage";

struct LanguagePage {
  std::string_view language;
  int number;
};

constexpr LanguagePage kPages[] = {
    {"ru", 1251}, {"uk", 1251}, {"bg", 1251}, {"sr", 1251}, {"pl", 1250}, {"cs", 1250}, {"sk", 1250},
    {"hu", 1250}, {"sl", 1250}, {"hr", 1250}, {"ro", 1250}, {"el", 1253}, {"tr", 1254}, {"lt", 1257},
    {"lv", 1257}, {"et", 1257},
};

std::string_view UserLocale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value && *value) return value;
  }
  return {};
}

}  // namespace

int CodePageForLanguage(std::string_view locale) {
  const std::string_view language = locale.substr(0, locale.find_first_of("_.@-"));
  for (const LanguagePage& page : kPages)
    if (page.language == language) return page.number;
  return 1252;
}

const CodePage& UserCodePage(platform::SettingsStore& store) {
  const std::string text = store.GetSetting(kSettingsApp, kStartupSection, kCodePageKey, "");
  int number = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (ec == std::errc() && end == text.data() + text.size())
    if (const CodePage* stored = CodePage::Find(number)) return *stored;
  const CodePage* fromLanguage = CodePage::Find(CodePageForLanguage(UserLocale()));
  return fromLanguage ? *fromLanguage : CodePage::Default();
}

bool SaveUserCodePage(platform::SettingsStore& store, int number) {
  return store.SaveSetting(kSettingsApp, kStartupSection, kCodePageKey, std::to_string(number));
}

}  // namespace quorvel
