#include "project/RegisterList.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "project/CodePage.h"

namespace quorvel {
namespace {

struct TypeEntry {
  const char* name;
  std::uint32_t bits;  // type field and flags of the address code
};

constexpr std::uint32_t Type(int t) { return static_cast<std::uint32_t>(t) << AddressCode::kTypeShift; }

// Bytes in registers are taken unsigned (0..255); bin8 shows the low byte.
constexpr std::array<TypeEntry, 12> kRegisterTypes = {{
    {"int16", 0},
    {"uint16", AddressCode::kUnsigned},
    {"int32", Type(1)},
    {"uint32", Type(1) | AddressCode::kUnsigned},
    {"float32", Type(2)},
    {"float64", Type(3)},
    {"hex16", AddressCode::kHex},
    {"hex32", Type(1) | AddressCode::kHex},
    {"bin16", AddressCode::kBinary},
    {"bin8", Type(5) | AddressCode::kBinary},
    {"hi8", Type(4) | AddressCode::kUnsigned},
    {"lo8", Type(5) | AddressCode::kUnsigned},
}};

struct TableEntry {
  const char* name;
  std::uint32_t bits;
};

constexpr std::array<TableEntry, 4> kTables = {{
    {"HR", 0},
    {"IR", AddressCode::kInputTable},
    {"C", AddressCode::kBitElement},
    {"DI", AddressCode::kBitElement | AddressCode::kInputTable},
}};

std::string Lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

// Decimal or 0x hex, no sign.
std::optional<std::uint32_t> ParseUnsigned(std::string_view text) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
    base = 16;
  }
  std::uint32_t value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (text.empty() || ec != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> ParseNumber(std::string_view text) {
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || ec != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

std::optional<std::vector<std::string>> SplitCsvLine(std::string_view line, std::string& error) {
  std::vector<std::string> cells(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted) {
      if (c != '"') {
        cells.back() += c;
      } else if (i + 1 < line.size() && line[i + 1] == '"') {
        cells.back() += '"';
        ++i;
      } else {
        quoted = false;
      }
    } else if (c == '"' && Trim(cells.back()).empty()) {
      cells.back().clear();
      quoted = true;
    } else if (c == ',') {
      cells.emplace_back();
    } else {
      cells.back() += c;
    }
  }
  if (quoted) {
    error = "a quoted cell is not closed";
    return std::nullopt;
  }
  for (auto& cell : cells) cell = std::string(Trim(cell));
  return cells;
}

// Checks the header row; the number of columns it names, or 0 with `error`.
std::size_t ReadHeader(const std::vector<std::string>& cells, std::string& error) {
  const std::size_t known = std::size(kRegisterColumns);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string name = Lower(cells[i]);
    if (i >= known) {
      error = "extra column '" + cells[i] + "' (the columns are label,table,address,type,order,format,k,x0,writable)";
      return 0;
    }
    if (name != kRegisterColumns[i]) {
      error = "column " + std::to_string(i + 1) + " is '" + cells[i] + "', expected '" + kRegisterColumns[i] + "'";
      return 0;
    }
  }
  if (cells.size() < 3) {
    error = "the header names at least the columns label,table,address";
    return 0;
  }
  return cells.size();
}

bool Encodable(const CodePage& codePage, const std::string& text, const char* what, std::string& error) {
  try {
    codePage.FromUtf8(text);
    return true;
  } catch (const CodePageError& e) {
    error = std::string(what) + ": " + e.what();
    return false;
  }
}

// One data row; nullopt with `error` for a bad one.
std::optional<RegisterRow> ReadRow(const std::vector<std::string>& cells, std::size_t columns, const CodePage& codePage,
                                   std::string& error) {
  if (cells.size() > columns) {
    error = std::to_string(cells.size()) + " cells, but the header names " + std::to_string(columns) + " columns";
    return std::nullopt;
  }
  const auto cell = [&](std::size_t i) { return i < cells.size() ? cells[i] : std::string(); };
  RegisterRow row;
  const std::string table = cell(1);
  if (table.empty()) {
    error = "table is empty (HR, IR, C or DI)";
    return std::nullopt;
  }
  const auto address = ParseUnsigned(cell(2));
  if (!address || *address > 0xFFFF) {
    error = "address '" + cell(2) + "' is not 0..65535 (decimal or 0x hex)";
    return std::nullopt;
  }
  const std::string order = Lower(cell(4));
  if (!order.empty() && order != "swapped") {
    error = "order '" + cell(4) + "' is neither empty nor 'swapped'";
    return std::nullopt;
  }
  const auto code = ElementCodeFor(table, *address, cell(3), order == "swapped", error);
  if (!code) return std::nullopt;
  row.code = *code;
  row.label = cell(0).empty() ? AddressCaption(row.code) : cell(0);
  row.format = cell(5);
  if (!Encodable(codePage, row.label, "label", error) || !Encodable(codePage, row.format, "format", error)) {
    return std::nullopt;
  }
  if (!cell(6).empty()) {
    const auto k = ParseNumber(cell(6));
    if (!k || *k == 0) {
      error = "k '" + cell(6) + "' is not a number other than 0";
      return std::nullopt;
    }
    row.k = *k;
  }
  if (!cell(7).empty()) {
    const auto x0 = ParseNumber(cell(7));
    if (!x0) {
      error = "x0 '" + cell(7) + "' is not a number";
      return std::nullopt;
    }
    row.x0 = *x0;
  }
  const std::string writable = Lower(cell(8));
  if (!writable.empty() && writable != "yes" && writable != "no") {
    error = "writable '" + cell(8) + "' is neither yes nor no";
    return std::nullopt;
  }
  row.writable = writable == "yes";
  if (row.writable && (row.code & AddressCode::kInputTable)) {
    error = "input registers and discrete inputs cannot be written";
    return std::nullopt;
  }
  return row;
}

}  // namespace

