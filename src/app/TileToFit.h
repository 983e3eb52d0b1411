#pragma once

// "Tile to Fit": the device windows at the sizes their panels need, side by
// side in rows while the frame has room for them all; where it has not, they
// overlap evenly from the top left to the bottom right corner, so that each
// shows its caption and the start of its panel, and the last one all of it.

#include <vector>

namespace quorvel {

struct TileSize {
  int width = 0;
  int height = 0;
};

struct TileRect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  bool operator==(const TileRect&) const = default;
};

// One rectangle per wanted size, in pixels of an area of `area`'s size.
std::vector<TileRect> TileToFit(TileSize area, const std::vector<TileSize>& wanted);

}  // namespace quorvel
