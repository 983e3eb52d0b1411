// quorvel-cli new: a project for a device that has none, from a register list
// (CSV) or from ranges typed on the command line. A list with a bad row
// writes nothing: every bad row is named with its line and why.

#include <iterator>
#include <ostream>

#include "app/cli/Cli.h"
#include "app/cli/HexArgs.h"
#include "app/cli/PortArgs.h"
#include "platform/BoundedRead.h"
#include "project/CodePage.h"
#include "project/ListProject.h"
#include "project/ProjectWriter.h"

namespace quorvel::cli {
namespace {

constexpr const char* kNewOptions[] = {"--output", "--title", "--codepage", "--range", "--period"};

}  // namespace

int RunNew(const Args& args, Io& io) {
  // "-o" as `build` takes it.
  Args spelled = args;
  for (std::string& arg : spelled)
    if (arg == "-o") arg = "--output";
  Options options;
  std::string error;
  if (!SplitOptions(spelled, kNewOptions, options, error)) return UsageError(io, "new", error);
  const std::string* output = options.find("--output");
  std::vector<std::string> ranges;
  for (const auto& [name, value] : options.named)
    if (name == "--range") ranges.push_back(value);
  if (!output) return UsageError(io, "new", "-o FILE.qvc is needed");
  if (options.positional.size() + (ranges.empty() ? 0 : 1) != 1) {
    return UsageError(io, "new", "give either a register list (CSV) or --range options");
  }
  const CodePage* codePage = &CodePage::Default();
  if (const std::string* text = options.find("--codepage")) {
    codePage = ParseCodePage(*text, error);
    if (!codePage) return UsageError(io, "new", error);
  }
  ListProjectOptions settings;
  if (const std::string* text = options.find("--period")) {
    const auto value = ParseInteger(*text, 1, 86'400'000);
    if (!value) return UsageError(io, "new", "not a period in milliseconds: '" + *text + "'");
    settings.periodMs = static_cast<std::int32_t>(*value);
  }
  if (const std::string* text = options.find("--title")) settings.title = *text;

  std::vector<RegisterRow> rows;
  std::string source = "new";
  if (ranges.empty()) {
    source = options.positional[0];
    std::string text;
    if (!platform::ReadWholeFile(source, platform::kCsvFileLimit, text, error)) {
      io.err << "quorvel-cli new: " << error << "\n";
      return kFailed;
    }
    RegisterList list = ParseRegisterCsv(text, *codePage);
    for (const std::string& e : list.errors) io.err << source << ": " << e << "\n";
    if (!list.errors.empty()) {
      io.err << "quorvel-cli new: nothing written\n";
      return kFailed;
    }
    rows = std::move(list.rows);
  } else {
    for (const std::string& text : ranges) {
      const auto range = ParseRangeText(text, error);
      if (!range) return UsageError(io, "new", error);
      rows.insert(rows.end(), range->begin(), range->end());
    }
  }
  std::vector<std::uint8_t> bytes;
  std::size_t requests = 0;
  try {
    const ProjectFile file = BuildListProject(rows, settings, *codePage);
    requests = file.Requests.size();
    bytes = WriteProject(file);
  } catch (const std::exception& e) {
    io.err << "quorvel-cli new: " << source << ": " << e.what() << "\n";
    return kFailed;
  }
  if (!SaveProjectBytes(*output, bytes, error)) {
    io.err << "quorvel-cli new: " << error << "\n";
    return kFailed;
  }
  io.out << *output << ": " << rows.size() << " values, " << requests << " read requests\n";
  return kOk;
}

}  // namespace quorvel::cli
