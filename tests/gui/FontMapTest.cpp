// Windows face names to installed faces of the same kind, and the font's size
// and style at a panel's resolution.

#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>
#include <QStringList>

#include "device/qt/FontMap.h"

namespace quorvel::testing {
namespace {

TEST(FontMap, FacesMissingHereGetAnInstalledOneOfTheirKind) {
  const QString sans = InstalledFace("MS Sans Serif");
  const QString serif = InstalledFace("Times New Roman");
  const QString mono = InstalledFace("Courier New");
  for (const QString& face : {sans, serif, mono}) {
    SCOPED_TRACE(face.toStdString());
    EXPECT_TRUE(QFontDatabase::hasFamily(face));
  }
  EXPECT_FALSE(QFontDatabase::isFixedPitch(sans));
  EXPECT_TRUE(QFontDatabase::isFixedPitch(mono));
  EXPECT_NE(serif, sans);
  EXPECT_NE(serif, mono);
  // No name, or one nobody knows, reads as the default sans serif face.
  EXPECT_EQ(InstalledFace(""), sans);
  EXPECT_EQ(InstalledFace("Quux Display"), sans);
  EXPECT_EQ(InstalledFace("Fixedsys"), mono);
}

TEST(FontMap, InstalledFacesAreKept) {
  const QString installed = QFontDatabase::families().value(0);
  ASSERT_FALSE(installed.isEmpty());
  EXPECT_EQ(InstalledFace(installed.toStdString()), installed);
}

TEST(FontMap, SizeInPointsBecomesPixelsAtTheResolution) {
  struct Case {
    int points;
    double dpi;
    int pixels;
  };
  const Case cases[] = {{9, 96, 12}, {9, 120, 15}, {12, 72, 12}, {0, 96, 11}, {-5, 96, 11}, {32767, 72, 500}};
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.points << " pt at " << c.dpi);
    EXPECT_EQ(PanelFont({"Arial", c.points}, c.dpi).pixelSize(), c.pixels);
  }
}

TEST(FontMap, StyleFlagsCarryOver) {
  const QFont plain = PanelFont({"Arial", 9}, 96);
  EXPECT_FALSE(plain.bold() || plain.italic() || plain.underline() || plain.strikeOut());
  const QFont styled = PanelFont({"Arial", 9, true, true, true, true}, 96);
  EXPECT_TRUE(styled.bold());
  EXPECT_TRUE(styled.italic());
  EXPECT_TRUE(styled.underline());
  EXPECT_TRUE(styled.strikeOut());
  EXPECT_TRUE(QFontInfo(styled).bold());
}

}  // namespace
}  // namespace quorvel::testing
