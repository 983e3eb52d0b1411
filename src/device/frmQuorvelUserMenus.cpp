// The two user menus: requests the user sends on command, found by their labels.

#include "device/frmQuorvel.h"

namespace quorvel {
namespace {

// The next free item of a user menu; element 0 is the template and stays hidden.
MenuItem& NextItem(std::vector<MenuItem>& items, std::size_t& used) {
  ++used;
  if (items.size() <= used) items.resize(used + 1, MenuItem{"", false, true, false});
  return items[used];
}

}  // namespace

void frmQuorvel::SetupUserMenu() {
  for (MenuItem& item : menus.mnuUser1) item.Visible = false;
  for (MenuItem& item : menus.mnuUser2) item.Visible = false;
  std::size_t used1 = 0;
  std::size_t used2 = 0;
  for (const auto& request : Requests) {
    const std::int32_t control = request->Control();
    MenuItem* item = nullptr;
    if (control == 1 || control == 2) item = &NextItem(menus.mnuUser1, used1);
    if (control == 3 || control == 4) item = &NextItem(menus.mnuUser2, used2);
    if (!item) continue;
    item->Caption = codePage_.ToUtf8(request->Label());
    item->Visible = true;
  }
  const bool master = mode_ == kMaster;
  // A menu once grown keeps its items (hidden), as a control array does.
  menus.mnuUserMain[1].Visible = master && menus.mnuUser1.size() >= 2;
  menus.mnuUserMain[2].Visible = master && menus.mnuUser2.size() >= 2;
}

void frmQuorvel::mnuUser1_Click(int index) {
  if (index < 1 || static_cast<std::size_t>(index) >= menus.mnuUser1.size()) return;
  UserMenuChosen(menus.mnuUser1[index].Caption, 1, 2);
}

void frmQuorvel::mnuUser2_Click(int index) {
  if (index < 1 || static_cast<std::size_t>(index) >= menus.mnuUser2.size()) return;
  UserMenuChosen(menus.mnuUser2[index].Caption, 3, 4);
}

void frmQuorvel::UserMenuChosen(const std::string& caption, std::int32_t sendAsIs, std::int32_t typeFirst) {
  std::shared_ptr<ReqProp> request;
  for (const auto& candidate : Requests) {
    if (codePage_.ToUtf8(candidate->Label()) == caption) {
      request = candidate;
      break;
    }
  }
  if (!request) return;
  const std::int32_t control = request->Control();
  const auto queue = [&] {
    // The project's own request: choosing it twice sends it twice.
    PendingRequests.push_back(request);
    nextTime_ = kAtOnce;
  };
  if (control == sendAsIs) {
    queue();
  } else if (control == typeFirst) {
    switch (request->Func()) {
      case 5:
      case 15:
        host_.ShowUserWrite(*this, CoilElements, request);
        break;
      case 6:
      case 16:
      case 22:
      case 23:
        host_.ShowUserWrite(*this, HoldingElements, request);
        break;
      default:
        queue();
        break;
    }
  }
}

}  // namespace quorvel
