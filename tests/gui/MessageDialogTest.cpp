// The message window's size and placement on screen for short, long and
// multi-line texts, worked out here from the metrics of the window's own
// font and the window's twips rules (3000 wide up to a 2880-twip text, else
// text + 360; text 60 twips left of centre; button 180 below the text;
// window 1020 below the button's top; a 90 x 375 twip frame outside).

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "dialogs/qt/MessageWindow.h"

namespace quorvel::testing {
namespace {

struct Expected {
  QSize client;
  QRect tb;
  QRect ok;
};

// `lines` as measured in `font` at `scale`.
Expected Expect(const QStringList& lines, const QFont& font, const Twips& scale) {
  const QFontMetrics metrics(font);
  int widest = 0;
  for (const QString& line : lines) widest = std::max(widest, metrics.horizontalAdvance(line));
  const int textWidth = scale.ToTwips(widest);
  const int textHeight = scale.ToTwips(metrics.lineSpacing() * static_cast<int>(lines.size()));
  const int width = textWidth <= 2880 ? 3000 : textWidth + 360;
  const int okTop = textHeight + 180;
  const int height = okTop + 1020;
  // Halves of a twip go up.
  const int tbLeft = (width - textWidth + 1) / 2 - 60;
  const int okLeft = (width - 1125 + 1) / 2;
  return {QSize(scale.ToPixels(width - 90), scale.ToPixels(height - 375)),
          scale.ToRect(tbLeft, 60, textWidth, textHeight), scale.ToRect(okLeft, okTop, 1125, 345)};
}

struct MessageView : ::testing::Test {
  MessageWindow window;

  void Check(const std::string& text, const QStringList& lines) {
    window.ShowMsg(text);
    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(window.isModal());
    EXPECT_EQ(window.windowTitle(), "Quorvel");
    EXPECT_EQ(window.tb().font(), window.font());
    EXPECT_EQ(window.tb().text(), lines.join('\n'));
    const Expected want = Expect(lines, window.font(), window.Scale());
    EXPECT_EQ(window.size(), want.client);
    EXPECT_EQ(window.tb().geometry(), want.tb);
    EXPECT_EQ(window.cmdOK().geometry(), want.ok);
  }
};

TEST_F(MessageView, WindowFitsShortLongAndMultiLineTexts) {
  const std::string longText =
      "Request 'Read holding registers 0..99': the answer of slave 17 failed its CRC check three times running";
  const struct {
    const char* name;
    std::string text;
    QStringList lines;
  } cases[] = {
      {"short", "Time-out", {"Time-out"}},
      {"long", longText, {QString::fromStdString(longText)}},
      {"two-lines",
       "Write to slave 3\r\nException 2: illegal data address",
       {"Write to slave 3", "Exception 2: illegal data address"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    window.hide();
    Check(c.text, c.lines);
    window.grab().save(QStringLiteral(QUORVEL_GUI_OUTPUT_DIR "/message-%1.png").arg(c.name));
  }
}

TEST_F(MessageView, SecondMessageReplacesTheFirstInTheSameWindow) {
  Check(std::string(200, 'W'), {QString(200, 'W')});
  const QPoint where = window.pos();
  const QSize wide = window.size();
  Check("OK", {"OK"});
  EXPECT_LT(window.size().width(), wide.width());
  EXPECT_EQ(window.pos(), where) << "a window already up stays where it is";
}

TEST_F(MessageView, EnterAndEscapeCloseOtherKeysPass) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
    window.ShowMsg("Time-out");
    QTest::keyClick(&window.tb(), Qt::Key_Space);
    EXPECT_TRUE(window.isVisible());
    QTest::keyClick(&window.cmdOK(), key);
    EXPECT_FALSE(window.isVisible()) << key;
  }
}

}  // namespace
}  // namespace quorvel::testing
