#pragma once

// The recent project and recent session lists: most recent first, at most
// eight entries each, and the menus that offer them. An empty list is seeded
// with the sample beside the program, so a first start has something to open.

#include <cstddef>
#include <string>
#include <vector>

#include "device/DeviceMenus.h"

namespace quorvel {

struct PublicVeriables;

inline constexpr std::size_t kRecentEntries = 8;
inline constexpr const char* kSampleProject = "Coriolis.qvc";
inline constexpr const char* kSampleSession = "Coriolis.qvs";

// Puts `path` at the head of `list`, dropping every equal entry (letter case
// counts) and the ninth. An empty path changes nothing.
void AddRecent(std::vector<std::string>& list, const std::string& path);

// AddRecent on the program's list, then the menu rebuild below.
void AddRecentSession(PublicVeriables& globals, const std::string& path);
void AddRecentFile(PublicVeriables& globals, const std::string& path);

// The menu rebuild: an empty list first gets the sample in the program's
// directory as its entry (and keeps it, to be saved like any other); the
// result is the captions of the menu items, entry i for item i.
std::vector<std::string> ShowRecentSessions(PublicVeriables& globals);
std::vector<std::string> ShowRecentFiles(PublicVeriables& globals);

// Brings one form's recent menu (item i at index i - 1) in line with the
// captions: every item is hidden, missing ones are created, then one item per
// caption is shown with it. Items beyond the list stay, hidden.
void RebuildRecentMenu(std::vector<MenuItem>& items, const std::vector<std::string>& captions);

// Entry i (1-based) of a list; "" when the list is shorter.
std::string RecentEntry(const std::vector<std::string>& list, int i);

}  // namespace quorvel
