#include "app/DefaultPlacement.h"

#include <algorithm>

namespace quorvel {
namespace {

// In twips at 15 a pixel: the statistics line under the panel, the window's
// caption bar and borders, the least window the desktop makes (320 x 240
// pixels) and the step of the cascade.
constexpr float kStatisticsLine = 330;
constexpr float kCaptionBar = 450;
constexpr float kBorders = 120;
constexpr float kLeastWidth = 4800;
constexpr float kLeastHeight = 3600;
constexpr float kCascadeStep = 375;

bool HasSize(const WindowPlacement& place) { return place.Width > 0 && place.Height > 0; }

}  // namespace

WindowPlacement DefaultFramePlacement(float screenWidth, float screenHeight) {
  return {screenWidth / 6, screenHeight / 6, screenWidth / 1.5f, screenHeight / 1.5f};
}

WindowPlacement DefaultWindowPlacement(const frmQuorvel& window, std::size_t index) {
  float right = 0;
  float bottom = 0;
  float left = 0;
  float top = 0;
  bool any = false;
  for (const auto& control : window.panel().Controls()) {
    const float l = static_cast<float>(control->Left());
    const float t = static_cast<float>(control->Top());
    const float r = l + static_cast<float>(std::max(control->Width(), 0));
    const float b = t + static_cast<float>(std::max(control->Height(), 0));
    left = any ? std::min(left, l) : l;
    top = any ? std::min(top, t) : t;
    right = any ? std::max(right, r) : r;
    bottom = any ? std::max(bottom, b) : b;
    any = true;
  }
  const float panelWidth = right + std::max(0.0f, left);
  const float panelHeight = bottom + std::max(0.0f, top);
  const float step = kCascadeStep * static_cast<float>(index % 10);
  return {step, step, std::max(panelWidth + kBorders, kLeastWidth),
          std::max(panelHeight + kStatisticsLine + kCaptionBar + kBorders, kLeastHeight)};
}

void GiveDefaultPlacements(frmQuorvelMain& frame) {
  if (!HasSize(frame.Placement)) frame.Placement = DefaultFramePlacement();
  std::size_t index = 0;
  for (const auto& window : frame.Devices()) {
    if (!HasSize(window->Placement)) window->Placement = DefaultWindowPlacement(*window, index);
    ++index;
  }
}

}  // namespace quorvel
