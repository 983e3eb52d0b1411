// A window's values followed answer by answer: the value log and the
// watchers (trend charts).

#include "device/ValueColumns.h"
#include "device/frmQuorvel.h"

namespace quorvel {

void frmQuorvel::mnuLogValues_Click() {
  if (valueLog_) {
    StopValueLog();
  } else {
    host_.ChooseValueLog(*this);
  }
}

bool frmQuorvel::StartValueLog(const std::string& path, bool everyAnswer, const platform::Clock& clock) {
  StopValueLog();
  auto log = std::make_unique<ValueLog>(path, everyAnswer, ColumnsOf(*this), clock);
  if (!log->Ok()) {
    host_.MsgBox("Can not log the values to " + path + ": " + log->Problem());
    return false;
  }
  valueLog_ = std::move(log);
  menus.mnuLogValues.Checked = true;
  return true;
}

void frmQuorvel::StopValueLog() {
  valueLog_.reset();
  menus.mnuLogValues.Checked = false;
}

void frmQuorvel::ValueLogTick() {
  if (!valueLog_) return;
  valueLog_->Tick();
  if (valueLog_->Ok()) return;
  host_.ShowMsg("Logging the values to " + valueLog_->Path() + " stopped: " + valueLog_->Problem());
  StopValueLog();
}

void frmQuorvel::TellWatchers(const ReqProp& request, bool ok) {
  if (!valueLog_ && watchers_.empty()) return;
  const std::vector<CtrlProp*> read = ReadBy(request);
  if (valueLog_) valueLog_->AnswerTaken(read, ok);
  // A watcher may go while told (a chart closed from its own update).
  for (AnswerWatcher* watcher : std::vector<AnswerWatcher*>(watchers_)) watcher->AnswerTaken(read, ok);
}

}  // namespace quorvel
