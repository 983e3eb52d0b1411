#pragma once

// Lays out a panel for a list of values without anyone drawing it: a frame
// per table (holding registers, input registers, coils, discrete inputs),
// inside it a caption and a value box per value in columns of at most 16
// rows, every column as wide as its longest caption and value need. Units
// are twips, as project files count them.

#include <cstdint>
#include <string>
#include <vector>

#include "project/ProjectRecords.h"

namespace quorvel {

struct PanelValue {
  std::string caption;  // in the project's code page
  std::uint32_t code = 0;
  std::string format;  // in the project's code page; empty for the default
  double k = 1;
  double x0 = 0;
};

struct PanelLayout {
  std::vector<ElementRecord> elements;  // frames first, then caption and box of each value
  int width = 0;
  int height = 0;
};

inline constexpr int kRowsPerColumn = 16;

// `title` (code page bytes) is put above the frames when not empty.
PanelLayout LayOutPanel(const std::vector<PanelValue>& values, const std::string& title);

// Characters the value box of an element must hold: its widest text.
int ValueTextChars(std::uint32_t code, const std::string& format);

}  // namespace quorvel
