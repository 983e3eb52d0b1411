#include "dialogs/qt/COMSettingsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStringList>
#include <QVBoxLayout>

#include "dialogs/qt/FormLayout.h"
#include "dialogs/qt/KeyPreview.h"

namespace quorvel {
namespace {

template <typename Texts>
QStringList ListOf(const Texts& texts) {
  QStringList list;
  for (const auto& text : texts) list << QString::fromStdString(text);
  return list;
}

QComboBox* List(const QStringList& items, QWidget* parent) {
  auto* box = new QComboBox(parent);
  box->addItems(items);
  return box;
}

// Replaces the items only when they differ: clearing a list resets its
// selection and the text typed into it.
void SetItems(QComboBox& box, const QStringList& items) {
  QStringList shown;
  for (int i = 0; i < box.count(); ++i) shown << box.itemText(i);
  if (shown == items) return;
  box.clear();
  box.addItems(items);
}

void Select(QComboBox& box, const std::string& text) {
  box.setCurrentIndex(box.findText(QString::fromStdString(text)));
}

}  // namespace

COMSettingsDialog::COMSettingsDialog(frmCOMSettings& model, QWidget* parent) : QDialog(parent), model_(model) {
  setWindowTitle(QStringLiteral("COM Settings"));
  BuildControls();
  Connect();
  new KeyPreview(*this, [this](int key) {
    model_.Form_KeyDown(key);
    Refresh();
    if (!model_.Visible) done(key == KeyPreview::kEnter ? Accepted : Rejected);
  });
  Refresh();
}

void COMSettingsDialog::BuildControls() {
  cmbCOM_ = new QComboBox(this);
  chkAvailable_ = new QCheckBox(QStringLiteral("Show a&vailable"), this);
  cmbPath_ = new QComboBox(this);
  cmbPath_->setEditable(true);
  cmbPath_->setInsertPolicy(QComboBox::NoInsert);
  // Room for a by-id name, which is long.
  cmbPath_->setMinimumContentsLength(44);
  cmbPath_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  cmbPath_->setToolTip(
      QStringLiteral("The device this port stands for, kept for the next time it opens. The names under "
                     "/dev/serial/by-id stay with an adapter when it is plugged in elsewhere."));
  cmbBaudRate_ = List(ListOf(frmCOMSettings::kBaudRates), this);
  cmbBaudRate_->setEditable(true);
  // A typed rate is the user's, not an item to add to the list.
  cmbBaudRate_->setInsertPolicy(QComboBox::NoInsert);
  cmbParity_ = List(ListOf(frmCOMSettings::kParities), this);
  cmbStopBits_ = List(ListOf(frmCOMSettings::kStopBits), this);
  QStringList timings;
  for (const LineTiming timing : {LineTiming::Classic, LineTiming::Standard, LineTiming::Fast}) {
    const std::string_view name = LineTimingName(timing);
    timings << QStringLiteral(" ") + QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size()));
  }
  cmbTiming_ = List(timings, this);
  cmbTiming_->setItemData(0, QStringLiteral("Frames end at a fixed gap; requests go out as soon as the port is free."),
                          Qt::ToolTipRole);
  cmbTiming_->setItemData(1,
                          QStringLiteral("Modbus serial line timing: frames end by their length or 3.5 characters of "
                                         "silence, which also goes before each request; late answers after a "
                                         "failure are discarded."),
                          Qt::ToolTipRole);
  cmbTiming_->setItemData(2, QStringLiteral("Standard, without the silence before each request."), Qt::ToolTipRole);
  cmbTiming_->setToolTip(QStringLiteral("Where frames end and when a request may go out"));

  auto* framing = new QGroupBox(QStringLiteral("Framing"), this);
  optRTU_ = new QRadioButton(QStringLiteral("R&TU"), framing);
  optASCII_ = new QRadioButton(QStringLiteral("&ASCII"), framing);
  chkASCII8bits_ = new QCheckBox(QStringLiteral("ASCII &8 bits"), framing);
  auto* framingRows = new QHBoxLayout(framing);
  framingRows->addWidget(optRTU_);
  framingRows->addWidget(optASCII_);
  framingRows->addWidget(chkASCII8bits_);
  framingRows->addStretch();

  chkDTR_ = new QCheckBox(QStringLiteral("&DTR On"), this);
  chkRTSToggle_ = new QCheckBox(QStringLiteral("RT&S Toggle"), this);
  chkEcho_ = new QCheckBox(QStringLiteral("Remove &echo"), this);
  chkEcho_->setToolTip(
      QStringLiteral("For two-wire RS-485 adapters that hear their own transmission: "
                     "the port drops what it sent before reading the answer."));
  QHBoxLayout* buttons = OkCancelRow(*this, cmdOK_, cmdCancel_);

  auto* grid = new QGridLayout;
  AddCaptionedRow(*grid, 0, "&Port:", cmbCOM_);
  grid->addWidget(chkAvailable_, 0, 2);
  auto* pathCaption = new QLabel(QStringLiteral("Pat&h:"), this);
  pathCaption->setBuddy(cmbPath_);
  grid->addWidget(pathCaption, 1, 0);
  grid->addWidget(cmbPath_, 1, 1, 1, 2);
  AddCaptionedRow(*grid, 2, "&Baud rate:", cmbBaudRate_);
  AddCaptionedRow(*grid, 3, "Pa&rity:", cmbParity_);
  AddCaptionedRow(*grid, 4, "St&op bits:", cmbStopBits_);
  AddCaptionedRow(*grid, 5, "T&iming:", cmbTiming_);
  grid->setColumnStretch(2, 1);

  auto* lines = new QHBoxLayout;
  lines->addWidget(chkDTR_);
  lines->addWidget(chkRTSToggle_);
  lines->addWidget(chkEcho_);
  lines->addStretch();

  auto* form = new QVBoxLayout(this);
  form->addLayout(grid);
  form->addWidget(framing);
  form->addLayout(lines);
  form->addLayout(buttons);
  form->setSizeConstraint(QLayout::SetFixedSize);
}

