#pragma once

// A whole project made from a register list: the panel laid out for the
// values, the periodic reads that fetch them, and the window settings a
// device opened for the first time needs. The result loads like any project.

#include <cstdint>
#include <string>
#include <vector>

#include "project/ProjectFile.h"
#include "project/RegisterList.h"

namespace quorvel {

class CodePage;

struct ListProjectOptions {
  std::string title;  // UTF-8; named in the header line and shown above the frames
  std::int32_t periodMs = 1000;
  std::int32_t timeoutMs = 1000;
};

// Throws std::invalid_argument for what the rows cannot become (a text the
// code page lacks, more values than a project holds, a title with a line break).
ProjectFile BuildListProject(const std::vector<RegisterRow>& rows, const ListProjectOptions& options,
                             const CodePage& codePage);

}  // namespace quorvel
