#include "project/Panel.h"

#include <array>
#include <stdexcept>

namespace quorvel {
namespace {

constexpr std::array<std::string_view, 5> kKinds = {"TBox", "Lbl", "Fr", "Tbl", "Img"};

}  // namespace

PanelControl& Panel::Add(std::string name, int index) {
  controls_.push_back(std::make_unique<PanelControl>(*this, name, index));
  PanelControl& control = *controls_.back();
  byName_[{std::move(name), index}] = &control;
  if (observer_) observer_->ControlAdded(control);
  return control;
}

PanelControl* Panel::CreateControl(std::string_view kind) {
  bool known = false;
  for (std::string_view k : kKinds) known = known || k == kind;
  if (!known) return nullptr;
  // Member 0 of each array is the form's hidden template, so loaded members
  // start at 1.
  const int index = ++counts_[std::string(kind)];
  PanelControl& control = Add(std::string(kind), index);
  if (kind == "TBox") {
    Add("Tbd", index);
    counts_["Tbd"] = index;
  }
  return &control;
}

PanelControl* Panel::FindControl(std::string_view name, int index) {
  const auto found = byName_.find({std::string(name), index});
  return found == byName_.end() ? nullptr : found->second;
}

PanelControl& Panel::Tbd(int index) {
  PanelControl* label = FindControl("Tbd", index);
  if (!label) throw std::out_of_range("Control array element '" + std::to_string(index) + "' doesn't exist");
  return *label;
}

int Panel::Count(std::string_view name) const {
  const auto found = counts_.find(std::string(name));
  return found == counts_.end() ? 0 : found->second;
}

void Panel::Clear() {
  // Destroyed only once the observer has let go of its views of them.
  const auto gone = std::move(controls_);
  controls_.clear();
  byName_.clear();
  counts_.clear();
  if (observer_) observer_->PanelCleared();
}

void Panel::NotifyChanged(const PanelControl& control, ControlProperty what) {
  if (observer_) observer_->ControlChanged(control, what);
}

}  // namespace quorvel
