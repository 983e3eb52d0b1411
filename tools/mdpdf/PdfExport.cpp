#include "PdfExport.h"

#include <QAbstractTextDocumentLayout>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPalette>
#include <QPdfWriter>
#include <QPixmap>
#include <QSaveFile>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>
#include <QUrl>
#include <vector>

#include "MarkdownSource.h"

namespace quorvel::mdpdf {
namespace {

QSizeF NaturalSize(QTextDocument& document, const QString& name) {
  const QVariant resource = document.resource(QTextDocument::ImageResource, QUrl(name));
  QImage image;
  if (resource.userType() == QMetaType::QImage) {
    image = resource.value<QImage>();
  } else if (resource.userType() == QMetaType::QPixmap) {
    image = resource.value<QPixmap>().toImage();
  } else if (resource.userType() == QMetaType::QByteArray) {
    image.loadFromData(resource.toByteArray());
  }
  return image.size();
}

// Lays the document out on the writer's pages, leaving a line at the foot of
// each for its number, and draws it page by page. Screenshots keep every pixel:
// the painter is told to store pictures without lossy compression.
void PrintPages(QTextDocument& document, QPdfWriter& writer) {
  QPainter painter(&writer);
  painter.setRenderHint(QPainter::LosslessImageRendering);
  document.documentLayout()->setPaintDevice(&writer);
  const QRectF paper = writer.pageLayout().paintRectPixels(writer.resolution());
  const QFontMetricsF footer(document.defaultFont(), &writer);
  const QSizeF body(paper.width(), paper.height() - 2 * footer.height());
  document.setPageSize(body);

  const int pages = document.pageCount();
  for (int page = 0; page < pages; ++page) {
    if (page > 0) writer.newPage();
    const QRectF view(0, page * body.height(), body.width(), body.height());
    painter.save();
    painter.translate(0, -view.top());
    // A picture moved to the next page can start a fraction of a dot above
    // it; the last two dots of a page are kept clear of such slivers.
    painter.setClipRect(view.adjusted(0, 0, 0, -2));
    QAbstractTextDocumentLayout::PaintContext context;
    context.clip = view;
    context.palette.setColor(QPalette::Text, Qt::black);
    document.documentLayout()->draw(&painter, context);
    painter.restore();
    const QString number = QString::number(page + 1);
    painter.setFont(document.defaultFont());
    painter.drawText(QPointF(body.width() - footer.horizontalAdvance(number), paper.height() - footer.descent()),
                     number);
  }
}

struct PictureSpan {
  int position = 0;
  int length = 0;
  QTextImageFormat format;
};

const QColor kRule(160, 160, 160);
const QColor kShade(238, 238, 238);

void SetBlockFormat(const QTextBlock& block, const QTextBlockFormat& format) {
  QTextCursor cursor(block);
  cursor.setBlockFormat(format);
}

// The Markdown reader starts a table that follows a code block with an empty
// line in its first cell, the cell's text coming after it in plain type.
void JoinSplitCell(const QTextTableCell& cell) {
  const QTextBlock first = cell.firstCursorPosition().block();
  const QTextCursor end = cell.lastCursorPosition();
  if (first.length() != 1 || end.block() == first) return;
  QTextCursor text(first.next());
  text.setPosition(end.position(), QTextCursor::KeepAnchor);
  text.mergeCharFormat(first.charFormat());
  QTextCursor(first).deleteChar();
}

}  // namespace

void StyleForPrint(QTextDocument& document) {
  for (QTextFrame* frame : document.rootFrame()->childFrames()) {
    auto* table = qobject_cast<QTextTable*>(frame);
    if (!table) continue;
    for (int row = 0; row < table->rows(); ++row)
      for (int column = 0; column < table->columns(); ++column) JoinSplitCell(table->cellAt(row, column));
    QTextTableFormat format = table->format();
    format.setBorderCollapse(true);
    format.setBorder(1);
    format.setBorderBrush(kRule);
    format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
    format.setCellSpacing(0);
    format.setCellPadding(3);
    // A Markdown table always has a header row; it repeats on each page.
    format.setHeaderRowCount(1);
    table->setFormat(format);
    for (int column = 0; column < table->columns(); ++column) {
      QTextTableCell cell = table->cellAt(0, column);
      QTextCharFormat shaded = cell.format();
      shaded.setBackground(kShade);
      cell.setFormat(shaded);
    }
  }
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    QTextBlockFormat format = block.blockFormat();
    if (QTextCursor(block).currentTable()) {
      format.setTopMargin(0);
      format.setBottomMargin(0);
      SetBlockFormat(block, format);
    } else if (format.hasProperty(QTextFormat::BlockCodeLanguage) || format.hasProperty(QTextFormat::BlockCodeFence)) {
      format.setBackground(kShade);
      SetBlockFormat(block, format);
    }
  }
}

