// mdpdf: prints a Markdown guide to PDF at build time, with no display.
//   mdpdf GUIDE.md GUIDE.pdf

#include <QGuiApplication>
#include <cstdio>

#include "PdfExport.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: mdpdf INPUT.md OUTPUT.pdf\n");
    return 2;
  }
  // A build machine has no display; text layout needs fonts, not a screen.
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  const QString input = QString::fromLocal8Bit(argv[1]);
  const QString output = QString::fromLocal8Bit(argv[2]);
  if (const auto error = quorvel::mdpdf::ExportPdf(input, output)) {
    std::fprintf(stderr, "mdpdf: %s\n", qUtf8Printable(*error));
    return 1;
  }
  return 0;
}
