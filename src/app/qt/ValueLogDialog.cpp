#include "app/qt/ValueLogDialog.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace quorvel {

ValueLogDialog::ValueLogDialog(const QString& suggested, QWidget* parent)
    : QDialog(parent),
      file_(new QLineEdit(suggested)),
      changes_(new QRadioButton("A row when a value &changes")),
      every_(new QRadioButton("A row for &every answer")) {
  setWindowTitle("Log values");
  file_->setMinimumWidth(file_->fontMetrics().horizontalAdvance(QString(48, 'x')));
  auto* browse = new QPushButton("&Browse...");
  connect(browse, &QPushButton::clicked, this, [this] { Browse(); });
  auto* fileRow = new QHBoxLayout;
  fileRow->addWidget(file_, 1);
  fileRow->addWidget(browse);
  changes_->setChecked(true);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setText("&Start");
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  const auto enable = [this, buttons] {
    buttons->button(QDialogButtonBox::Ok)->setEnabled(!file_->text().trimmed().isEmpty());
  };
  connect(file_, &QLineEdit::textChanged, this, enable);
  enable();

  auto* form = new QFormLayout;
  form->addRow("CSV &file:", fileRow);
  form->addRow("Rows:", changes_);
  form->addRow("", every_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(buttons);
}

void ValueLogDialog::Browse() {
  QFileDialog dialog(this, "Log values", file_->text(), "CSV file (*.csv)");
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDefaultSuffix("csv");
  if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
    file_->setText(dialog.selectedFiles().front());
}

QString ValueLogDialog::File() const { return file_->text().trimmed(); }

bool ValueLogDialog::EveryAnswer() const { return every_->isChecked(); }

}  // namespace quorvel
