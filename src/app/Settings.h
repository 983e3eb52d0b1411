#pragma once

// The frame's settings in the per-user store: where the frame stands, the
// directory of the last file dialog and the two recent lists (section
// "Startup"), and which device each COM port stands for (section "Ports").

#include "app/frmQuorvelMain.h"
#include "platform/PortMap.h"
#include "platform/SettingsStore.h"

namespace quorvel {

inline constexpr const char* kSettingsApp = "Quorvel";
inline constexpr const char* kStartupSection = "Startup";

// The screen's size in twips; a frame without saved settings takes the
// middle of the screen.
struct ScreenSize {
  float Width = 0;
  float Height = 0;
};

// At the frame's load: the recent lists (keys "1".."8" and "1s".."8s",
// empty values skipped) and their menus, the frame's place ("MainLeft",
// "MainTop", "MainWidth", "MainHeight"; a missing or unreadable value takes
// its default from the screen) and the last directory ("Path").
void LoadStartupSettings(platform::SettingsStore& store, frmQuorvelMain& frame, ScreenSize screen);

// At the frame's unload: the recent lists in order (keys beyond a list's
// length keep what they held), the frame's place unless it is minimised, and
// the last directory. False when the store refused a value.
bool SaveStartupSettings(platform::SettingsStore& store, const frmQuorvelMain& frame);

// The frame's unload: its windows, ports and timers, then its settings.
bool MDIForm_Unload(frmQuorvelMain& frame, platform::SettingsStore& store);

// The port map with the store's "COM1".."COM16" entries over the defaults.
platform::PortMap LoadPortMap(platform::SettingsStore& store);
// Keeps `path` as port `com`'s device, where LoadPortMap (and the CLI) read it.
bool SavePortPath(platform::SettingsStore& store, int com, const std::string& path);

}  // namespace quorvel
