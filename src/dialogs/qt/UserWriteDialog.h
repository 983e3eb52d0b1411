#pragma once

// The user write dialog on screen: one line per element of the request's
// write block, named by the element's address, with the text the user fills
// in. A text the model refuses is marked on its own line and the dialog
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
  QWidget* list_;
  QScrollArea* scroll_;
  QPushButton* cmdOK_;
  QPushButton* cmdCancel_;
};

}  // namespace quorvel
