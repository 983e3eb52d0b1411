// quorvel-cli dump / build: a project file as JSON and back, so that a file
// written by the editor can be looked into and a test project made by hand.

#include <charconv>
#include <iterator>
#include <optional>
#include <ostream>

#include "app/cli/Cli.h"
#include "app/cli/HexArgs.h"
#include "platform/BoundedRead.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectJson.h"
#include "project/ProjectLoader.h"
#include "project/ProjectWriter.h"

namespace quorvel::cli {
namespace {

struct ProjectArgs {
  std::vector<std::string> positional;
  std::optional<std::string> output;
  std::optional<int> codePage;
};

// Reads FILE, "-o FILE" (when `withOutput`) and "--codepage N"; on failure
// prints why with the usage line and returns nullopt.
std::optional<ProjectArgs> ParseArgs(const std::string& command, const Args& args, bool withOutput, Io& io,
                                     int& status) {
  ProjectArgs parsed;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const bool isOutput = withOutput && (arg == "-o" || arg == "--output");
    if (isOutput || arg == "--codepage") {
      if (i + 1 >= args.size()) {
        status = UsageError(io, command, "option " + arg + " needs a value");
        return std::nullopt;
      }
      const std::string& value = args[++i];
      if (isOutput) {
        parsed.output = value;
        continue;
      }
      std::string error;
      const CodePage* page = ParseCodePage(value, error);
      if (!page) {
        status = UsageError(io, command, error);
        return std::nullopt;
      }
      parsed.codePage = page->Number();
    } else if (arg.size() > 1 && arg[0] == '-') {
      status = UsageError(io, command, "unknown option " + arg);
      return std::nullopt;
    } else {
      parsed.positional.push_back(arg);
    }
  }
  if (parsed.positional.size() != 1 || (withOutput && !parsed.output)) {
    status = UsageError(io, command);
    return std::nullopt;
  }
  return parsed;
}

}  // namespace

int RunDump(const Args& args, Io& io) {
  int status = kOk;
  const auto parsed = ParseArgs("dump", args, false, io, status);
  if (!parsed) return status;
  const CodePage& codePage = *CodePage::Find(parsed->codePage.value_or(1252));
  Panel panel;
  const ProjectLoad load = LoadProject(parsed->positional[0], panel, codePage);
  for (const std::string& message : load.messages) io.err << message << "\n";
  if (!load.ok) return kFailed;
  nlohmann::ordered_json json = ProjectToJson(load.file, codePage);
  if (load.failedSteps > 0) {
    json["failedSteps"] = load.failedSteps;
    io.err << "quorvel-cli dump: " << load.failedSteps
           << " step(s) of loading failed and were skipped; the file is damaged\n";
  }
  io.out << json.dump(2) << "\n";
  return kOk;
}

int RunBuild(const Args& args, Io& io) {
  int status = kOk;
  const auto parsed = ParseArgs("build", args, true, io, status);
  if (!parsed) return status;
  const std::string& source = parsed->positional[0];
  std::string text, problem;
  if (!platform::ReadWholeFile(source, platform::kJsonFileLimit, text, problem)) {
    io.err << "quorvel-cli build: " << problem << "\n";
    return kFailed;
  }
  nlohmann::ordered_json json;
  try {
    json = nlohmann::ordered_json::parse(text);
  } catch (const nlohmann::json::parse_error& e) {
    io.err << "quorvel-cli build: " << source << " is no JSON: " << e.what() << "\n";
    return kFailed;
  }
  // The code page a dump names is the one its texts came through.
  int number = 1252;
  if (parsed->codePage) {
    number = *parsed->codePage;
  } else if (json.is_object() && json.contains("codepage")) {
    const auto& given = json["codepage"];
    if (!given.is_number_integer() || !CodePage::Find(given.get<int>())) {
      io.err << "quorvel-cli build: " << source << ": codepage: unsupported code page " << given.dump() << "\n";
      return kFailed;
    }
    number = given.get<int>();
  }
  std::vector<std::uint8_t> bytes;
  try {
    bytes = WriteProject(ProjectFromJson(json, *CodePage::Find(number)));
  } catch (const std::exception& e) {
    io.err << "quorvel-cli build: " << source << ": " << e.what() << "\n";
    return kFailed;
  }
  std::string error;
  if (!SaveProjectBytes(*parsed->output, bytes, error)) {
    io.err << "quorvel-cli build: " << error << "\n";
    return kFailed;
  }
  return kOk;
}

}  // namespace quorvel::cli
