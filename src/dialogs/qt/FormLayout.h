#pragma once

// The pieces every settings dialog is built of: captioned fields in a grid
// and an OK/Cancel row that leaves Enter to the form.

#include <QString>

class QGridLayout;
class QHBoxLayout;
class QPushButton;
class QWidget;

namespace quorvel {

// Puts `caption` (its "&" letter focusing `field`) and `field` in row `row`.
void AddCaptionedRow(QGridLayout& grid, int row, const QString& caption, QWidget* field);

// OK and Cancel, right-aligned. Neither is a default button: Enter is the
// form's to handle, whichever control has the focus.
QHBoxLayout* OkCancelRow(QWidget& form, QPushButton*& ok, QPushButton*& cancel);

}  // namespace quorvel
