#pragma once

// The frame's menu bar: the active device window's menus while there is one,
// the frame's own (file and help) otherwise. Captions, checks, enabling and
// visibility come from the core's menu state; the bar only mirrors them.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <QMenuBar>

#include "device/frmQuorvel.h"

namespace quorvel {

class MainWindow;

class MenuBar {
 public:
  MenuBar(QMenuBar& bar, MainWindow& main) : bar_(bar), main_(main) {}

  // Builds the bar for `window` (nullptr: the frame alone).
  void Build(frmQuorvel* window);
  // Brings every item in line with the core's state.
  void Refresh();
  frmQuorvel* Window() const { return window_; }

 private:
  QAction* Add(QMenu& menu, const MenuItem* item, const QString& caption, std::function<void()> run);
  void AddFileMenu(frmQuorvel* window);
  void AddHelpMenu(frmQuorvel* window);
  void AddWindowList(QMenu& menu);

  struct Bound {
    QAction* action;
    const MenuItem* item;
  };
  QMenuBar& bar_;
  MainWindow& main_;
  frmQuorvel* window_ = nullptr;
  std::vector<Bound> bound_;
  // Items whose visibility alone follows the core: separators and submenus.
  std::vector<Bound> shown_;
  std::vector<std::pair<QAction*, const std::string*>> tipped_;
  struct Listed {
    QAction* action;
    frmQuorvel* window;
    int number;
  };
  std::vector<Listed> listed_;
};

}  // namespace quorvel
