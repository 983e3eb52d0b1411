#include "app/QuickPollWindow.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

#include "convert/AddressCode.h"
#include "platform/AtomicFile.h"
#include "platform/BoundedRead.h"
#include "project/ListProject.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

// A name that says what is polled, as the window's caption shows it; the
// folder is this run's own, so two programs never write the same file.
std::string PollFileName(const QuickPollTarget& target, std::string& error) {
  static const char* const kTables[] = {"C", "DI", "HR", "IR"};
  std::error_code ec;
  const fs::path dir = fs::temp_directory_path(ec) / ("quorvel-polls-" + std::to_string(::getpid()));
  if (!ec) fs::create_directories(dir, ec);
  if (ec) {
    error = "No folder for the poll's project: " + ec.message();
    return {};
  }
  const QuickPoll& poll = target.poll;
  const std::string stem = "Poll ID" + std::to_string(target.slaveId) + " " + kTables[poll.function - 1] +
                           std::to_string(poll.start) + "-" + std::to_string(poll.start + poll.quantity - 1);
  fs::path file = dir / (stem + ".qvc");
  for (int n = 2; fs::exists(file, ec); ++n) file = dir / (stem + " (" + std::to_string(n) + ").qvc");
  return file.string();
}

// The element value box `box` shows, or nullptr.
const CtrlProp* ElementOfBox(const frmQuorvel& window, int box) {
  for (Table table : {Table::Holding, Table::InputReg, Table::Coil, Table::Discrete}) {
    for (const auto& filed : window.ElementsOf(table)) {
      const PanelControl* label = filed.element->rCtrl();
      if (label && label->Index() == box) return filed.element.get();
    }
  }
  return nullptr;
}

// Applies `change` to a copy of the window's list, makes the project again
// and loads it; the list is kept only once the window shows it.
template <typename Change>
bool ChangeQuickPoll(frmQuorvelMain& frame, frmQuorvel& window, int box, Change change, std::string& error) {
  QuickPollSource* source = frame.QuickPollOf(window);
  const CtrlProp* element = ElementOfBox(window, box);
  if (!source || !element) {
    error = "Only the values of a quick poll can be changed this way.";
    return false;
  }
  std::vector<RegisterRow> rows = source->list.rows;
  if (!change(rows, element->Address())) return false;
  std::vector<std::uint8_t> bytes;
  try {
    bytes = WriteProject(BuildListProject(rows, source->list.options, frame.ProjectCodePage()));
  } catch (const std::exception& failure) {
    error = failure.what();
    return false;
  }
  if (!SaveProjectBytes(source->file, bytes, error)) return false;
  if (!window.ReloadProject(source->file)) {
    error = "The poll's changed project did not load: " + source->file;
    return false;
  }
  source->list.rows = std::move(rows);
  frame.MarkSessionChanged();
  return true;
}

}  // namespace

frmQuorvel* OpenQuickPoll(frmQuorvelMain& frame, const QuickPollTarget& target, std::string& error) {
  if (target.slaveId < 1 || target.slaveId > 247) {
    error = "The slave id is 1 to 247.";
    return nullptr;
  }
  if (target.com < 1 || target.com > 16) {
    error = "The port is COM1 to COM16.";
    return nullptr;
  }
  const PortEntry& entry = frame.Port(target.com);
  if (entry.Mode != 0 && entry.Mode != kMaster) {
    error = "COM" + std::to_string(target.com) + " is used by " + ModeName(entry.Mode) +
            " windows: a poll needs it as a Master.";
    return nullptr;
  }
  QuickPollList list;
  std::vector<std::uint8_t> bytes;
  try {
    list = QuickPollRows(target.poll);
    bytes = WriteProject(BuildListProject(list.rows, list.options, frame.ProjectCodePage()));
  } catch (const std::exception& failure) {
    error = failure.what();
    return nullptr;
  }
  const std::string file = PollFileName(target, error);
  if (file.empty() || !SaveProjectBytes(file, bytes, error)) return nullptr;
  frmQuorvel* window = frame.OpenProject(file);
  if (!window) {
    error = "The poll's project did not open: " + file;
    return nullptr;
  }
  frame.KeepQuickPoll(*window, {std::move(list), file});
  window->SetMode(kMaster);
  window->SetID(static_cast<std::uint8_t>(target.slaveId));
  window->SetCOM(static_cast<std::int16_t>(target.com));
  frame.MarkSessionChanged();
  window->mnuConnect_Click();
  return window;
}

std::optional<QuickPollValue> QuickPollValueOf(frmQuorvelMain& frame, const frmQuorvel& window, int box) {
  const QuickPollSource* source = frame.QuickPollOf(window);
  const CtrlProp* element = ElementOfBox(window, box);
  if (!source || !element) return std::nullopt;
  const std::uint32_t code = element->Address();
  QuickPollValue value;
  value.type = TypeNameOf(code);
  value.swapped = AddressCode(code).swapped();
  value.format = DefaultFormat(code);
  for (const RegisterRow& row : source->list.rows)
    if (row.code == code && !row.format.empty()) value.format = row.format;
  value.types = TypesFor(code);
  return value;
}

bool RetypeQuickPollValue(frmQuorvelMain& frame, frmQuorvel& window, int box, std::string_view type, bool swapped,
                          std::string& error) {
  return ChangeQuickPoll(
      frame, window, box,
      [&](std::vector<RegisterRow>& rows, std::uint32_t code) { return RetypeRow(rows, code, type, swapped, error); },
      error);
}

bool ReformatQuickPollValue(frmQuorvelMain& frame, frmQuorvel& window, int box, const std::string& format,
                            std::string& error) {
  return ChangeQuickPoll(
      frame, window, box,
      [&](std::vector<RegisterRow>& rows, std::uint32_t code) {
        return ReformatRow(rows, code, format, frame.ProjectCodePage(), error);
      },
      error);
}

bool SaveProjectAs(frmQuorvel& window, const std::string& path, std::string& error) {
  std::string bytes;
  if (!platform::ReadWholeFile(window.ProjectFile(), platform::kProjectFileLimit, bytes, error)) return false;
  if (!platform::WriteFileAtomically(path, bytes, error)) return false;
  window.MoveProjectFile(path);
  window.host().MarkSessionChanged();
  return true;
}

}  // namespace quorvel
