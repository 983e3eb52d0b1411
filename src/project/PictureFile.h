#pragma once

// Pictures are recognised by their content, never by the extension stored
// beside them.

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

namespace quorvel {

class PictureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class PictureKind { None, Png, Bmp, Gif, Jpeg, Icon };

// The kind of picture file these bytes are, or None.
PictureKind DetectPicture(std::span<const std::uint8_t> bytes);

std::string_view PictureKindName(PictureKind kind);

}  // namespace quorvel
