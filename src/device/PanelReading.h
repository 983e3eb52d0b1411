#pragma once

// A panel read as a person reads it: the value labels column by column, top
// to bottom, each with the label written beside it. The keyboard walks the
// values in this order, and copying them gives these rows.

#include <string>
#include <vector>

#include "project/Panel.h"

namespace quorvel {

// The value labels ("Tbd") of `panel`: columns of labels that overlap
// sideways, left to right, each from top to bottom.
std::vector<const PanelControl*> ValuesInReadingOrder(const Panel& panel);

// The text of the label ("Lbl" or "Tbl") on the same line left of `value`
// and nearest to it, without its mnemonic marks; "" when there is none.
std::string LabelBeside(const Panel& panel, const PanelControl& value);

// The text of value label `value` without the blanks that line it up.
std::string ShownValue(const PanelControl& value);

// "label<TAB>value" lines, one per value label in reading order.
std::string ValuesAsRows(const Panel& panel);

}  // namespace quorvel
