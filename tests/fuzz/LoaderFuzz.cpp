// libFuzzer target: any bytes as a project file. The loader must never crash
// or allocate beyond the input; a file that loads without a failed step must
// write back byte for byte, directly and through its JSON form; and what was
// loaded must be usable (values shown, request buffers filled).

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <span>

#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectJson.h"
#include "project/ProjectLoader.h"
#include "project/ProjectWriter.h"

namespace {

using namespace quorvel;

void Use(const ProjectLoad& load, double value) {
  for (const ElementCollection* c : {&load.HoldingElements, &load.InputRegElements, &load.CoilElements,
                                     &load.DiscreteElements, &load.PictureElements}) {
    for (const FiledElement& filed : *c) filed.element->SetData(value);
  }
  for (const auto& request : load.Requests) {
    ReqProp copy;
    const std::uint32_t code = static_cast<std::uint32_t>(request->ReadAddr());
    try {
      copy.Copy(*request);
      copy.LetBytes(value, code);
      copy.GetMaskData(copy.FillMaskData(code), code);
    } catch (const std::exception&) {
      // Index and overflow failures are the caller's to handle.
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> input(data, size);
  const CodePage& codePage = CodePage::Default();
  Panel panel;
  const ProjectLoad load = LoadProjectBytes(input, "fuzz.qvc", panel, codePage);
  if (!load.ok) return 0;

  double value = 0;
  if (size >= sizeof value) std::memcpy(&value, data + size - sizeof value, sizeof value);
  Use(load, value);

  const std::vector<std::uint8_t> written = WriteProject(load.file);
  if (load.failedSteps != 0) return 0;
  if (!std::equal(written.begin(), written.end(), input.begin(), input.end())) std::abort();
  const auto json = nlohmann::ordered_json::parse(ProjectToJson(load.file, codePage).dump());
  if (WriteProject(ProjectFromJson(json, codePage)) != written) std::abort();
  return 0;
}