void FitPictures(QTextDocument& document, double maxWidth) {
  // Collected first: changing a format while walking the fragments would
  // split the fragment being walked.
  std::vector<PictureSpan> wide;
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      const QTextFragment fragment = it.fragment();
      if (!fragment.isValid() || !fragment.charFormat().isImageFormat()) continue;
      QTextImageFormat format = fragment.charFormat().toImageFormat();
      const QSizeF natural = NaturalSize(document, format.name());
      if (natural.isEmpty() || natural.width() <= maxWidth) continue;
      format.setWidth(maxWidth);
      format.setHeight(natural.height() * maxWidth / natural.width());
      wide.push_back({fragment.position(), fragment.length(), format});
    }
  }
  for (const PictureSpan& span : wide) {
    QTextCursor cursor(&document);
    cursor.setPosition(span.position);
    cursor.setPosition(span.position + span.length, QTextCursor::KeepAnchor);
    cursor.setCharFormat(span.format);
  }
}

std::optional<QString> LoadGuide(const QString& markdownPath, QTextDocument& document) {
  QFile source(markdownPath);
  if (!source.open(QIODevice::ReadOnly)) return "cannot read " + markdownPath + ": " + source.errorString();
  const std::string markdown = source.readAll().toStdString();
  const QDir folder = QFileInfo(markdownPath).absoluteDir();

  const std::string resolved = ResolvePictures(markdown, [&folder](std::string_view reference) {
    const QFileInfo picture(folder, QString::fromUtf8(reference.data(), static_cast<qsizetype>(reference.size())));
    return picture.isFile() && picture.isReadable();
  });

  document.setBaseUrl(QUrl::fromLocalFile(folder.absolutePath() + "/"));
  QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
  font.setPointSizeF(10);
  document.setDefaultFont(font);
  document.setDocumentMargin(0);
  document.setMarkdown(QString::fromStdString(resolved));
  document.setMetaInformation(QTextDocument::DocumentTitle, QString::fromStdString(DocumentTitle(markdown)));
  StyleForPrint(document);
  FitPictures(document, kTextWidth);
  return std::nullopt;
}

std::optional<QString> ExportPdf(const QString& markdownPath, const QString& pdfPath) {
  QTextDocument document;
  if (auto error = LoadGuide(markdownPath, document)) return error;

  QSaveFile target(pdfPath);
  if (!target.open(QIODevice::WriteOnly)) return "cannot write " + pdfPath + ": " + target.errorString();
  {
    QPdfWriter writer(&target);
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(kMarginMm, kMarginMm, kMarginMm, kMarginMm), QPageLayout::Millimeter));
    writer.setResolution(kResolution);
    writer.setTitle(document.metaInformation(QTextDocument::DocumentTitle));
    writer.setCreator("Quorvel");
    PrintPages(document, writer);
  }
  if (!target.commit()) return "cannot write " + pdfPath + ": " + target.errorString();
  return std::nullopt;
}

}  // namespace quorvel::mdpdf
