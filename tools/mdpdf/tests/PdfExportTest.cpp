#include "PdfExport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFont>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>
#include <QUrl>
#include <map>
#include <vector>

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

int CountMatches(const QByteArray& bytes, const char* pattern) {
  // Latin-1 keeps every byte of the binary file as one character.
  const QString text = QString::fromLatin1(bytes);
  int count = 0;
  for (auto it = QRegularExpression(pattern).globalMatch(text); it.hasNext(); it.next()) ++count;
  return count;
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

TEST_F(PdfExportTest, WidePicturesAreScaledToTheTextWidthKeepingTheirShape) {
  WritePicture(Path("wide.png"), 1280, 800);
  WritePicture(Path("small.png"), 120, 40);
  WritePicture(Path("exact.png"), 640, 10);
  QTextDocument document;
  document.setBaseUrl(QUrl::fromLocalFile(dir_.path() + "/"));
  document.setMarkdown(
      "Text ![wide](wide.png) more\n\n| a | b |\n|---|---|\n| ![small](small.png) | ![exact](exact.png) |\n\n"
      "![gone](gone.png)\n");

  FitPictures(document, 640);

  const auto sizes = PictureSizes(document);
  ASSERT_EQ(sizes.size(), 4u);
  EXPECT_EQ(sizes.at("wide.png"), QSizeF(640, 400));  // 1280 x 800 halved
  EXPECT_EQ(sizes.at("small.png"), QSizeF(0, 0));     // no size set: drawn as it is
  EXPECT_EQ(sizes.at("exact.png"), QSizeF(0, 0));
  EXPECT_EQ(sizes.at("gone.png"), QSizeF(0, 0));
  EXPECT_TRUE(document.toPlainText().startsWith("Text ")) << "text around the picture is kept";
}

struct CellText {
  int blocks = 0;
  QString text;
  bool bold = false;
  double topMargin = -1;
};

CellText Cell(const QTextTable& table, int row, int column) {
  const QTextTableCell cell = table.cellAt(row, column);
  CellText out;
  QTextBlock block = cell.firstCursorPosition().block();
  const QTextBlock last = cell.lastCursorPosition().block();
  out.topMargin = block.blockFormat().topMargin();
  for (;; block = block.next()) {
    ++out.blocks;
    out.text += block.text();
    for (auto it = block.begin(); !it.atEnd(); ++it) out.bold = it.fragment().charFormat().fontWeight() >= QFont::Bold;
    if (block == last) break;
  }
  return out;
}

TEST(StyleForPrintTest, HeaderCellAfterCodeBlockIsOneBoldLine) {
  QTextDocument document;
  document.setMarkdown(
      "Text:\n\n    code line\n\n| Item | Counts |\n|---|---|\n|  | b |\n\n| Port | Device |\n|---|---|\n");
  StyleForPrint(document);

  std::vector<QTextTable*> tables;
  for (QTextFrame* frame : document.rootFrame()->childFrames())
    if (auto* table = qobject_cast<QTextTable*>(frame)) tables.push_back(table);
  ASSERT_EQ(tables.size(), 2u);
  for (QTextTable* table : tables) {
    EXPECT_EQ(table->format().headerRowCount(), 1);
    for (int column = 0; column < table->columns(); ++column) {
      const CellText header = Cell(*table, 0, column);
      EXPECT_EQ(header.blocks, 1) << header.text.toStdString();
      EXPECT_TRUE(header.bold) << header.text.toStdString();
      EXPECT_EQ(header.topMargin, 0) << header.text.toStdString();
    }
  }
  EXPECT_EQ(Cell(*tables[0], 0, 0).text, "Item");
  EXPECT_EQ(Cell(*tables[0], 1, 0).text, "") << "an empty cell stays empty";
  EXPECT_EQ(Cell(*tables[0], 1, 1).text, "b");
  EXPECT_EQ(Cell(*tables[1], 0, 0).text, "Port");
}

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

TEST_F(PdfExportTest, GuideBecomesPagedPdfWithPresentPicturesOnly) {
  ASSERT_TRUE(QDir(dir_.path()).mkdir("shots"));
  WritePicture(Path("shots/frame.png"), 1280, 800);
  QByteArray guide = "# Quick start\n\n![The frame](shots/frame.png)\n\n![The slave](shots/slave.png)\n\n";
  for (int i = 1; i <= 120; ++i) guide += "Paragraph " + QByteArray::number(i) + " of the guide.\n\n";
  WriteText(Path("guide.md"), guide);

  const auto error = ExportPdf(Path("guide.md"), Path("guide.pdf"));
  ASSERT_FALSE(error.has_value()) << error->toStdString();

  const QByteArray pdf = ReadAll(Path("guide.pdf"));
  ASSERT_TRUE(pdf.startsWith("%PDF-"));
  EXPECT_TRUE(pdf.trimmed().endsWith("%%EOF"));
  // 120 paragraphs with their spacing fill more than one A4 page.
  EXPECT_GE(CountMatches(pdf, "/Type\\s*/Page[^s]"), 2);
  // The missing screenshot left no picture behind, only its text.
  EXPECT_EQ(CountMatches(pdf, "/Subtype\\s*/Image"), 1);
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
