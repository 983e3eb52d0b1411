#include "project/QuickPoll.h"

#include <stdexcept>

#include "project/ListProject.h"
#include "project/RegisterList.h"

namespace quorvel {

ProjectFile BuildQuickPollProject(const QuickPoll& poll, const CodePage& codePage) {
  static const char* const kTables[] = {"C", "DI", "HR", "IR"};
  if (poll.function < 1 || poll.function > 4) throw std::invalid_argument("a poll reads with function 1, 2, 3 or 4");
  if (poll.quantity < 1 || poll.start < 0 || poll.start + poll.quantity - 1 > 0xFFFF) {
    throw std::invalid_argument("the block must lie within addresses 0..65535");
  }
  const std::string text = std::string(kTables[poll.function - 1]) + ":" + std::to_string(poll.start) + "-" +
                           std::to_string(poll.start + poll.quantity - 1) + ":" + poll.type;
  std::string error;
  const auto rows = ParseRangeText(text, error);
  if (!rows) throw std::invalid_argument(error);
  ListProjectOptions options;
  options.periodMs = poll.periodMs;
  options.title = "Function " + std::to_string(poll.function) + ", " + std::to_string(poll.start) + ".." +
                  std::to_string(poll.start + poll.quantity - 1);
  return BuildListProject(*rows, options, codePage);
}

}  // namespace quorvel
