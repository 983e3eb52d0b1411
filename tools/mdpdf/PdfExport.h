// Printing a Markdown guide to a PDF file with Qt's text engine.
#pragma once

#include <QString>
#include <optional>

class QTextDocument;

namespace quorvel::mdpdf {

// A4 pages with 20 mm margins all round, drawn at 300 dots to the inch.
inline constexpr double kMarginMm = 20.0;
inline constexpr int kResolution = 300;
// Pictures are measured in the document's units, 96 to the inch; the text
// between the margins is 170 mm wide.
inline constexpr double kTextWidth = (210.0 - 2 * kMarginMm) / 25.4 * 96.0;

// Scales every picture wider than `maxWidth` down to that width, keeping its
// proportions; smaller ones keep their own size. Pictures that cannot be read
// are left alone.
void FitPictures(QTextDocument& document, double maxWidth);

// Gives tables thin ruled borders with padded cells and a shaded header row,
// and code blocks a grey background. Also drops paragraph margins that the
// Markdown reader carries into the first cell of a table.
void StyleForPrint(QTextDocument& document);

// Reads a Markdown guide into `document`, ready to print: pictures are found
// relative to the Markdown file, missing ones are replaced by their
// alternative text, wide ones fitted to the text width; the first heading
// becomes the title. Returns the reason on failure.
std::optional<QString> LoadGuide(const QString& markdownPath, QTextDocument& document);

// Prints the guide into an A4 PDF with page numbers. The PDF appears only
// when it is complete, so a failed run leaves an earlier one as it was.
// Returns the reason on failure.
std::optional<QString> ExportPdf(const QString& markdownPath, const QString& pdfPath);

}  // namespace quorvel::mdpdf
