#include "device/qt/ControlView.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "device/PanelReading.h"
#include "device/qt/FontMap.h"
#include "device/qt/WinColor.h"

namespace quorvel {
namespace {

// System colours of the classic 3-D look.
constexpr std::uint32_t kWindowFrame = 0x80000006;
constexpr std::uint32_t kButtonShadow = 0x80000010;
constexpr std::uint32_t kButtonHighlight = 0x80000014;
constexpr std::uint32_t kDarkShadow = 0x80000015;
constexpr std::uint32_t kLight = 0x80000016;
constexpr std::uint32_t kGrayText = 0x80000011;

// The sunken edge of a text box is two pixels at any resolution, as on Windows.
constexpr int kSunkenEdge = 2;
constexpr int kTextPadding = 2;

// Lines along the four edges of `r`: top and left in one colour, bottom and
// right in the other.
void Bevel(QPainter& painter, const QRect& r, const QColor& topLeft, const QColor& bottomRight) {
  painter.setPen(topLeft);
  painter.drawLine(r.topLeft(), r.topRight());
  painter.drawLine(r.topLeft(), r.bottomLeft());
  painter.setPen(bottomRight);
  painter.drawLine(r.bottomLeft(), r.bottomRight());
  painter.drawLine(r.topRight(), r.bottomRight());
}

FontSettings SettingsOf(const PanelControl& c) {
  return {c.FontName(), c.FontSize(), c.FontBold(), c.FontItalic(), c.FontUnderline(), c.FontStrikethru()};
}

}  // namespace

ControlView::ControlView(const PanelControl& control, const Twips& twips, QWidget* parent)
    : QWidget(parent), control_(control), twips_(twips) {
  setObjectName(QString::fromStdString(control.Name()) + QStringLiteral("(%1)").arg(control.Index()));
  for (ControlProperty what : {ControlProperty::Geometry, ControlProperty::Font, ControlProperty::Caption,
                               ControlProperty::ToolTipText, ControlProperty::Picture}) {
    Follow(what);
  }
}

void ControlView::Follow(ControlProperty what) {
  switch (what) {
    case ControlProperty::Geometry:
      setGeometry(twips_.ToRect(control_.Left(), control_.Top(), control_.Width(), control_.Height()));
      break;
    case ControlProperty::Colors:
    case ControlProperty::Dimmed:
      break;
    case ControlProperty::Font:
      setFont(PanelFont(SettingsOf(control_), twips_.Dpi()));
      break;
    case ControlProperty::Caption:
      text_ = QString::fromStdString(control_.Caption());
      break;
    case ControlProperty::ToolTipText:
      setToolTip(QString::fromStdString(control_.ToolTipText()));
      break;
    case ControlProperty::Picture: {
      const PictureBytes& bytes = control_.Picture();
      // Bytes that do not decode show as an empty picture, as a picture that
      // failed to load does.
      picture_ = bytes ? QImage::fromData(bytes->data(), static_cast<int>(bytes->size())) : QImage();
      break;
    }
  }
  update();
}

void ControlView::Rescale(const Twips& twips) {
  twips_ = twips;
  Follow(ControlProperty::Geometry);
  Follow(ControlProperty::Font);
}

QColor ControlView::Back() const { return WinColor(control_.BackColor(), palette()); }
QColor ControlView::Fore() const { return WinColor(control_.Dimmed() ? kGrayText : control_.ForeColor(), palette()); }

void ControlView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setFont(font());
  const std::string& kind = control_.Name();
  if (kind == "TBox") {
    PaintBox(painter);
  } else if (kind == "Tbd") {
    PaintValue(painter);
  } else if (kind == "Lbl") {
    PaintLabel(painter, false);
  } else if (kind == "Tbl") {
    PaintLabel(painter, true);
  } else if (kind == "Fr") {
    PaintFrame(painter);
  } else if (kind == "Img") {
    // Shown at its own size from the top left corner and cut at the edges.
    painter.drawImage(0, 0, picture_);
  }
}

void ControlView::PaintBox(QPainter& painter) const {
  painter.fillRect(rect(), Back());
  Bevel(painter, rect(), WinColor(kButtonShadow, palette()), WinColor(kButtonHighlight, palette()));
  Bevel(painter, rect().adjusted(1, 1, -1, -1), WinColor(kDarkShadow, palette()), WinColor(kLight, palette()));
  painter.setPen(Fore());
  painter.drawText(rect().adjusted(kSunkenEdge + kTextPadding, 0, -kSunkenEdge, 0),
                   Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text_);
}

// A value label lies on its box, so it leaves the box's sunken edge showing.
void ControlView::PaintValue(QPainter& painter) const {
  const QRect inside = rect().adjusted(kSunkenEdge, kSunkenEdge, -kSunkenEdge, -kSunkenEdge);
  if (inside.isEmpty()) return;
  painter.fillRect(inside, Back());
  painter.setPen(Fore());
  painter.drawText(inside.adjusted(kTextPadding, 0, -kTextPadding, 0),
                   Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text_);
  // The dotted rectangle of the classic controls marks where the keys go.
  if (hasFocus()) {
    painter.setPen(QPen(Fore(), 1, Qt::DotLine));
    painter.drawRect(inside.adjusted(0, 0, -1, -1));
  }
}

void ControlView::PaintLabel(QPainter& painter, bool bordered) const {
  painter.fillRect(rect(), Back());
  QRect text = rect();
  if (bordered) {
    painter.setPen(WinColor(kWindowFrame, palette()));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    text.adjust(kTextPadding, 1, -kTextPadding, -1);
  }
  painter.setPen(Fore());
  painter.drawText(text, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap | Qt::TextShowMnemonic, text_);
}

void ControlView::PaintFrame(QPainter& painter) const {
  painter.fillRect(rect(), Back());
  const QFontMetrics metrics = painter.fontMetrics();
  // The etched line runs through the middle of the caption's line.
  const int lineY = metrics.height() / 2;
  const QRect line(0, lineY, width() - 2, height() - lineY - 2);
  painter.setPen(WinColor(kButtonHighlight, palette()));
  painter.drawRect(line.translated(1, 1));
  painter.setPen(WinColor(kButtonShadow, palette()));
  painter.drawRect(line);
  if (text_.isEmpty()) return;
  const int flags = Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine | Qt::TextShowMnemonic;
  const QRect room(twips_.ToPixels(120), 0, width(), metrics.height());
  const QRect caption = painter.boundingRect(room, flags, text_);
  painter.fillRect(caption.adjusted(-kTextPadding, 0, kTextPadding, 0), Back());
  painter.setPen(Fore());
  painter.drawText(caption, flags, text_);
}

void ControlView::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  if (onDoubleClick_ && (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier &&
      (key == Qt::Key_F2 || key == Qt::Key_Return || key == Qt::Key_Enter)) {
    event->accept();
    onDoubleClick_();
  } else if (event->matches(QKeySequence::Copy)) {
    event->accept();
    QGuiApplication::clipboard()->setText(QString::fromStdString(ShownValue(control_)));
  } else {
    QWidget::keyPressEvent(event);
  }
}

void ControlView::contextMenuEvent(QContextMenuEvent* event) {
  if (onContextMenu_ && onContextMenu_(event->globalPos())) {
    event->accept();
  } else {
    QWidget::contextMenuEvent(event);
  }
}

void ControlView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (!onDoubleClick_) {
    QWidget::mouseDoubleClickEvent(event);
    return;
  }
  event->accept();
  onDoubleClick_();
}

}  // namespace quorvel