std::optional<std::uint32_t> ElementCodeFor(std::string_view table, std::uint32_t address, std::string_view type,
                                            bool swapped, std::string& error) {
  const std::string tableName(table);
  const auto foundTable = std::find_if(kTables.begin(), kTables.end(),
                                       [&](const TableEntry& t) { return Lower(t.name) == Lower(tableName); });
  if (foundTable == kTables.end()) {
    error = "table '" + tableName + "' is not HR, IR, C or DI";
    return std::nullopt;
  }
  const bool bits = foundTable->bits & AddressCode::kBitElement;
  std::string name = Lower(Trim(type));
  if (name.empty()) name = bits ? "bits:1" : "int16";
  std::uint32_t code = foundTable->bits | address;
  if (name.rfind("bits:", 0) == 0) {
    const auto count = ParseUnsigned(std::string_view(name).substr(5));
    if (!bits) {
      error = "type '" + std::string(type) + "' is for coils and discrete inputs, not " + tableName;
      return std::nullopt;
    }
    if (!count || *count < 1 || *count > 16) {
      error = "type '" + std::string(type) + "': a bit count is 1..16";
      return std::nullopt;
    }
    code |= Type(static_cast<int>(*count) - 1);
  } else {
    const auto found =
        std::find_if(kRegisterTypes.begin(), kRegisterTypes.end(), [&](const TypeEntry& t) { return name == t.name; });
    if (found == kRegisterTypes.end()) {
      error = "type '" + std::string(type) + "' is not one of " + TypeNames();
      return std::nullopt;
    }
    if (bits) {
      error = "type '" + std::string(type) + "' is a register type; coils and discrete inputs take bits:N";
      return std::nullopt;
    }
    code |= found->bits;
  }
  if (swapped) {
    if (bits || AddressCode(code).width() < 2) {
      error = "order 'swapped' needs a type of two or four registers";
      return std::nullopt;
    }
    code |= AddressCode::kSwapped;
  }
  if (address + static_cast<std::uint32_t>(AddressCode(code).width()) - 1 > 0xFFFF) {
    error = "a " + name + " at address " + std::to_string(address) + " runs past 65535";
    return std::nullopt;
  }
  return code;
}

std::string AddressCaption(std::uint32_t code) {
  static const char* const kShort[] = {"HR", "IR", "C ", "DI"};
  char text[16];
  std::snprintf(text, sizeof text, "%s%04u", kShort[(code & AddressCode::kTableMask) >> 28],
                static_cast<unsigned>(code & AddressCode::kAddressMask));
  return text;
}

