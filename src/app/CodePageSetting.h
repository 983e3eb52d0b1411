#pragma once

// The code page of project and session texts, a per-user setting ("CodePage"
// in the section "Startup"). Without one it follows the user's language, as
// the system code page of a Windows installation in that language would.

#include <string_view>

#include "platform/SettingsStore.h"
#include "project/CodePage.h"

namespace quorvel {

// The code page for a locale name such as "ru_RU.UTF-8" or "pl".
int CodePageForLanguage(std::string_view locale);

// The stored code page, or the one of the user's language (LC_ALL,
// LC_MESSAGES, LANG); a stored number that is no supported code page counts
// as none.
const CodePage& UserCodePage(platform::SettingsStore& store);

bool SaveUserCodePage(platform::SettingsStore& store, int number);

}  // namespace quorvel
