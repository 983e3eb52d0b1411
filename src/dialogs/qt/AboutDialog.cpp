#include "dialogs/qt/AboutDialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "Version.h"
#include "dialogs/qt/KeyPreview.h"

namespace quorvel {

AboutDialog::AboutDialog(const std::string& programTitle, QWidget* parent) : QDialog(parent) {
  const QString title = QString::fromStdString(programTitle);
  setWindowTitle(QStringLiteral("About ") + title);
  lblTitle_ = new QLabel(title, this);
  QFont big = lblTitle_->font();
  big.setBold(true);
  big.setPointSizeF(big.pointSizeF() * 1.5);
  lblTitle_->setFont(big);
  lblVersion_ = new QLabel(QStringLiteral("Version ") + QString::fromLatin1(kVersion), this);
  auto* purpose = new QLabel(QString::fromLatin1(kPurpose), this);
  auto* cmdOK = new QPushButton(QStringLiteral("OK"), this);
  connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cmdOK);
  auto* form = new QVBoxLayout(this);
  form->addWidget(lblTitle_);
  form->addWidget(lblVersion_);
  form->addWidget(purpose);
  form->addSpacing(8);
  form->addLayout(buttons);
  form->setSizeConstraint(QLayout::SetFixedSize);
  new KeyPreview(*this, [this](int key) { done(key == KeyPreview::kEnter ? Accepted : Rejected); });
}

}  // namespace quorvel
