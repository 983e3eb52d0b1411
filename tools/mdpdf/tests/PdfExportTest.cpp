#include "PdfExport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <map>

namespace quorvel::mdpdf {
namespace {

void WritePicture(const QString& path, int width, int height) {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(Qt::darkCyan);
  ASSERT_TRUE(image.save(path, "PNG")) << path.toStdString();
}

void WriteText(const QString& path, const QByteArray& text) {
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
  file.write(text);
}

QByteArray ReadAll(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Picture names and their sizes as the document's formats hold them.
std::map<QString, QSizeF> PictureSizes(const QTextDocument& document) {
  std::map<QString, QSizeF> sizes;
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      const QTextCharFormat format = it.fragment().charFormat();
      if (format.isImageFormat()) {
        const QTextImageFormat picture = format.toImageFormat();
        sizes[picture.name()] = QSizeF(picture.width(), picture.height());
      }
    }
  }
  return sizes;
}

class PdfExportTest : public ::testing::Test {
 protected:
  QString Path(const QString& name) const { return QDir(dir_.path()).filePath(name); }
  QTemporaryDir dir_;
};

TEST_F(PdfExportTest, GuidePicturesAreFoundBesideTheGuideNotInTheWorkingFolder) {
  ASSERT_TRUE(QDir(dir_.path()).mkpath("docs/shots"));
  WritePicture(Path("docs/shots/frame.png"), 1280, 800);
  WriteText(Path("docs/guide.md"),
            "# Quick start #\n\n![The frame](shots/frame.png)\n\n![The slave window](shots/slave.png)\n\nEnd.\n");
  const QString before = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(QDir::tempPath()));

  QTextDocument document;
  const auto error = LoadGuide(Path("docs/guide.md"), document);
  QDir::setCurrent(before);
  ASSERT_FALSE(error.has_value()) << error->toStdString();

  const auto sizes = PictureSizes(document);
  ASSERT_EQ(sizes.size(), 1u);
  EXPECT_EQ(sizes.begin()->first, "shots/frame.png");
  EXPECT_NEAR(sizes.begin()->second.width(), kTextWidth, 1e-9);
  EXPECT_NEAR(sizes.begin()->second.height(), kTextWidth * 800 / 1280, 1e-9);
  EXPECT_TRUE(document.toPlainText().contains("The slave window")) << document.toPlainText().toStdString();
  EXPECT_EQ(document.metaInformation(QTextDocument::DocumentTitle), "Quick start");
}

TEST_F(PdfExportTest, FailuresNameTheFileAndLeaveTheEarlierPdf) {
  WriteText(Path("old.pdf"), "earlier");

  const auto unreadable = ExportPdf(Path("missing.md"), Path("old.pdf"));
  ASSERT_TRUE(unreadable.has_value());
  EXPECT_TRUE(unreadable->contains("missing.md")) << unreadable->toStdString();
  EXPECT_EQ(ReadAll(Path("old.pdf")), "earlier");

  WriteText(Path("guide.md"), "# Guide\n");
  const auto unwritable = ExportPdf(Path("guide.md"), Path("no/such/folder/guide.pdf"));
  ASSERT_TRUE(unwritable.has_value());
  EXPECT_TRUE(unwritable->contains("guide.pdf")) << unwritable->toStdString();
  EXPECT_FALSE(QFile::exists(Path("no/such/folder/guide.pdf")));
}

}  // namespace
}  // namespace quorvel::mdpdf
