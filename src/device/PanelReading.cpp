#include "device/PanelReading.h"

#include <algorithm>

namespace quorvel {
namespace {

std::int32_t Right(const PanelControl& c) { return c.Left() + c.Width(); }
std::int32_t Bottom(const PanelControl& c) { return c.Top() + c.Height(); }

// "&&" stands for "&"; any other "&" only marks the access key.
std::string WithoutMnemonics(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '&' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

}  // namespace

std::string ShownValue(const PanelControl& value) {
  // Formats pad values with blanks to line them up on the panel.
  const std::string& text = value.Caption();
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<const PanelControl*> ValuesInReadingOrder(const Panel& panel) {
  std::vector<const PanelControl*> values;
  for (const auto& control : panel.Controls())
    if (control->Name() == "Tbd") values.push_back(control.get());
  std::stable_sort(values.begin(), values.end(), [](const PanelControl* a, const PanelControl* b) {
    return a->Left() != b->Left() ? a->Left() < b->Left() : a->Top() < b->Top();
  });
  // A column goes on while the next label starts left of the right edge of
  // the column's first one.
  std::vector<const PanelControl*> ordered;
  for (std::size_t first = 0; first < values.size();) {
    std::size_t end = first + 1;
    while (end < values.size() && values[end]->Left() < Right(*values[first])) ++end;
    std::stable_sort(values.begin() + static_cast<std::ptrdiff_t>(first), values.begin() + static_cast<std::ptrdiff_t>(end),
                     [](const PanelControl* a, const PanelControl* b) { return a->Top() < b->Top(); });
    ordered.insert(ordered.end(), values.begin() + static_cast<std::ptrdiff_t>(first),
                   values.begin() + static_cast<std::ptrdiff_t>(end));
    first = end;
  }
  return ordered;
}

std::string LabelBeside(const Panel& panel, const PanelControl& value) {
  const PanelControl* nearest = nullptr;
  for (const auto& control : panel.Controls()) {
    const PanelControl& c = *control;
    if (c.Name() != "Lbl" && c.Name() != "Tbl") continue;
    // On the same line: the label's middle lies within the value's height.
    const std::int32_t middle = c.Top() + c.Height() / 2;
    if (middle < value.Top() || middle > Bottom(value) || c.Left() >= value.Left()) continue;
    if (!nearest || c.Left() > nearest->Left()) nearest = &c;
  }
  return nearest ? WithoutMnemonics(nearest->Caption()) : std::string();
}

std::string ValuesAsRows(const Panel& panel) {
  std::string rows;
  for (const PanelControl* value : ValuesInReadingOrder(panel))
    rows += LabelBeside(panel, *value) + "\t" + ShownValue(*value) + "\n";
  return rows;
}

}  // namespace quorvel
