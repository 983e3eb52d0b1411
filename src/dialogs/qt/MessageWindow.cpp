#include "dialogs/qt/MessageWindow.h"

#include <algorithm>

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QScreen>

#include "device/qt/FontMap.h"
#include "dialogs/qt/KeyPreview.h"

namespace quorvel {
namespace {

// The face classic dialogs are drawn in, or its stand-in.
QFont FormFont(double dpi) { return PanelFont({"MS Sans Serif", 8}, dpi); }

}  // namespace

MessageWindow::MessageWindow(QWidget* parent) : QDialog(parent) {
  setModal(false);
  setWindowTitle(QString::fromLatin1(kCaption));
  // Text box and form share one font, the one the text is measured in.
  twips_ = Twips::ForScreen(screen());
  setFont(FormFont(twips_.Dpi()));
  tb_ = new QLabel(this);
  tb_->setTextFormat(Qt::PlainText);
  tb_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  tb_->setWordWrap(false);
  tb_->setContentsMargins(0, 0, 0, 0);
  tb_->setMargin(0);
  // A message can be copied, never changed.
  tb_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  cmdOK_ = new QPushButton(QStringLiteral("OK"), this);
  cmdOK_->setAutoDefault(false);
  connect(cmdOK_, &QPushButton::clicked, this, &MessageWindow::cmdOK_Click);
  new KeyPreview(*this, [this](int) { cmdOK_Click(); });
}

void MessageWindow::ShowMsg(const std::string& text) {
  setWindowTitle(QString::fromLatin1(kCaption));
  twips_ = Twips::ForScreen(screen());
  setFont(FormFont(twips_.Dpi()));
  const QFontMetrics metrics(font());
  QStringList lines;
  int widest = 0;
  for (const std::string& line : MsgLines(text)) {
    lines << QString::fromStdString(line);
    widest = std::max(widest, metrics.horizontalAdvance(lines.back()));
  }
  const int high = metrics.lineSpacing() * static_cast<int>(lines.size());
  layout_ = LayOutMsg(twips_.ToTwips(widest), twips_.ToTwips(high));

  const MsgLayout& m = layout_;
  tb_->setGeometry(twips_.ToRect(m.tbLeft, m.tbTop, m.tbWidth, m.tbHeight));
  cmdOK_->setGeometry(twips_.ToRect(m.cmdOKLeft, m.cmdOKTop, m.cmdOKWidth, m.cmdOKHeight));
  setFixedSize(twips_.ToPixels(m.ClientWidth()), twips_.ToPixels(m.ClientHeight()));
  tb_->setText(lines.join(QLatin1Char('\n')));
  QApplication::beep();
  if (!isVisible()) {
    // A fresh window comes up in the middle of the screen; one already up stays put.
    if (const QScreen* where = screen()) {
      QRect frame(QPoint(), size());
      frame.moveCenter(where->availableGeometry().center());
      move(frame.topLeft());
    }
    show();
  }
  raise();
}

}  // namespace quorvel
