#include "dialogs/qt/UserWriteDialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>

#include "dialogs/qt/KeyPreview.h"
#include "project/PanelControl.h"

namespace quorvel {
namespace {

// Beyond this many lines the list scrolls rather than the dialog growing
// past the screen.
constexpr int kVisibleRows = 16;

// A 16-bit mask as the dialog writes it, in groups of four.
const QString kWidestMask = QStringLiteral("xxxx xxxx xxxx xxxx");

}  // namespace

UserWriteDialog::UserWriteDialog(std::unique_ptr<frmUserWrite> model, QWidget* parent)
    : QDialog(parent), model_(std::move(model)) {
  const QString title = QString::fromStdString(model_->Caption());
  setWindowTitle(title);
  heading_ = new QLabel(title, this);
  heading_->setObjectName(QStringLiteral("heading"));
  heading_->setTextFormat(Qt::PlainText);
  QFont bold = heading_->font();
  bold.setBold(true);
  heading_->setFont(bold);
  heading_->setVisible(!title.isEmpty());
  maskHint_ = new QLabel(QStringLiteral("Mask: 1 sets the bit, 0 clears it, x leaves it as it is."), this);
  maskHint_->setObjectName(QStringLiteral("maskHint"));
  maskHint_->setVisible(model_->MaskWrite());
  auto* list = new QWidget;
  auto* grid = new QGridLayout(list);
  grid->setColumnStretch(1, 1);
  std::vector<UserWriteRow>& rows = model_->Rows();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const CtrlProp& element = *rows[i].element;
    const QString tip = element.rCtrl() ? QString::fromStdString(element.rCtrl()->ToolTipText()) : QString();
    Row row{new QLabel(QString::fromStdString(rows[i].Caption), list), new QLineEdit(list), new QLabel(list)};
    row.caption->setTextFormat(Qt::PlainText);
    if (model_->MaskWrite()) {
      const QMargins margins = row.text->textMargins() + row.text->contentsMargins();
      // Room for the frame and the cursor besides the characters.
      row.text->setMinimumWidth(row.text->fontMetrics().horizontalAdvance(kWidestMask) + margins.left() +
                                margins.right() + 4 * style()->pixelMetric(QStyle::PM_DefaultFrameWidth) + 4);
    }
    row.caption->setBuddy(row.text);
    row.caption->setToolTip(tip);
    row.text->setToolTip(tip);
    row.refusal->setTextFormat(Qt::PlainText);
    QPalette warning = row.refusal->palette();
    warning.setColor(QPalette::WindowText, Qt::darkRed);
    row.refusal->setPalette(warning);
    const int at = static_cast<int>(i);
    grid->addWidget(row.caption, at, 0);
    grid->addWidget(row.text, at, 1);
    grid->addWidget(row.refusal, at, 2);
    connect(row.text, &QLineEdit::textEdited, this,
            [this, i](const QString& text) { model_->Rows()[i].Text = text.toStdString(); });
    rows_.push_back(row);
  }
  list_ = list;
  scroll_ = new QScrollArea(this);
  scroll_->setWidget(list);
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);

  cmdOK_ = new QPushButton(QStringLiteral("OK"), this);
  cmdCancel_ = new QPushButton(QStringLiteral("Cancel"), this);
  cmdOK_->setAutoDefault(false);
  cmdCancel_->setAutoDefault(false);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cmdOK_);
  buttons->addWidget(cmdCancel_);
  auto* form = new QVBoxLayout(this);
  form->addWidget(heading_);
  form->addWidget(scroll_);
  form->addWidget(maskHint_);
  form->addLayout(buttons);

  connect(cmdOK_, &QPushButton::clicked, this, &UserWriteDialog::cmdOK_Click);
  connect(cmdCancel_, &QPushButton::clicked, this, &UserWriteDialog::reject);
  new KeyPreview(*this, [this](int key) {
    if (key == KeyPreview::kEnter)
      cmdOK_Click();
    else
      reject();
  });
  Refresh();
  FitList();
}

void UserWriteDialog::FitList() {
  const QSize wanted = list_->sizeHint();
  const int rowHeight = rows_.empty() ? 0 : wanted.height() / static_cast<int>(rows_.size());
  const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
  const bool scrolls = static_cast<int>(rows_.size()) > kVisibleRows;
  scroll_->setMinimumSize(wanted.width() + (scrolls ? scrollBar : 0),
                          scrolls ? rowHeight * kVisibleRows : wanted.height());
  // The list is as wide as its lines, and as high as them up to a screenful:
  // bars shown while the dialog is still being laid out would only stay.
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
  adjustSize();
}

bool UserWriteDialog::ShowForm() {
  if (!model_->Visible()) return false;
  Refresh();
  open();
  if (!rows_.empty()) {
    rows_.front().text->setFocus();
    rows_.front().text->selectAll();
  }
  return true;
}

void UserWriteDialog::Refresh() {
  const std::vector<UserWriteRow>& rows = model_->Rows();
  for (std::size_t i = 0; i < rows_.size() && i < rows.size(); ++i) {
    const QString text = QString::fromStdString(rows[i].Text);
    if (rows_[i].text->text() != text) rows_[i].text->setText(text);
    rows_[i].refusal->setText(QString::fromStdString(rows[i].Refusal));
    rows_[i].refusal->setVisible(!rows[i].Refusal.empty());
  }
}

void UserWriteDialog::cmdOK_Click() {
  if (model_->cmdOK_Click()) {
    done(Accepted);
    return;
  }
  Refresh();
  FitList();
  if (!model_->Visible()) {
    done(Rejected);
    return;
  }
  // Straight to the first text to put right.
  const std::vector<UserWriteRow>& rows = model_->Rows();
  for (std::size_t i = 0; i < rows_.size() && i < rows.size(); ++i) {
    if (rows[i].Refusal.empty()) continue;
    rows_[i].text->setFocus();
    rows_[i].text->selectAll();
    break;
  }
}

void UserWriteDialog::reject() {
  model_->cmdCancel_Click();
  QDialog::reject();
}

}  // namespace quorvel
