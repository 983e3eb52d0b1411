#pragma once

// Paths in session files. A session names its projects relative to its own
// directory when they share a directory with it, so that a folder of
// projects and sessions can move as a whole. Sessions written on Windows name
// them with "\" and drive letters, in any letter case; those written here use
// "/".

#include <string>

namespace quorvel {

enum class PathStyle {
  Native,   // "/" separators, names compared exactly
  Windows,  // "\" separators, names compared ignoring letter case
};

// The directory part of `path`, without the separator that ends it; "" when
// the path has no separator.
std::string GetDir(const std::string& path, PathStyle style = PathStyle::Native);

// `target` relative to the directory of the file `base` ("..", separator, as
// often as needed, then the rest of the target below the common directory,
// at most 1000 characters of it); "" when the two share no directory at all,
// as paths on two Windows drives do.
std::string RelativePath(const std::string& base, const std::string& target, PathStyle style = PathStyle::Native);

// What a session file at `sessionFile` stores for a project at
// `projectFile`: the relative form when it leads back to the same file, else
// the absolute path.
std::string StoredProjectPath(const std::string& sessionFile, const std::string& projectFile);

// The full path of a project named `stored` in a session in `sessionDir` (an
// absolute directory). A path written with "\" is taken as written when such
// a file exists here, else with "/" in place of each "\". A Windows absolute
// path ("C:\...", "\\server\...") that names no file here comes back as it
// stands, so that the loader reports it as the user knows it.
std::string ResolveProjectPath(const std::string& sessionDir, const std::string& stored);

}  // namespace quorvel
