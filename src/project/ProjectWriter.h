#pragma once

// Writes a project file from its in-memory form. A file that loaded without a
// failed step comes out byte for byte as it was read.

#include <cstdint>
#include <string>
#include <vector>

#include "project/ProjectFile.h"

namespace quorvel {

// Throws std::length_error for a text or block whose length its field cannot hold.
std::vector<std::uint8_t> WriteProject(const ProjectFile& file);

// Writes the bytes to `path`; false with `error` set when that fails.
bool SaveProjectBytes(const std::string& path, const std::vector<std::uint8_t>& bytes, std::string& error);

}  // namespace quorvel
