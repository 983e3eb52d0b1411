// libFuzzer target: any bytes as the JSON that `quorvel-cli build` reads.
// A document that builds must give a project file whose own JSON builds the
// same bytes again; and when the built file loads without a failed step,
// what `dump` makes of it builds the same bytes too (build -> dump -> build).
// Anything refused is refused with an exception of the kinds `build` reports.

#include <cstdint>
#include <exception>
#include <string_view>
#include <vector>

#include "FuzzCheck.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectJson.h"
#include "project/ProjectLoader.h"
#include "project/ProjectWriter.h"

using namespace quorvel;
using fuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const nlohmann::ordered_json json = nlohmann::ordered_json::parse(text, nullptr, false);
  if (json.is_discarded()) return 0;
  const CodePage& codePage = CodePage::Default();

  ProjectFile file;
  std::vector<std::uint8_t> built;
  try {
    file = ProjectFromJson(json, codePage);
    built = WriteProject(file);
  } catch (const std::exception&) {
    // `build` reports what() and ends with status 1.
    return 0;
  }

  const nlohmann::ordered_json own = nlohmann::ordered_json::parse(ProjectToJson(file, codePage).dump());
  Check(WriteProject(ProjectFromJson(own, codePage)) == built, "a project's own JSON builds the same bytes");

  Panel panel;
  const ProjectLoad load = LoadProjectBytes(built, "fuzz.qvc", panel, codePage);
  if (!load.ok || load.failedSteps != 0) return 0;
  Check(WriteProject(load.file) == built, "a built file loads and writes back byte for byte");
  const nlohmann::ordered_json dumped = nlohmann::ordered_json::parse(ProjectToJson(load.file, codePage).dump(2));
  Check(WriteProject(ProjectFromJson(dumped, codePage)) == built, "build -> dump -> build gives the same bytes");
  return 0;
}
