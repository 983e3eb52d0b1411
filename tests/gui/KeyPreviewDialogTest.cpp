// A dialog's form sees Enter and Escape before its controls, even controls
// that would keep those keys for themselves or that came after the form was
// watched; other keys, and keys in other windows, are not its business.

#include <gtest/gtest.h>

#include <vector>

#include <QDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QVBoxLayout>

#include "dialogs/qt/KeyPreview.h"

namespace quorvel::testing {
namespace {

TEST(KeyPreview, FormSeesEnterAndEscapeFirst) {
  QDialog form;
  std::vector<int> seen;
  auto* layout = new QVBoxLayout(&form);
  // A text of many lines takes Enter as a new line when asked directly.
  auto* text = new QPlainTextEdit(&form);
  layout->addWidget(text);
  new KeyPreview(form, [&](int key) { seen.push_back(key); });
  auto* later = new QLineEdit;
  layout->addWidget(later);
  form.show();

  QTest::keyClick(text, Qt::Key_Return);
  QTest::keyClick(text, Qt::Key_Enter);
  QTest::keyClick(later, Qt::Key_Escape);
  QTest::keyClick(text, Qt::Key_A);
  EXPECT_EQ(seen, (std::vector<int>{13, 13, 27}));
  EXPECT_EQ(text->toPlainText(), "a") << "the control never got Enter";
  EXPECT_TRUE(form.isVisible()) << "nor did the dialog's own Escape";

  // Another window, even one owned by the form, keeps its keys.
  QLineEdit other;
  other.setParent(&form, Qt::Popup);
  other.show();
  QTest::keyClick(&other, Qt::Key_Return);
  EXPECT_EQ(seen.size(), 3u);
}

}  // namespace
}  // namespace quorvel::testing
