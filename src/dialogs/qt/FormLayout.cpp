#include "dialogs/qt/FormLayout.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace quorvel {

void AddCaptionedRow(QGridLayout& grid, int row, const QString& caption, QWidget* field) {
  auto* label = new QLabel(caption, field->parentWidget());
  label->setBuddy(field);
  grid.addWidget(label, row, 0);
  grid.addWidget(field, row, 1);
}

QHBoxLayout* OkCancelRow(QWidget& form, QPushButton*& ok, QPushButton*& cancel) {
  ok = new QPushButton(QStringLiteral("OK"), &form);
  cancel = new QPushButton(QStringLiteral("Cancel"), &form);
  ok->setAutoDefault(false);
  cancel->setAutoDefault(false);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  return buttons;
}

}  // namespace quorvel
