#include "project/ListProject.h"

#include <stdexcept>

#include "convert/AddressCode.h"
#include "project/CodePage.h"
#include "project/PanelLayout.h"
#include "project/PollPlan.h"

namespace quorvel {
namespace {

// Exception answers 1 to 4 when the project plays the device as a slave;
// the write functions 15, 16, 22 and 23 only when something may be written.
enum : std::int16_t { kExceptionAnswers = 0x0F, kWriteFunctions = 0xF0 };
// The pause between an answer and the next request, as the sample device has it.
constexpr std::int32_t kInterval = 20;
// A caption, frame and value box take three elements; the section table counts to 32767.
constexpr std::size_t kMostValues = 10000;

std::string Encode(const CodePage& codePage, const std::string& text, const std::string& what) {
  try {
    return codePage.FromUtf8(text);
  } catch (const CodePageError& e) {
    throw std::invalid_argument(what + ": " + e.what());
  }
}

}  // namespace

ProjectFile BuildListProject(const std::vector<RegisterRow>& rows, const ListProjectOptions& options,
                             const CodePage& codePage) {
  if (rows.empty()) throw std::invalid_argument("no values to show");
  if (rows.size() > kMostValues) {
    throw std::invalid_argument(std::to_string(rows.size()) + " values; a project shows at most " +
                                std::to_string(kMostValues));
  }
  if (options.title.find_first_of("\r\n") != std::string::npos) {
    throw std::invalid_argument("the title is one line");
  }
  const std::string title = Encode(codePage, options.title, "title");
  ProjectFile file;
  file.Header = std::string(kProjectTag) + (title.empty() ? "" : " " + title) + "\r\n";
  if (file.Header.size() > 256) throw std::invalid_argument("the title is longer than 230 characters");

  std::vector<PanelValue> values;
  std::vector<std::uint32_t> codes;
  bool writable = false;
  for (const RegisterRow& row : rows) {
    const std::string where = row.line > 0 ? "line " + std::to_string(row.line) + ": " : "";
    values.push_back({Encode(codePage, row.label, where + "label"), row.code,
                      Encode(codePage, row.format, where + "format"), row.k, row.x0});
    codes.push_back(row.code);
    writable = writable || row.writable;
  }
  PanelLayout panel = LayOutPanel(values, title);
  file.Elements = std::move(panel.elements);
  file.Requests = PlanReads(codes, options.periodMs);
  // The header's window settings: the polling period and the panel's size.
  file.Setting1 = options.periodMs;
  file.Setting2 = panel.width;
  file.Setting3 = panel.height;
  file.Exeptions = static_cast<std::int16_t>(kExceptionAnswers | (writable ? kWriteFunctions : 0));
  file.DirectWrite = writable ? -1 : 0;
  file.Timeout = options.timeoutMs;
  file.Interval = kInterval;
  file.Sections = SectionsFor(file);
  return file;
}

}  // namespace quorvel
