#include "device/qt/Twips.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <QScreen>

namespace quorvel {
namespace {

// Rounds halves away from zero and keeps the result inside `T`, so that no
// stored value, however wild, overflows.
template <typename T>
T Rounded(double v) {
  if (std::isnan(v)) return 0;
  const double low = std::numeric_limits<T>::min();
  const double high = std::numeric_limits<T>::max();
  return static_cast<T>(std::clamp(std::round(v), low, high));
}

// Far beyond any screen, and small enough that QRect's edge sums cannot overflow.
constexpr int kFar = 1 << 28;

}  // namespace

Twips::Twips(double dpi) : dpi_(dpi > 0 && std::isfinite(dpi) ? dpi : kDefaultDpi) {}

Twips Twips::ForScreen(const QScreen* screen) { return Twips(screen ? screen->logicalDotsPerInch() : kDefaultDpi); }

int Twips::ToPixels(std::int32_t twips) const { return Rounded<int>(twips * dpi_ / kPerInch); }

std::int32_t Twips::ToTwips(int pixels) const { return Rounded<std::int32_t>(pixels * kPerInch / dpi_); }

QRect Twips::ToRect(std::int32_t left, std::int32_t top, std::int32_t width, std::int32_t height) const {
  const auto place = [](int v) { return std::clamp(v, -kFar, kFar); };
  const auto size = [](int v) { return std::clamp(v, 0, kFar); };
  return QRect(place(ToPixels(left)), place(ToPixels(top)), size(ToPixels(width)), size(ToPixels(height)));
}

int Twips::PointsToPixels(double points) const { return Rounded<int>(points * dpi_ / 72); }

}  // namespace quorvel