void COMSettingsDialog::Connect() {
  connect(cmbCOM_, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (refreshing_) return;
    model_.cmbCOM_ListIndex = index;
    model_.cmbCOM_Click();
    Refresh();
  });
  connect(chkAvailable_, &QCheckBox::toggled, this, [this](bool checked) {
    if (refreshing_) return;
    model_.chkAvailable = checked;
    model_.chkAvailable_Click();
    Refresh();
  });
  const auto store = [this] { StoreControls(); };
  connect(cmbBaudRate_, &QComboBox::editTextChanged, this, store);
  connect(cmbPath_, &QComboBox::editTextChanged, this, store);
  connect(cmbParity_, &QComboBox::currentIndexChanged, this, store);
  connect(cmbStopBits_, &QComboBox::currentIndexChanged, this, store);
  // Of the two framing buttons only the one switched on speaks.
  const auto framing = [this](bool on) {
    if (on) StoreControls();
  };
  connect(optRTU_, &QRadioButton::toggled, this, framing);
  connect(optASCII_, &QRadioButton::toggled, this, framing);
  connect(chkASCII8bits_, &QCheckBox::toggled, this, store);
  connect(chkDTR_, &QCheckBox::toggled, this, store);
  connect(chkRTSToggle_, &QCheckBox::toggled, this, store);
  connect(cmbTiming_, &QComboBox::currentIndexChanged, this, store);
  connect(chkEcho_, &QCheckBox::toggled, this, store);
  connect(cmdOK_, &QPushButton::clicked, this, [this] {
    model_.cmdOK_Click();
    Refresh();
    if (!model_.Visible) done(Accepted);
  });
  connect(cmdCancel_, &QPushButton::clicked, this, &COMSettingsDialog::reject);
}

void COMSettingsDialog::ShowForm(int com) {
  model_.ShowForm(com);
  Refresh();
  open();
}

void COMSettingsDialog::StoreControls() {
  if (refreshing_) return;
  model_.cmbBaudRate = cmbBaudRate_->currentText().toStdString();
  model_.cmbPath = cmbPath_->currentText().trimmed().toStdString();
  model_.cmbParity = cmbParity_->currentText().toStdString();
  model_.cmbStopBits = cmbStopBits_->currentText().toStdString();
  model_.optRTU = optRTU_->isChecked();
  model_.optASCII = optASCII_->isChecked();
  model_.chkASCII8bits = chkASCII8bits_->isChecked();
  model_.chkDTR = chkDTR_->isChecked();
  model_.chkRTSToggle = chkRTSToggle_->isChecked();
  model_.cmbTiming = static_cast<LineTiming>(cmbTiming_->currentIndex());
  model_.chkEcho = chkEcho_->isChecked();
  model_.Control_Click();
  Refresh();
}

void COMSettingsDialog::Refresh() {
  refreshing_ = true;
  SetItems(*cmbCOM_, ListOf(model_.cmbCOM));
  cmbCOM_->setCurrentIndex(model_.cmbCOM_ListIndex);
  chkAvailable_->setChecked(model_.chkAvailable);
  SetItems(*cmbPath_, ListOf(model_.cmbPath_List));
  const QString path = QString::fromStdString(model_.cmbPath);
  if (cmbPath_->currentText().trimmed() != path) cmbPath_->setEditText(path);
  // Rewriting the text the user is typing would move the cursor under them.
  const QString baud = QString::fromStdString(model_.cmbBaudRate);
  if (cmbBaudRate_->currentText() != baud) cmbBaudRate_->setEditText(baud);
  Select(*cmbParity_, model_.cmbParity);
  Select(*cmbStopBits_, model_.cmbStopBits);
  optRTU_->setChecked(model_.optRTU);
  optASCII_->setChecked(model_.optASCII);
  chkASCII8bits_->setEnabled(model_.chkASCII8bits_Enabled);
  chkASCII8bits_->setChecked(model_.chkASCII8bits);
  chkDTR_->setChecked(model_.chkDTR);
  chkRTSToggle_->setChecked(model_.chkRTSToggle);
  cmbTiming_->setCurrentIndex(static_cast<int>(model_.cmbTiming));
  chkEcho_->setChecked(model_.chkEcho);
  const bool line = model_.LineControls_Enabled();
  for (QWidget* control :
       std::initializer_list<QWidget*>{cmbBaudRate_, cmbParity_, cmbStopBits_, chkDTR_, chkRTSToggle_})
    control->setEnabled(line);
  refreshing_ = false;
}

void COMSettingsDialog::reject() {
  model_.cmdCancel_Click();
  QDialog::reject();
}

}  // namespace quorvel
