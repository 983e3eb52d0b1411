#include "device/qt/FontMap.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <QFontDatabase>

#include "device/qt/Twips.h"

namespace quorvel {
namespace {

enum class FaceKind { Sans, Serif, Mono };

// Windows faces whose kind their names do not tell.
struct KnownFace {
  std::string_view name;  // lower case
  FaceKind kind;
};
constexpr std::array<KnownFace, 14> kKnownFaces = {{
    {"times new roman", FaceKind::Serif},
    {"times", FaceKind::Serif},
    {"ms serif", FaceKind::Serif},
    {"georgia", FaceKind::Serif},
    {"book antiqua", FaceKind::Serif},
    {"palatino linotype", FaceKind::Serif},
    {"century schoolbook", FaceKind::Serif},
    {"garamond", FaceKind::Serif},
    {"courier new", FaceKind::Mono},
    {"courier", FaceKind::Mono},
    {"fixedsys", FaceKind::Mono},
    {"terminal", FaceKind::Mono},
    {"lucida console", FaceKind::Mono},
    {"consolas", FaceKind::Mono},
}};

// Stand-ins in order of preference: the metric-compatible faces first, so
// that captions keep the width they were laid out for.
constexpr std::array<const char*, 5> kSansFaces = {"Liberation Sans", "Arimo", "DejaVu Sans", "Noto Sans", "FreeSans"};
constexpr std::array<const char*, 5> kSerifFaces = {"Liberation Serif", "Tinos", "DejaVu Serif", "Noto Serif",
                                                    "FreeSerif"};
constexpr std::array<const char*, 5> kMonoFaces = {"Liberation Mono", "Cousine", "DejaVu Sans Mono", "Noto Sans Mono",
                                                   "FreeMono"};

FaceKind KindOf(const QString& face) {
  const QString lower = face.trimmed().toLower();
  for (const KnownFace& known : kKnownFaces) {
    if (lower == QLatin1String(known.name.data(), static_cast<qsizetype>(known.name.size()))) return known.kind;
  }
  if (lower.contains(QLatin1String("mono"))) return FaceKind::Mono;
  if (lower.contains(QLatin1String("serif")) && !lower.contains(QLatin1String("sans"))) return FaceKind::Serif;
  return FaceKind::Sans;
}

template <std::size_t N>
QString FirstInstalled(const std::array<const char*, N>& faces, QFontDatabase::SystemFont fallback) {
  for (const char* face : faces) {
    if (QFontDatabase::hasFamily(QString::fromLatin1(face))) return QString::fromLatin1(face);
  }
  return QFontDatabase::systemFont(fallback).family();
}

}  // namespace

QString InstalledFace(const std::string& face) {
  const QString name = QString::fromStdString(face).trimmed();
  if (!name.isEmpty() && QFontDatabase::hasFamily(name)) return name;
  switch (KindOf(name)) {
    case FaceKind::Serif:
      return FirstInstalled(kSerifFaces, QFontDatabase::GeneralFont);
    case FaceKind::Mono:
      return FirstInstalled(kMonoFaces, QFontDatabase::FixedFont);
    case FaceKind::Sans:
      break;
  }
  return FirstInstalled(kSansFaces, QFontDatabase::GeneralFont);
}

QFont PanelFont(const FontSettings& settings, double dpi) {
  // A size the editor cannot have made (0, negative, absurd) falls back to the
  // toolkit's default of 8 points or is held to a size a panel can show.
  constexpr int kDefaultPoints = 8;
  constexpr int kLargestPoints = 500;
  const int points = settings.Size > 0 ? std::min(settings.Size, kLargestPoints) : kDefaultPoints;
  QFont font(InstalledFace(settings.Name));
  font.setPixelSize(std::max(1, Twips(dpi).PointsToPixels(points)));
  font.setBold(settings.Bold);
  font.setItalic(settings.Italic);
  font.setUnderline(settings.Underline);
  font.setStrikeOut(settings.Strikethru);
  return font;
}

}  // namespace quorvel
