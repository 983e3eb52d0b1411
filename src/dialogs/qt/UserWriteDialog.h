#pragma once

// The user write dialog on screen: the request's name over one line per
// element of its write block, named as the panel names the element, with the
// text the user fills in. A text the model refuses is marked on its own line and the dialog
// stays open.

#include <memory>
#include <vector>

#include <QDialog>

#include "dialogs/frmUserWrite.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;

namespace quorvel {

class UserWriteDialog : public QDialog {
 public:
  explicit UserWriteDialog(std::unique_ptr<frmUserWrite> model, QWidget* parent = nullptr);

  // Opens the dialog, modal, without waiting for it to close; false, and
  // nothing shown, when the model has nothing to ask.
  bool ShowForm();
  // Shows what the model holds.
  void Refresh();

  frmUserWrite& Model() { return *model_; }
  std::size_t RowCount() const { return rows_.size(); }
  QLabel& RowCaption(std::size_t row) const { return *rows_.at(row).caption; }
  QLineEdit& RowText(std::size_t row) const { return *rows_.at(row).text; }
  QLabel& RowRefusal(std::size_t row) const { return *rows_.at(row).refusal; }
  // The request's name, whole, however narrow the title bar draws it.
  QLabel& Heading() const { return *heading_; }
  // What the mask characters mean; shown for a mask write only.
  QLabel& MaskHint() const { return *maskHint_; }
  QPushButton& cmdOK() const { return *cmdOK_; }
  QPushButton& cmdCancel() const { return *cmdCancel_; }

  void reject() override;

 private:
  struct Row {
    QLabel* caption;
    QLineEdit* text;
    QLabel* refusal;
  };

  void cmdOK_Click();
  // Sizes the list to its lines, up to a screenful, and the dialog to the list.
  void FitList();

  std::unique_ptr<frmUserWrite> model_;
  std::vector<Row> rows_;
  QLabel* heading_;
  QLabel* maskHint_;
  QWidget* list_;
  QScrollArea* scroll_;
  QPushButton* cmdOK_;
  QPushButton* cmdCancel_;
};

}  // namespace quorvel
