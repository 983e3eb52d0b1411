#pragma once

// The about box: the program's title and version, and what it is for.

#include <string>

#include <QDialog>

class QLabel;

namespace quorvel {

class AboutDialog : public QDialog {
 public:
  static constexpr const char* kPurpose = "A tool for talking to Modbus devices over a serial line.";

  // `programTitle` as the program names itself ("Quorvel 1.0").
  explicit AboutDialog(const std::string& programTitle, QWidget* parent = nullptr);

  QLabel& lblTitle() const { return *lblTitle_; }
  QLabel& lblVersion() const { return *lblVersion_; }

 private:
  QLabel* lblTitle_;
  QLabel* lblVersion_;
};

}  // namespace quorvel
