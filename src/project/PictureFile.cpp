#include "project/PictureFile.h"

#include <algorithm>
#include <array>

namespace quorvel {
namespace {

bool StartsWith(std::span<const std::uint8_t> bytes, std::initializer_list<std::uint8_t> magic) {
  return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

}  // namespace

PictureKind DetectPicture(std::span<const std::uint8_t> bytes) {
  if (StartsWith(bytes, {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A})) return PictureKind::Png;
  if (StartsWith(bytes, {'G', 'I', 'F', '8', '7', 'a'}) || StartsWith(bytes, {'G', 'I', 'F', '8', '9', 'a'})) {
    return PictureKind::Gif;
  }
  if (StartsWith(bytes, {0xFF, 0xD8, 0xFF})) return PictureKind::Jpeg;
  // A bitmap file header is 14 bytes and is followed by the info header.
  if (StartsWith(bytes, {'B', 'M'}) && bytes.size() > 26) return PictureKind::Bmp;
  // Icons and cursors: reserved 0, type 1 or 2, at least one image.
  if ((StartsWith(bytes, {0, 0, 1, 0}) || StartsWith(bytes, {0, 0, 2, 0})) && bytes.size() >= 6 &&
      (bytes[4] | bytes[5]) != 0) {
    return PictureKind::Icon;
  }
  return PictureKind::None;
}

std::string_view PictureKindName(PictureKind kind) {
  switch (kind) {
    case PictureKind::Png:
      return "png";
    case PictureKind::Bmp:
      return "bmp";
    case PictureKind::Gif:
      return "gif";
    case PictureKind::Jpeg:
      return "jpg";
    case PictureKind::Icon:
      return "ico";
    case PictureKind::None:
      break;
  }
  return "";
}

}  // namespace quorvel
