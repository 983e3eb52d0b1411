#include "device/ValueColumns.h"

#include <algorithm>
#include <map>

#include "convert/AddressCode.h"
#include "convert/DisplayText.h"
#include "convert/EntryForms.h"
#include "device/PanelReading.h"
#include "device/frmQuorvel.h"
#include "project/CodePage.h"

namespace quorvel {

std::string UnitOf(const std::string& name) {
  if (name.empty() || name.back() != ']') return {};
  const std::size_t open = name.rfind('[');
  if (open == std::string::npos) return {};
  return name.substr(open + 1, name.size() - open - 2);
}

std::vector<ValueColumn> ColumnsOf(const frmQuorvel& window) {
  // The element behind each value label.
  std::map<const PanelControl*, const CtrlProp*> shownBy;
  for (Table table : {Table::Holding, Table::InputReg, Table::Coil, Table::Discrete})
    for (const auto& filed : window.ElementsOf(table))
      if (filed.element->rCtrl()) shownBy.emplace(filed.element->rCtrl(), filed.element.get());

  std::vector<ValueColumn> columns;
  std::map<std::string, int> uses;
  for (const PanelControl* label : ValuesInReadingOrder(window.panel())) {
    const auto found = shownBy.find(label);
    if (found == shownBy.end()) continue;
    const CtrlProp& element = *found->second;
    std::string name = LabelBeside(window.panel(), *label);
    if (name.empty()) name = element.AddressCaption();
    ++uses[name];
    columns.push_back({name, UnitOf(name), &element});
  }
  // Two values under one caption (a "Setpoint" in two frames) are told apart
  // by their addresses, so that every column can be found by its name.
  for (ValueColumn& column : columns)
    if (uses[column.name] > 1 && column.name != column.element->AddressCaption())
      column.name += " " + column.element->AddressCaption();
  return columns;
}

double ShownNumber(const CtrlProp& element) {
  const std::uint32_t code = element.Address();
  if (const PanelControl* label = element.rCtrl()) {
    const std::string format = element.GetCodePage().ToUtf8(element.FormatString());
    const EntryReading reading = ReadEntryText(ShownValue(*label), AddressCode(code), format);
    if (reading.ok) return reading.number;
  }
  const AddressCode address(code);
  if (address.isBit() || address.hex() || address.binary()) return element.Data();
  return element.Data() * element.k() + element.x0();
}

ValueColumns::ValueColumns(std::vector<ValueColumn> columns) : columns_(std::move(columns)), cells_(columns_.size()) {}

bool ValueColumns::Take(std::span<CtrlProp* const> read, bool ok) {
  bool changed = false;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (std::find(read.begin(), read.end(), columns_[i].element) == read.end()) continue;
    std::optional<double> cell;
    if (ok) cell = ShownNumber(*columns_[i].element);
    if (cell != cells_[i]) {
      cells_[i] = cell;
      changed = true;
    }
  }
  return changed;
}

}  // namespace quorvel
