#pragma once

// Reading a shown text back through the picture it was shown with. The edit
// box starts with what the label shows, so the picture's own parts (a unit,
// quoted or escaped text, '%') come off before the number is read, the section
// that matches says whether the number was shown without its sign, and the
// picture's percent and thousands scaling is undone.

#include <string>
#include <string_view>

namespace quorvel {

struct PictureReading {
  std::string number;     // the typed text with the picture's own parts taken off
  double factor = 1;      // the value is the number read times this
  bool negate = false;    // matched the negative section, which shows no sign of its own
  bool grouping = false;  // the picture groups digits in threes with ','
  std::string unit;       // the picture's own text, to name when the number does not read
};

// Tries each section of the format's picture and keeps the one whose own
// parts are found most fully in `text` (the first on a tie). A part that is
// not typed is not missed: a bare number is read as it stands.
PictureReading ReadThroughPicture(std::string_view text, std::string_view format);

}  // namespace quorvel