std::string TypeNameOf(std::uint32_t code) {
  const AddressCode element(code);
  if (element.isBit()) return "bits:" + std::to_string(element.width());
  constexpr std::uint32_t kShape =
      AddressCode::kTypeMask | AddressCode::kHex | AddressCode::kBinary | AddressCode::kUnsigned;
  for (const auto& t : kRegisterTypes)
    if ((code & kShape) == t.bits) return t.name;
  return "";
}

std::vector<std::string> TypesFor(std::uint32_t code) {
  std::vector<std::string> names;
  if (AddressCode(code).isBit()) {
    for (int n = 1; n <= 16; ++n) names.push_back("bits:" + std::to_string(n));
  } else {
    for (const auto& t : kRegisterTypes) names.emplace_back(t.name);
  }
  return names;
}

bool TakesWordOrder(std::string_view type) {
  std::string error;
  const auto code = ElementCodeFor("HR", 0, type, false, error);
  return code && AddressCode(*code).width() > 1;
}

std::string TableNameOf(std::uint32_t code) { return kTables[(code & AddressCode::kTableMask) >> 28].name; }

std::string TypeNames() {
  std::string names;
  for (const auto& t : kRegisterTypes) names += std::string(t.name) + ", ";
  return names + "bits:N";
}

RegisterList ParseRegisterCsv(std::string_view text, const CodePage& codePage) {
  RegisterList list;
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  std::size_t columns = 0;
  int lineNumber = 0;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    ++lineNumber;
    if (Trim(line).empty()) continue;
    std::string error;
    const auto cells = SplitCsvLine(line, error);
    if (cells && columns == 0) {
      columns = ReadHeader(*cells, error);
      if (columns == 0) {
        list.errors.push_back("line " + std::to_string(lineNumber) + ": " + error);
        return list;
      }
      continue;
    }
    std::optional<RegisterRow> row;
    if (cells) row = ReadRow(*cells, columns, codePage, error);
    if (!row) {
      list.errors.push_back("line " + std::to_string(lineNumber) + ": " + error);
      continue;
    }
    row->line = lineNumber;
    list.rows.push_back(std::move(*row));
  }
  if (columns == 0)
    list.errors.emplace_back("no header row (label,table,address,type,...)");
  else if (list.rows.empty() && list.errors.empty())
    list.errors.emplace_back("no rows after the header");
  return list;
}

std::optional<std::vector<RegisterRow>> ParseRangeText(std::string_view range, std::string& error) {
  // TABLE:FIRST-LAST[:TYPE][:swapped], TYPE itself may be "bits:N".
  std::vector<std::string> parts;
  for (std::size_t start = 0;;) {
    const std::size_t colon = range.find(':', start);
    parts.emplace_back(range.substr(start, colon == std::string_view::npos ? colon : colon - start));
    if (colon == std::string_view::npos) break;
    start = colon + 1;
  }
  const std::string usage = "a range is like HR:0-9:int16 or C:0-15:bits:8, not '" + std::string(range) + "'";
  if (parts.size() < 2) {
    error = usage;
    return std::nullopt;
  }
  std::string type = parts.size() > 2 ? parts[2] : "";
  std::size_t next = 3;
  if (Lower(type) == "bits" && parts.size() > 3) type += ":" + parts[next++];
  bool swapped = false;
  if (next < parts.size() && Lower(parts[next]) == "swapped") {
    swapped = true;
    ++next;
  }
  const std::size_t dash = parts[1].find('-');
  const auto first = ParseUnsigned(parts[1].substr(0, dash));
  const auto last = dash == std::string::npos ? first : ParseUnsigned(parts[1].substr(dash + 1));
  if (next < parts.size() || !first || !last || *first > *last || *last > 0xFFFF) {
    error = usage;
    return std::nullopt;
  }
  auto code = ElementCodeFor(parts[0], *first, type, swapped, error);
  if (!code) return std::nullopt;
  const auto width = static_cast<std::uint32_t>(AddressCode(*code).width());
  const std::uint32_t count = *last - *first + 1;
  if (count % width != 0) {
    error = "range '" + std::string(range) + "': " + std::to_string(count) + " addresses do not make whole values of " +
            std::to_string(width);
    return std::nullopt;
  }
  std::vector<RegisterRow> rows;
  for (std::uint32_t a = *first; a <= *last; a += width) {
    RegisterRow row;
    row.code = (*code & ~AddressCode::kAddressMask) | a;
    row.label = AddressCaption(row.code);
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace quorvel
