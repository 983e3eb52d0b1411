#pragma once

// Reads a project file into a device window's model: the stored file itself,
// the display elements filed by their tables, the requests in file order and
// the panel's controls made through the window's PanelFactory.
//
// Only two things refuse a file: a path that does not exist and a first line
// without the project tag. Everything else is read as far as it goes: a step
// that fails (a short file, a count that does not fit, a picture that cannot
// be shown) is skipped and loading goes on, so what could be read is kept.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "project/CtrlProp.h"
#include "project/ProjectFile.h"
#include "project/ReqProp.h"

namespace quorvel {

class CodePage;
class PanelFactory;

// An element filed under the Index of its control, as text.
struct FiledElement {
  std::string key;
  std::shared_ptr<CtrlProp> element;
};
using ElementCollection = std::vector<FiledElement>;

struct ProjectLoad {
  bool ok = false;
  // What the user is told, in order ("Path not found: ...", "Unknown file format: ...").
  std::vector<std::string> messages;
  // The file's name as the file system gave it.
  std::string title;
  // Steps that failed and were skipped; 0 for a sound file.
  int failedSteps = 0;

  ProjectFile file;
  ElementCollection HoldingElements;
  ElementCollection InputRegElements;
  ElementCollection CoilElements;
  ElementCollection DiscreteElements;
  ElementCollection PictureElements;
  std::vector<std::shared_ptr<ReqProp>> Requests;
};

// Loads the project at `path`.
ProjectLoad LoadProject(const std::string& path, PanelFactory& panel, const CodePage& codePage);

// Loads a project already in memory; `path` only names it in messages.
ProjectLoad LoadProjectBytes(std::span<const std::uint8_t> bytes, const std::string& path, PanelFactory& panel,
                             const CodePage& codePage);

inline constexpr const char* kPathNotFound = "Path not found: ";
inline constexpr const char* kUnknownFormat = "Unknown file format: ";

}  // namespace quorvel
