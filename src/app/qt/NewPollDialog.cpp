#include "app/qt/NewPollDialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

#include "dialogs/qt/FormLayout.h"

namespace quorvel {
namespace {

const char* const kRegisterTypes[] = {"int16", "uint16", "int32",  "uint32", "float32", "float64",
                                      "hex16", "hex32",  "bin16", "bin8",   "hi8",     "lo8"};
// The most one request reads, as the protocol allows.
constexpr int kMostRegisters = 125;
constexpr int kMostBits = 2000;

bool ReadsBits(int function) { return function == 1 || function == 2; }

}  // namespace

NewPollDialog::NewPollDialog(const QuickPollTarget& preset, QWidget* parent)
    : QDialog(parent),
      id_(new QSpinBox(this)),
      function_(new QComboBox(this)),
      start_(new QSpinBox(this)),
      quantity_(new QSpinBox(this)),
      type_(new QComboBox(this)),
      period_(new QSpinBox(this)),
      port_(new QComboBox(this)) {
  setWindowTitle("New Poll");
  id_->setRange(1, 247);
  function_->addItem("1  Read Coils", 1);
  function_->addItem("2  Read Discrete Inputs", 2);
  function_->addItem("3  Read Holding Registers", 3);
  function_->addItem("4  Read Input Registers", 4);
  start_->setRange(0, 65535);
  quantity_->setRange(1, kMostRegisters);
  period_->setRange(10, 3'600'000);
  period_->setSuffix(" ms");
  period_->setSingleStep(100);
  for (int com = 1; com <= 16; ++com) port_->addItem(QString("COM%1").arg(com), com);

  auto* grid = new QGridLayout;
  AddCaptionedRow(*grid, 0, "Slave &ID:", id_);
  AddCaptionedRow(*grid, 1, "&Function:", function_);
  AddCaptionedRow(*grid, 2, "&Start address:", start_);
  AddCaptionedRow(*grid, 3, "&Quantity:", quantity_);
  AddCaptionedRow(*grid, 4, "&Display as:", type_);
  AddCaptionedRow(*grid, 5, "Poll &period:", period_);
  AddCaptionedRow(*grid, 6, "P&ort:", port_);
  grid->setColumnStretch(1, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(grid);
  layout->addStretch();
  layout->addLayout(OkCancelRow(*this, ok_, cancel_));
  // Enter anywhere is OK: the form has nothing else for it to do.
  ok_->setDefault(true);
  connect(ok_, &QPushButton::clicked, this, &QDialog::accept);
  connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
  connect(function_, &QComboBox::currentIndexChanged, this, [this] { FunctionChanged(); });

  const QuickPoll& poll = preset.poll;
  id_->setValue(preset.slaveId);
  function_->setCurrentIndex(std::clamp(poll.function, 1, 4) - 1);
  FunctionChanged();
  start_->setValue(poll.start);
  quantity_->setValue(poll.quantity);
  if (const int typeIndex = type_->findText(QString::fromStdString(poll.type)); typeIndex >= 0)
    type_->setCurrentIndex(typeIndex);
  period_->setValue(poll.periodMs);
  port_->setCurrentIndex(std::clamp(preset.com, 1, 16) - 1);
}

void NewPollDialog::FunctionChanged() {
  const bool bits = ReadsBits(function_->currentData().toInt());
  const bool wasBits = type_->count() > 0 && type_->itemText(0).startsWith("bits");
  if (type_->count() > 0 && bits == wasBits) return;
  type_->clear();
  if (bits) {
    for (int n = 1; n <= 16; ++n) type_->addItem(QString("bits:%1").arg(n));
  } else {
    for (const char* type : kRegisterTypes) type_->addItem(type);
  }
  quantity_->setMaximum(bits ? kMostBits : kMostRegisters);
}

QuickPollTarget NewPollDialog::Target() const {
  QuickPollTarget target;
  target.slaveId = id_->value();
  target.com = port_->currentData().toInt();
  target.poll.function = function_->currentData().toInt();
  target.poll.start = start_->value();
  target.poll.quantity = quantity_->value();
  target.poll.type = type_->currentText().toStdString();
  target.poll.periodMs = period_->value();
  return target;
}

}  // namespace quorvel
