#include "app/Settings.h"

#include <string>

#include "app/DefaultPlacement.h"
#include "app/RecentLists.h"
#include "app/WriteNotation.h"

namespace quorvel {
namespace {

float ReadSingle(platform::SettingsStore& store, const char* key, float defaultValue) {
  const std::string text = store.GetSetting(kSettingsApp, kStartupSection, key, SingleText(defaultValue));
  return ParseSingleText(text).value_or(defaultValue);
}

void ReadList(platform::SettingsStore& store, std::vector<std::string>& list, const char* suffix) {
  list.clear();
  for (std::size_t i = 1; i <= kRecentEntries; ++i) {
    std::string value = store.GetSetting(kSettingsApp, kStartupSection, std::to_string(i) + suffix, "");
    if (!value.empty()) list.push_back(std::move(value));
  }
}

bool WriteList(platform::SettingsStore& store, const std::vector<std::string>& list, const char* suffix) {
  bool ok = true;
  for (std::size_t i = 0; i < list.size(); ++i) {
    ok = store.SaveSetting(kSettingsApp, kStartupSection, std::to_string(i + 1) + suffix, list[i]) && ok;
  }
  return ok;
}

}  // namespace

void LoadStartupSettings(platform::SettingsStore& store, frmQuorvelMain& frame, ScreenSize screen) {
  PublicVeriables& globals = frame.Globals();
  ReadList(store, globals.RecentFiles, "");
  ReadList(store, globals.RecentSessions, "s");
  ShowRecentFiles(globals);
  ShowRecentSessions(globals);
  const WindowPlacement fallback = DefaultFramePlacement(screen.Width, screen.Height);
  frame.Placement.Left = ReadSingle(store, "MainLeft", fallback.Left);
  frame.Placement.Top = ReadSingle(store, "MainTop", fallback.Top);
  frame.Placement.Width = ReadSingle(store, "MainWidth", fallback.Width);
  frame.Placement.Height = ReadSingle(store, "MainHeight", fallback.Height);
  globals.LastPath = store.GetSetting(kSettingsApp, kStartupSection, "Path", "");
}

bool SaveStartupSettings(platform::SettingsStore& store, const frmQuorvelMain& frame) {
  const PublicVeriables& globals = frame.Globals();
  bool ok = WriteList(store, globals.RecentFiles, "");
  ok = WriteList(store, globals.RecentSessions, "s") && ok;
  if (!frame.Minimized) {
    const WindowPlacement& place = frame.Placement;
    ok = store.SaveSetting(kSettingsApp, kStartupSection, "MainLeft", SingleText(place.Left)) && ok;
    ok = store.SaveSetting(kSettingsApp, kStartupSection, "MainTop", SingleText(place.Top)) && ok;
    ok = store.SaveSetting(kSettingsApp, kStartupSection, "MainWidth", SingleText(place.Width)) && ok;
    ok = store.SaveSetting(kSettingsApp, kStartupSection, "MainHeight", SingleText(place.Height)) && ok;
  }
  return store.SaveSetting(kSettingsApp, kStartupSection, "Path", globals.LastPath) && ok;
}

bool MDIForm_Unload(frmQuorvelMain& frame, platform::SettingsStore& store) {
  frame.Unload();
  return SaveStartupSettings(store, frame);
}

platform::PortMap LoadPortMap(platform::SettingsStore& store) {
  platform::PortMap map;
  map.Load([&](const std::string& key, const std::string& defaultValue) {
    return store.GetSetting(kSettingsApp, platform::PortMap::kSection, key, defaultValue);
  });
  return map;
}

bool SavePortPath(platform::SettingsStore& store, int com, const std::string& path) {
  return store.SaveSetting(kSettingsApp, platform::PortMap::kSection, platform::PortMap::Key(com), path);
}

}  // namespace quorvel
