#include "app/qt/QuickPollCommands.h"

#include <algorithm>

#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QTimer>

#include "app/SessionPaths.h"
#include "app/qt/FindDevicesDialog.h"
#include "app/qt/MainWindow.h"
#include "app/qt/NewPollDialog.h"

namespace quorvel {

void NewPollCommand(MainWindow& main, const QuickPollTarget& preset) {
  NewPollDialog dialog(preset, &main);
  if (dialog.exec() != QDialog::Accepted) return;
  std::string error;
  frmQuorvel* window = OpenQuickPoll(main, dialog.Target(), error);
  if (!window) {
    main.MsgBox(error);
    return;
  }
  main.SyncView();
  main.Activate(*window);
}

void SaveProjectAsCommand(MainWindow& main, frmQuorvel& window, const std::function<QString()>& choose) {
  QString file;
  if (choose) {
    file = choose();
  } else {
    QFileDialog dialog(&main, "Save Project As", QString::fromStdString(main.Globals().LastPath), "Project (*.qvc)");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix("qvc");
    dialog.selectFile(QFileInfo(QString::fromStdString(window.ProjectFile())).fileName());
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) file = dialog.selectedFiles().front();
  }
  if (file.isEmpty()) return;
  std::string error;
  if (!SaveProjectAs(window, file.toStdString(), error)) {
    main.MsgBox(error);
    return;
  }
  main.Globals().LastPath = GetDir(file.toStdString());
}

std::unique_ptr<QMenu> ValueMenu(MainWindow& main, frmQuorvel& window, int box,
                                 const std::function<std::optional<QString>(const QString&)>& ask) {
  const std::optional<QuickPollValue> value = QuickPollValueOf(main, window, box);
  if (!value) return nullptr;
  auto menu = std::make_unique<QMenu>(&main);
  // Each change reloads the window, and the menu's box with it: the change
  // runs once the menu has closed.
  const auto change = [&main, &window](std::function<bool(std::string&)> apply) {
    QTimer::singleShot(0, &main, [&main, &window, apply] {
      // The window may have been closed in the meantime.
      const auto& open = main.Devices();
      if (std::none_of(open.begin(), open.end(), [&](const auto& w) { return w.get() == &window; })) return;
      std::string error;
      if (!apply(error)) main.MsgBox(error);
      main.SyncView();
    });
  };
  for (const std::string& type : value->types) {
    QAction* item = menu->addAction(QString::fromStdString(type));
    item->setCheckable(true);
    item->setChecked(type == value->type);
    const bool swapped = value->swapped && TakesWordOrder(type);
    QObject::connect(item, &QAction::triggered, menu.get(), [&main, &window, box, type, swapped, change] {
      change([&main, &window, box, type, swapped](std::string& error) {
        return RetypeQuickPollValue(main, window, box, type, swapped, error);
      });
    });
  }
  menu->addSeparator();
  QAction* swap = menu->addAction("Swapped");
  swap->setCheckable(true);
  swap->setChecked(value->swapped);
  swap->setEnabled(TakesWordOrder(value->type));
  QObject::connect(swap, &QAction::triggered, menu.get(),
                   [&main, &window, box, type = value->type, swapped = value->swapped, change] {
                     change([&main, &window, box, type, swapped](std::string& error) {
                       return RetypeQuickPollValue(main, window, box, type, !swapped, error);
                     });
                   });
  QAction* format = menu->addAction("Format...");
  QObject::connect(format, &QAction::triggered, menu.get(),
                   [&main, &window, box, current = value->format, ask, change] {
                     const QString shown = QString::fromStdString(current);
                     std::optional<QString> picture;
                     if (ask) {
                       picture = ask(shown);
                     } else {
                       bool ok = false;
                       const QString text =
                           QInputDialog::getText(&main, "Format", "Display picture:", QLineEdit::Normal, shown, &ok);
                       if (ok) picture = text;
                     }
                     if (!picture || *picture == shown) return;
                     change([&main, &window, box, text = picture->toStdString()](std::string& error) {
                       return ReformatQuickPollValue(main, window, box, text, error);
                     });
                   });
  return menu;
}

void FindDevicesCommand(MainWindow& main, int com) {
  FindDevicesDialog dialog(main, com, &main);
  if (dialog.exec() != QDialog::Accepted || dialog.ChosenId() == 0) return;
  QuickPollTarget preset;
  preset.slaveId = dialog.ChosenId();
  preset.com = dialog.Com();
  NewPollCommand(main, preset);
}

}  // namespace quorvel
