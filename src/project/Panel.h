#pragma once

// The panel of a device window: the controls its project creates, kept as
// control arrays (one per kind, each numbered from 1) beside the array `Tbd`
// of value labels, one per "TBox" with the box's Index.

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "project/PanelControl.h"

namespace quorvel {

// What the loader needs from a device window to build its panel.
class PanelFactory {
 public:
  virtual ~PanelFactory() = default;
  // A new control of kind "TBox", "Lbl", "Fr", "Tbl" or "Img"; nullptr when
  // the kind cannot be made.
  virtual PanelControl* CreateControl(std::string_view kind) = 0;
  // Member `index` of the control array `name`, or nullptr.
  virtual PanelControl* FindControl(std::string_view name, int index) = 0;
};

// Told about every control made and every property changed.
class PanelObserver {
 public:
  virtual ~PanelObserver() = default;
  virtual void ControlAdded(const PanelControl& control) = 0;
  virtual void ControlChanged(const PanelControl& control, ControlProperty what) = 0;
  // Every control is about to go; none may be used after this returns.
  virtual void PanelCleared() = 0;
};

class Panel : public PanelFactory {
 public:
  Panel() = default;
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  PanelControl* CreateControl(std::string_view kind) override;
  PanelControl* FindControl(std::string_view name, int index) override;

  // The value label of box `index`; throws std::out_of_range when there is none.
  PanelControl& Tbd(int index);
  // Number of members in the control array `name`.
  int Count(std::string_view name) const;
  // Every control in the order made.
  const std::deque<std::unique_ptr<PanelControl>>& Controls() const { return controls_; }

  // Removes every control (and numbers new ones from 1 again), for a project
  // loaded anew into the same window; the observer stays.
  void Clear();

  void SetObserver(PanelObserver* observer) { observer_ = observer; }
  void NotifyChanged(const PanelControl& control, ControlProperty what);

 private:
  PanelControl& Add(std::string name, int index);

  std::deque<std::unique_ptr<PanelControl>> controls_;
  std::map<std::pair<std::string, int>, PanelControl*> byName_;
  std::map<std::string, int, std::less<>> counts_;
  PanelObserver* observer_ = nullptr;
};

}  // namespace quorvel
