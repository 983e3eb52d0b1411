#pragma once

// The upper halves of the supported Windows code pages, one code point per
// byte 0x80..0xFF (the lower half is ASCII in all of them).

namespace quorvel::detail {

extern const char16_t kCp1250High[128];
extern const char16_t kCp1251High[128];
extern const char16_t kCp1252High[128];
extern const char16_t kCp1253High[128];
extern const char16_t kCp1254High[128];
extern const char16_t kCp1257High[128];

}  // namespace quorvel::detail
