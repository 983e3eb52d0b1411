#pragma once

// Writing a whole file so that a reader, or a crash half way, sees either the
// old content or the new one and never a torn mix: the bytes go to a fresh
// file beside the target, which then replaces it in one rename.

#include <string>
#include <string_view>

namespace quorvel::platform {

// Replaces the file at `path` with `bytes`. A symbolic link is written
// through, and an existing file keeps its permission bits. On failure the old
// file is left as it was and `error` says why.
bool WriteFileAtomically(const std::string& path, std::string_view bytes, std::string& error);

}  // namespace quorvel::platform
