#include "app/qt/MenuBar.h"

#include <QActionGroup>
#include <QKeySequence>
#include <QMenu>

#include "app/RecentLists.h"
#include "app/qt/DeviceWindow.h"
#include "app/qt/MainWindow.h"
#include "app/qt/QuickPollCommands.h"
#include "project/CodePage.h"

namespace quorvel {

QAction* MenuBar::Add(QMenu& menu, const MenuItem* item, const QString& caption, std::function<void()> run) {
  QAction* action = menu.addAction(caption);
  if (item) {
    action->setCheckable(true);
    bound_.push_back({action, item});
  }
  QObject::connect(action, &QAction::triggered, &main_, [this, run = std::move(run)] { main_.Command(run); });
  return action;
}

void MenuBar::Build(frmQuorvel* window) {
  window_ = window;
  bound_.clear();
  shown_.clear();
  tipped_.clear();
  listed_.clear();
  bar_.clear();
  if (window) {
    frmQuorvel& w = *window;
    QMenu* connection = bar_.addMenu("C&onnection");
    Add(*connection, &w.menus.mnuConnect, {}, [&w] { w.mnuConnect_Click(); });
    Add(*connection, nullptr, "Connect &All", [&w] { w.mnuConnectAll_Click(); });
    Add(*connection, nullptr, "&Disconnect All", [&w] { w.mnuDisconnectAll_Click(); });
    // The line above the port list shows only while some port is listed.
    shown_.push_back({connection->addSeparator(), &w.menus.mnuConnection1});
    connection->setToolTipsVisible(true);
    for (int com = 1; com <= 16; ++com) {
      QAction* port = Add(*connection, &w.menus.mnuCOM[com], {}, [&w, com] { w.mnuCOM_Click(com); });
      tipped_.push_back({port, &w.menus.mnuCOMToolTip[static_cast<std::size_t>(com)]});
    }
    connection->addSeparator();
    Add(*connection, nullptr, "&Find COM", [&w] { w.mnuFindCOM_Click(); });
    Add(*connection, nullptr, "COM &Parameters...", [&w] { w.mnuCOMParameters_Click(); });
    Add(*connection, nullptr, "&Traffic...", [this, &w] { main_.OpenTraffic(w.COM()); });
    Add(*connection, nullptr, "Find D&evices...", [this, &w] { FindDevicesCommand(main_, w.COM()); });

    QMenu* mode = bar_.addMenu("&Mode");
    // One mode at a time: drawn as radio items. The check itself stays the
    // core's, so the group does not switch them.
    auto* modes = new QActionGroup(mode);
    modes->setExclusionPolicy(QActionGroup::ExclusionPolicy::None);
    for (int m = 1; m <= 3; ++m) modes->addAction(Add(*mode, &w.menus.mnuMode[m], {}, [&w, m] { w.mnuMode_Click(m); }));
    mode->addSeparator();
    QAction* settings = Add(*mode, &w.menus.mnuSettings, {}, [&w] { w.mnuSettings_Click(); });
    settings->setCheckable(false);
    Add(*mode, &w.menus.mnuAutoEnable, {}, [&w] { w.mnuAutoEnable_Click(); });
    Add(*mode, &w.menus.mnuGreyStale, {}, [&w] { w.mnuGreyStale_Click(); });
    Add(*mode, nullptr, "C&lear Counters", [&w] { w.mnuClearCounters_Click(); });
    Add(*mode, nullptr, "Copy All &Values", [&w] { w.mnuCopyAllValues_Click(); });
    Add(*mode, &w.menus.mnuLogValues, {}, [&w] { w.mnuLogValues_Click(); });
    Add(*mode, &w.menus.mnuTrend, {}, [&w] { w.mnuTrend_Click(); })->setCheckable(false);

    for (int menu = 1; menu <= 2; ++menu) {
      QMenu* user = bar_.addMenu(QString::fromStdString(w.UserMenuCaption[menu]));
      shown_.push_back({user->menuAction(), &w.menus.mnuUserMain[menu]});
      const auto& items = menu == 1 ? w.menus.mnuUser1 : w.menus.mnuUser2;
      for (std::size_t i = 1; i < items.size(); ++i) {
        const int index = static_cast<int>(i);
        QAction* action = Add(*user, &items[i], {}, [&w, menu, index] {
          if (menu == 1)
            w.mnuUser1_Click(index);
          else
            w.mnuUser2_Click(index);
        });
        action->setCheckable(false);
      }
    }
    QMenu* arrange = bar_.addMenu("&Window");
    Add(*arrange, nullptr, "&Cascade", [&w] { w.mnuCascade_Click(); });
    Add(*arrange, nullptr, "Tile &Horizontally", [&w] { w.mnuTileHorizontally_Click(); });
    Add(*arrange, nullptr, "Tile &Vertically", [&w] { w.mnuTileVertically_Click(); });
    Add(*arrange, nullptr, "Tile to &Fit", [&w] { w.mnuTileToFit_Click(); });
    AddWindowList(*arrange);
  }
  AddFileMenu(window);
  AddHelpMenu(window);
  Refresh();
}

void MenuBar::AddFileMenu(frmQuorvel* window) {
  QMenu* file = bar_.addMenu("&File");
  // A device window's file commands go through it, so that opening a project
  // marks the session as changed; the frame's own run directly.
  Add(*file, nullptr, "&Open...", [this, window] {
    if (window)
      window->mnuOpen_Click();
    else
      main_.RunFrameCommand(FrameCommand::Open, 0);
  })->setShortcut(QKeySequence::Open);
  PublicVeriables& globals = main_.Globals();
  const std::vector<std::string> files = ShowRecentFiles(globals);
  const std::vector<std::string> sessions = ShowRecentSessions(globals);
  if (!files.empty()) file->addSeparator();
  for (std::size_t i = 0; i < files.size(); ++i) {
    const int index = static_cast<int>(i + 1);
    Add(*file, nullptr, QString("&%1 %2").arg(index).arg(QString::fromStdString(files[i])), [this, window, index] {
      if (window)
        window->mnuRecentFile_Click(index);
      else
        main_.RunFrameCommand(FrameCommand::RecentFile, index);
    });
  }
  if (!sessions.empty()) file->addSeparator();
  for (std::size_t i = 0; i < sessions.size(); ++i) {
    const int index = static_cast<int>(i + 1);
    Add(*file, nullptr, QString("Session &%1 %2").arg(index).arg(QString::fromStdString(sessions[i])),
        [this, index] { main_.RunFrameCommand(FrameCommand::RecentSession, index); });
  }
  file->addSeparator();
  Add(*file, nullptr, "&New Poll...", [this] { NewPollCommand(main_); });
  if (!window) Add(*file, nullptr, "Find D&evices...", [this] { FindDevicesCommand(main_, 1); });
  if (window) {
    Add(*file, nullptr, "&Save Session...", [window] {
      window->mnuSaveSession_Click();
    })->setShortcut(QKeySequence::Save);
    Add(*file, nullptr, "Save &Project As...", [this, window] { SaveProjectAsCommand(main_, *window); });
  }
  file->addSeparator();
  // Projects opened from now on read their texts in the chosen code page.
  QMenu* pages = file->addMenu("&Code page");
  for (const int number : CodePage::Supported()) {
    QAction* page = Add(*pages, nullptr, QString::number(number), [this, number] { main_.ChooseCodePage(number); });
    page->setCheckable(true);
    page->setChecked(number == main_.ProjectCodePage().Number());
  }
  Add(*file, nullptr, "E&xit", [this] { main_.close(); })->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
}

void MenuBar::AddWindowList(QMenu& menu) {
  // The open windows, as desktop programs list them; the active one checked.
  const std::vector<DeviceWindow*> views = main_.Views();
  if (!views.empty()) menu.addSeparator();
  for (std::size_t i = 0; i < views.size(); ++i) {
    frmQuorvel* core = &views[i]->Core();
    QAction* item = menu.addAction(QString());
    item->setCheckable(true);
    item->setChecked(core == window_);
    QObject::connect(item, &QAction::triggered, &main_, [this, core] { main_.Activate(*core); });
    listed_.push_back({item, core, static_cast<int>(i + 1)});
  }
}

void MenuBar::AddHelpMenu(frmQuorvel* /*window*/) {
  QMenu* help = bar_.addMenu("&Help");
  Add(*help, nullptr, "&Quick Start", [this] { main_.RunFrameCommand(FrameCommand::QuickStart, 0); });
  Add(*help, nullptr, "On the &Web", [this] { main_.RunFrameCommand(FrameCommand::OnTheWeb, 0); });
  help->addSeparator();
  Add(*help, nullptr, "&About Quorvel...", [this] { main_.RunFrameCommand(FrameCommand::About, 0); });
}

void MenuBar::Refresh() {
  for (const Bound& bound : bound_) {
    const MenuItem& item = *bound.item;
    const QString caption = QString::fromStdString(item.Caption);
    if (bound.action->text() != caption) bound.action->setText(caption);
    if (bound.action->isCheckable() && bound.action->isChecked() != item.Checked)
      bound.action->setChecked(item.Checked);
    if (bound.action->isEnabled() != item.Enabled) bound.action->setEnabled(item.Enabled);
    if (bound.action->isVisible() != item.Visible) bound.action->setVisible(item.Visible);
  }
  for (const Bound& bound : shown_)
    if (bound.action->isVisible() != bound.item->Visible) bound.action->setVisible(bound.item->Visible);
  // Captions change as windows connect and change port.
  for (const Listed& listed : listed_) {
    QString caption = QString::fromStdString(listed.window->Caption());
    if (listed.number <= 9) caption = QString("&%1 %2").arg(listed.number).arg(caption);
    if (listed.action->text() != caption) listed.action->setText(caption);
  }
  for (const auto& [action, tip] : tipped_) {
    const QString text = QString::fromStdString(*tip);
    if (action->toolTip() != text) action->setToolTip(text);
  }
}

}  // namespace quorvel
