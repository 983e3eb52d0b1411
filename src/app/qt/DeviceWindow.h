#pragma once

// A device window on screen: its panel, and the statistics line under it.
// The caption and the line are read from the window's core on refresh.

#include <QLabel>
#include <QWidget>

#include "device/frmQuorvel.h"
#include "device/qt/PanelWidget.h"

namespace quorvel {

class DeviceWindow : public QWidget {
  Q_OBJECT
 public:
  DeviceWindow(frmQuorvel& window, QWidget* parent = nullptr);

  frmQuorvel& Core() const { return window_; }
  PanelWidget& Panel() const { return *panel_; }
  QLabel& Statistics() const { return *statistics_; }
  // Why the value being typed was refused; hidden while nothing is.
  QLabel& Refusal() const { return *refusal_; }
  // Caption and statistics line as the core holds them now.
  void Refresh();
  // The whole panel and the lines under it: a scroll area on its own would
  // offer only a part of a large panel.
  QSize sizeHint() const override;

 private:
  frmQuorvel& window_;
  PanelWidget* panel_;
  QLabel* statistics_;
  QLabel* refusal_;
};

}  // namespace quorvel
