#pragma once

// Finding the frame's menus and items by the texts a user reads.

#include <QMenu>
#include <QMenuBar>
#include <QStringList>
#include <string>

namespace quorvel {

// The visible menus of the bar, "|"-separated.
inline std::string MenuTitles(const QMenuBar& bar) {
  QStringList list;
  for (QAction* action : bar.actions())
    if (action->isVisible()) list << action->text();
  return list.join("|").toStdString();
}

inline QMenu* FindMenu(const QMenuBar& bar, const QString& title) {
  for (QAction* action : bar.actions())
    if (action->text() == title) return action->menu();
  return nullptr;
}

// Item `text` of menu `title`; nullptr when there is none.
inline QAction* FindMenuItem(const QMenuBar& bar, const QString& title, const QString& text) {
  if (QMenu* menu = FindMenu(bar, title))
    for (QAction* item : menu->actions())
      if (item->text() == text) return item;
  return nullptr;
}

}  // namespace quorvel
