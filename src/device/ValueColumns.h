#pragma once

// The values of a device window as columns of a record: one per value label
// of the panel, in reading order, named as a person reading the panel would
// name it, with the number it shows now or none. A log or a chart keeps one
// and tells it of each answer the window takes; it then says whether any
// value changed.

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "project/CtrlProp.h"

namespace quorvel {

class frmQuorvel;

struct ValueColumn {
  // The caption written beside the value, else its address ("HR0040");
  // made unique within the window by the address.
  std::string name;
  // What the caption gives in square brackets at its end ("kg/h"); "" for none.
  std::string unit;
  const CtrlProp* element = nullptr;
};

// The columns of `window`'s panel.
std::vector<ValueColumn> ColumnsOf(const frmQuorvel& window);

// "kg/h" of "Mass flow [kg/h]"; "" when the name ends otherwise.
std::string UnitOf(const std::string& name);

// The number `element`'s value label shows, in displayed units (k and x0
// applied, a picture's unit and percent taken off); a hex, binary or bit
// value as the integer it shows. A text that reads as no number (an
// overflow) gives the element's value through k and x0.
double ShownNumber(const CtrlProp& element);

class ValueColumns {
 public:
  explicit ValueColumns(std::vector<ValueColumn> columns);

  const std::vector<ValueColumn>& Columns() const { return columns_; }
  // Per column: the number shown, or none while its last request failed or
  // before any answer brought it.
  const std::vector<std::optional<double>>& Cells() const { return cells_; }

  // An answer has been taken: `read` are the elements its request reads, and
  // `ok` whether their values came. True when any cell changed.
  bool Take(std::span<CtrlProp* const> read, bool ok);

 private:
  std::vector<ValueColumn> columns_;
  std::vector<std::optional<double>> cells_;
};

}  // namespace quorvel
