#include "project/QuickPoll.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "convert/AddressCode.h"
#include "project/CodePage.h"

namespace quorvel {
namespace {

constexpr std::uint32_t kPlace = AddressCode::kTableMask | AddressCode::kAddressMask;

bool SameTable(std::uint32_t a, std::uint32_t b) {
  return (a & AddressCode::kTableMask) == (b & AddressCode::kTableMask);
}

std::uint32_t First(std::uint32_t code) { return code & AddressCode::kAddressMask; }
std::uint32_t Last(std::uint32_t code) {
  return First(code) + static_cast<std::uint32_t>(AddressCode(code).width()) - 1;
}

// The row showing the value at `code`'s table and address, or rows.end().
std::vector<RegisterRow>::iterator RowAt(std::vector<RegisterRow>& rows, std::uint32_t code, std::string& error) {
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const RegisterRow& row) { return (row.code & kPlace) == (code & kPlace); });
  if (found == rows.end()) error = "There is no value " + AddressCaption(code) + " in this poll.";
  return found;
}

}  // namespace

QuickPollList QuickPollRows(const QuickPoll& poll) {
  static const char* const kTables[] = {"C", "DI", "HR", "IR"};
  if (poll.function < 1 || poll.function > 4) throw std::invalid_argument("a poll reads with function 1, 2, 3 or 4");
  if (poll.quantity < 1 || poll.start < 0 || poll.start + poll.quantity - 1 > 0xFFFF) {
    throw std::invalid_argument("the block must lie within addresses 0..65535");
  }
  const std::string text = std::string(kTables[poll.function - 1]) + ":" + std::to_string(poll.start) + "-" +
                           std::to_string(poll.start + poll.quantity - 1) + ":" + poll.type;
  std::string error;
  auto rows = ParseRangeText(text, error);
  if (!rows) throw std::invalid_argument(error);
  QuickPollList list;
  list.rows = std::move(*rows);
  list.options.periodMs = poll.periodMs;
  list.options.title = "Function " + std::to_string(poll.function) + ", " + std::to_string(poll.start) + ".." +
                       std::to_string(poll.start + poll.quantity - 1);
  return list;
}

ProjectFile BuildQuickPollProject(const QuickPoll& poll, const CodePage& codePage) {
  const QuickPollList list = QuickPollRows(poll);
  return BuildListProject(list.rows, list.options, codePage);
}

bool RetypeRow(std::vector<RegisterRow>& rows, std::uint32_t code, std::string_view type, bool swapped,
               std::string& error) {
  const auto row = RowAt(rows, code, error);
  if (row == rows.end()) return false;
  const std::string table = TableNameOf(row->code);
  const std::uint32_t first = First(row->code);
  const auto changed = ElementCodeFor(table, first, type, swapped, error);
  if (!changed) return false;
  if (*changed == row->code) return true;

  std::uint32_t top = 0;
  for (const RegisterRow& other : rows)
    if (SameTable(other.code, row->code)) top = std::max(top, Last(other.code));
  const std::uint32_t last = Last(*changed);
  if (last > top) {
    const bool bits = AddressCode(*changed).isBit();
    error = AddressCaption(row->code) + " as " + std::string(type) + " would need " + (bits ? "bit " : "register ") +
            std::to_string(last) + ", past the last one this poll reads (" + std::to_string(top) + ").";
    return false;
  }

  // What the value and those it takes in covered before, to give back what
  // the new one leaves out.
  std::set<std::uint32_t> covered;
  const auto inside = [&](const RegisterRow& other) {
    return SameTable(other.code, *changed) && First(other.code) > first && First(other.code) <= last;
  };
  for (const RegisterRow& other : rows) {
    if (&other != &*row && !inside(other)) continue;
    for (std::uint32_t a = First(other.code); a <= Last(other.code); ++a) covered.insert(a);
  }
  RegisterRow kept = *row;
  kept.code = *changed;
  kept.format.clear();

  std::vector<RegisterRow> result;
  for (const RegisterRow& other : rows) {
    if (inside(other)) continue;
    if ((other.code & kPlace) != (code & kPlace)) {
      result.push_back(other);
      continue;
    }
    result.push_back(kept);
    const bool single = AddressCode(*changed).width() == 1 && !AddressCode(*changed).isBit();
    const std::string refill = AddressCode(*changed).isBit() ? "bits:1" : single ? std::string(type) : "int16";
    for (const std::uint32_t a : covered) {
      if (a <= last) continue;
      RegisterRow freed;
      freed.code = *ElementCodeFor(table, a, refill, false, error);
      freed.label = AddressCaption(freed.code);
      result.push_back(std::move(freed));
    }
  }
  rows = std::move(result);
  return true;
}

bool ReformatRow(std::vector<RegisterRow>& rows, std::uint32_t code, const std::string& format,
                 const CodePage& codePage, std::string& error) {
  const auto row = RowAt(rows, code, error);
  if (row == rows.end()) return false;
  if (format.find_first_of("\r\n") != std::string::npos) {
    error = "A display picture is one line.";
    return false;
  }
  try {
    codePage.FromUtf8(format);
  } catch (const CodePageError& e) {
    error = std::string("The display picture: ") + e.what();
    return false;
  }
  row->format = format;
  return true;
}

}  // namespace quorvel
