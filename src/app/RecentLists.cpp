#include "app/RecentLists.h"

#include <algorithm>

#include "app/PublicVeriables.h"
#include "serial/clsCOM.h"  // the port table in the program-wide values owns port objects

namespace quorvel {
namespace {

std::vector<std::string> Show(std::vector<std::string>& list, const std::string& sample) {
  if (list.empty()) list.push_back(sample);
  return list;
}

}  // namespace

void AddRecent(std::vector<std::string>& list, const std::string& path) {
  if (path.empty()) return;
  std::erase(list, path);
  list.insert(list.begin(), path);
  if (list.size() > kRecentEntries) list.resize(kRecentEntries);
}

void AddRecentSession(PublicVeriables& globals, const std::string& path) {
  AddRecent(globals.RecentSessions, path);
  ShowRecentSessions(globals);
}

void AddRecentFile(PublicVeriables& globals, const std::string& path) {
  AddRecent(globals.RecentFiles, path);
  ShowRecentFiles(globals);
}

std::vector<std::string> ShowRecentSessions(PublicVeriables& globals) {
  return Show(globals.RecentSessions, globals.AppPath + kSampleSession);
}

std::vector<std::string> ShowRecentFiles(PublicVeriables& globals) {
  return Show(globals.RecentFiles, globals.AppPath + kSampleProject);
}

void RebuildRecentMenu(std::vector<MenuItem>& items, const std::vector<std::string>& captions) {
  for (MenuItem& item : items) item.Visible = false;
  if (items.size() < captions.size()) items.resize(captions.size());
  for (std::size_t i = 0; i < captions.size(); ++i) {
    items[i].Caption = captions[i];
    items[i].Visible = true;
  }
}

std::string RecentEntry(const std::vector<std::string>& list, int i) {
  if (i < 1 || static_cast<std::size_t>(i) > list.size()) return "";
  return list[static_cast<std::size_t>(i - 1)];
}

}  // namespace quorvel
