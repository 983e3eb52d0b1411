#include "app/TileToFit.h"

#include <algorithm>

namespace quorvel {
namespace {

// Rows, left to right; empty when the last row would run past the bottom.
std::vector<TileRect> InRows(TileSize area, const std::vector<TileSize>& sizes) {
  std::vector<TileRect> placed;
  int x = 0, y = 0, rowHeight = 0;
  for (const TileSize& size : sizes) {
    if (x > 0 && x + size.width > area.width) {
      x = 0;
      y += rowHeight;
      rowHeight = 0;
    }
    if (y + size.height > area.height) return {};
    placed.push_back({x, y, size.width, size.height});
    x += size.width;
    rowHeight = std::max(rowHeight, size.height);
  }
  return placed;
}

}  // namespace

std::vector<TileRect> TileToFit(TileSize area, const std::vector<TileSize>& wanted) {
  std::vector<TileSize> sizes;
  TileSize largest;
  for (const TileSize& size : wanted) {
    sizes.push_back({std::clamp(size.width, 0, std::max(area.width, 0)), std::clamp(size.height, 0, std::max(area.height, 0))});
    largest = {std::max(largest.width, sizes.back().width), std::max(largest.height, sizes.back().height)};
  }
  if (std::vector<TileRect> rows = InRows(area, sizes); !rows.empty() || sizes.empty()) return rows;

  const int steps = static_cast<int>(sizes.size()) - 1;
  std::vector<TileRect> spread;
  for (int i = 0; i <= steps; ++i) {
    const TileSize& size = sizes[static_cast<std::size_t>(i)];
    spread.push_back({steps ? (area.width - largest.width) * i / steps : 0,
                      steps ? (area.height - largest.height) * i / steps : 0, size.width, size.height});
  }
  return spread;
}

}  // namespace quorvel
