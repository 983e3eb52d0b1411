#pragma once

// A project file as JSON, for reading and writing by hand: every stored field
// under a key named after it, texts as Unicode (through the file's code
// page), request data as hex bytes ("00 01 FF"), picture data as base64.
// Doubles are written so that they read back to the same bits; a non-finite
// double appears as the string "0x" + its 16 hex digits.

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "project/ProjectFile.h"

namespace quorvel {

class CodePage;

// A JSON document that does not describe a project; what() names the key.
class ProjectJsonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

nlohmann::ordered_json ProjectToJson(const ProjectFile& file, const CodePage& codePage);

// Missing keys take 0 or "", a missing section table is worked out from the
// records. Throws ProjectJsonError.
ProjectFile ProjectFromJson(const nlohmann::ordered_json& json, const CodePage& codePage);

}  // namespace quorvel
