#pragma once

// Panel positions and sizes are twips, 1440 to the inch; the screen counts
// pixels at its own resolution.

#include <cstdint>

#include <QRect>

class QScreen;

namespace quorvel {

class Twips {
 public:
  static constexpr double kPerInch = 1440;
  static constexpr double kDefaultDpi = 96;

  // `dpi` dots per inch; anything not above 0 counts as the common 96.
  explicit Twips(double dpi = kDefaultDpi);
  // At the logical resolution of `screen` (96 without one).
  static Twips ForScreen(const QScreen* screen);

  double Dpi() const { return dpi_; }
  // Rounded to the nearest pixel, halves away from zero, as Windows scales.
  int ToPixels(std::int32_t twips) const;
  std::int32_t ToTwips(int pixels) const;
  // Each of the four values scaled on its own, as a control's properties are.
  QRect ToRect(std::int32_t left, std::int32_t top, std::int32_t width, std::int32_t height) const;
  // Points to pixels at this resolution, 72 points to the inch.
  int PointsToPixels(double points) const;

 private:
  double dpi_;
};

}  // namespace quorvel
