#include "app/qt/QuickPollCommands.h"

#include <QFileDialog>
#include <QFileInfo>

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

void FindDevicesCommand(MainWindow& main, int com) {
  FindDevicesDialog dialog(main, com, &main);
  if (dialog.exec() != QDialog::Accepted || dialog.ChosenId() == 0) return;
  QuickPollTarget preset;
  preset.slaveId = dialog.ChosenId();
  preset.com = dialog.Com();
  NewPollCommand(main, preset);
}

}  // namespace quorvel
