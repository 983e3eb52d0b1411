#include "app/qt/DeviceWindow.h"

#include <algorithm>

#include <QScrollArea>
#include <QVBoxLayout>

namespace quorvel {

DeviceWindow::DeviceWindow(frmQuorvel& window, QWidget* parent)
    : QWidget(parent), window_(window), panel_(new PanelWidget(window)), statistics_(new QLabel), refusal_(new QLabel) {
  auto* scroll = new QScrollArea;
  scroll->setWidget(panel_);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setBackgroundRole(QPalette::Button);
  statistics_->setFrameShape(QFrame::Panel);
  statistics_->setFrameShadow(QFrame::Sunken);
  statistics_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  // Right above the statistics line, where the eye goes after Enter; the box
  // stays open for the correction.
  refusal_->setObjectName(QStringLiteral("refusal"));
  refusal_->setWordWrap(true);
  refusal_->setMargin(3);
  refusal_->setAutoFillBackground(true);
  QPalette warning = refusal_->palette();
  warning.setColor(QPalette::Window, QColor(0xFF, 0xF4, 0xCE));
  warning.setColor(QPalette::WindowText, QColor(0x80, 0x00, 0x00));
  refusal_->setPalette(warning);
  refusal_->hide();
  panel_->OnRefusal([this](const QString& reason) {
    refusal_->setText(reason);
    refusal_->setVisible(!reason.isEmpty());
  });
  layout->addWidget(scroll, 1);
  layout->addWidget(refusal_);
  layout->addWidget(statistics_);
  setAttribute(Qt::WA_DeleteOnClose, false);
  Refresh();
}

QSize DeviceWindow::sizeHint() const {
  const QSize panel = panel_->sizeHint();
  int height = panel.height() + statistics_->sizeHint().height();
  if (refusal_->isVisible()) height += refusal_->sizeHint().height();
  return {std::max(panel.width(), statistics_->minimumSizeHint().width()), height};
}

void DeviceWindow::Refresh() {
  const QString caption = QString::fromStdString(window_.Caption());
  if (windowTitle() != caption) setWindowTitle(caption);
  const QString line = QString::fromStdString(window_.lblStatistic());
  if (statistics_->text() != line) statistics_->setText(line);
}

}  // namespace quorvel
