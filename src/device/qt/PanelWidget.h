#pragma once

// The panel of a device window on screen. It draws every control of the
// window's panel where the project placed it, follows the panel's changes
// (new values on the value labels) and hands double-clicks and the edit box's
// Enter and Escape to the window, whose model decides what they do; it then
// shows the edit box as the model describes it.

#include <functional>
#include <map>
#include <string_view>

#include <QWidget>

#include "device/frmQuorvel.h"
#include "device/qt/ControlView.h"
#include "device/qt/EntryEdit.h"
#include "device/qt/Twips.h"
#include "project/Panel.h"

namespace quorvel {

class PanelWidget : public QWidget, private PanelObserver {
 public:
  // Laid out at the resolution of the screen; `window` must outlive the widget.
  explicit PanelWidget(frmQuorvel& window, QWidget* parent = nullptr);
  ~PanelWidget() override;
  PanelWidget(const PanelWidget&) = delete;
  PanelWidget& operator=(const PanelWidget&) = delete;

  // Lays the panel out again at `dpi` dots per inch.
  void SetDpi(double dpi);
  const Twips& Scale() const { return twips_; }

  // The view of member `index` of control array `name`, or nullptr.
  ControlView* ViewOf(std::string_view name, int index) const;
  EntryEdit& tbInput() const { return *editor_; }
  // Told why the value typed was refused each time the edit box changes;
  // empty when nothing is refused (or the box closed).
  void OnRefusal(std::function<void(const QString&)> show) { onRefusal_ = std::move(show); }
  // Told of a right-click (or the menu key) on value box `index`, with where
  // on the screen a menu would open; says whether it showed one.
  void OnValueMenu(std::function<bool(int, const QPoint&)> handler) { onValueMenu_ = std::move(handler); }

  QSize sizeHint() const override;

 private:
  void ControlAdded(const PanelControl& control) override;
  void ControlChanged(const PanelControl& control, ControlProperty what) override;
  void PanelCleared() override;

  void AddView(const PanelControl& control);
  void DoubleClicked(const PanelControl& control);
  void KeyDown(int key);
  // Mirrors the window's edit box; `opening` also takes over its text.
  void ShowEntryBox(bool opening);
  // Tab walks the value labels in reading order.
  void OrderTabs();

  frmQuorvel& window_;
  Twips twips_;
  std::map<const PanelControl*, ControlView*> views_;
  EntryEdit* editor_;
  // The value label being edited, which has the focus back when the box closes.
  QWidget* edited_ = nullptr;
  std::function<void(const QString&)> onRefusal_;
  std::function<bool(int, const QPoint&)> onValueMenu_;
};

}  // namespace quorvel
