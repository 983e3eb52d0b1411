#pragma once

// One control of a panel on screen: a box, value label, label, frame, table
// cell or picture, drawn from what its PanelControl holds, in the look of the
// classic Windows controls the panels were designed with.

#include <functional>

#include <QImage>
#include <QString>
#include <QWidget>

#include "device/qt/Twips.h"
#include "project/PanelControl.h"

namespace quorvel {

class ControlView : public QWidget {
 public:
  // `control` must outlive the view.
  ControlView(const PanelControl& control, const Twips& twips, QWidget* parent);

  const PanelControl& Control() const { return control_; }
  // Takes up what changed in the control.
  void Follow(ControlProperty what);
  // Lays the control out again at another resolution.
  void Rescale(const Twips& twips);
  void OnDoubleClick(std::function<void()> handler) { onDoubleClick_ = std::move(handler); }
  // A context menu asked for, at this point of the screen; the handler says
  // whether it showed one (if not, the request goes on to the parent).
  void OnContextMenu(std::function<bool(const QPoint&)> handler) { onContextMenu_ = std::move(handler); }

  // What the view shows now.
  QString Text() const { return text_; }
  const QImage& Picture() const { return picture_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  // A value label with the focus: F2 or Enter edits it as a double-click
  // does, Ctrl+C copies what it shows.
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void PaintBox(QPainter& painter) const;
  void PaintValue(QPainter& painter) const;
  void PaintLabel(QPainter& painter, bool bordered) const;
  void PaintFrame(QPainter& painter) const;
  QColor Back() const;
  QColor Fore() const;

  const PanelControl& control_;
  Twips twips_;
  QString text_;
  QImage picture_;
  std::function<void()> onDoubleClick_;
  std::function<bool(const QPoint&)> onContextMenu_;
};

}  // namespace quorvel
