// libFuzzer target: any bytes as a register-list CSV file. Every line is a
// row or an error, never both; every row holds a usable element (a known
// type, within the address space, a label); and the rows written back as CSV
// (texts quoted, numbers in their shortest form) read as the same rows.

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzCheck.h"
#include "convert/AddressCode.h"
#include "project/CodePage.h"
#include "project/RegisterList.h"

using namespace quorvel;
using fuzz::Check;

namespace {

std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

std::string Shortest(double value) {
  char buffer[64];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, ec == std::errc{} ? end : buffer);
}

// The table and type names that give `code`, as ElementCodeFor takes them.
std::pair<std::string, std::string> NamesOf(std::uint32_t code) {
  static const char* const kTables[] = {"HR", "IR", "C", "DI"};
  const std::string table = kTables[(code & AddressCode::kTableMask) >> 28];
  const AddressCode element(code);
  if (element.isBit()) return {table, "bits:" + std::to_string(element.width())};
  std::string names = TypeNames();
  const bool swapped = element.swapped();
  for (std::size_t start = 0; start < names.size();) {
    const std::size_t comma = names.find(", ", start);
    const std::string name = names.substr(start, comma == std::string::npos ? comma : comma - start);
    std::string error;
    if (const auto found = ElementCodeFor(table, element.address(), name, swapped, error); found && *found == code)
      return {table, name};
    if (comma == std::string::npos) break;
    start = comma + 2;
  }
  return {table, ""};
}

std::string CsvOf(const std::vector<RegisterRow>& rows) {
  std::string text = "label,table,address,type,order,format,k,x0,writable\r\n";
  for (const RegisterRow& row : rows) {
    const auto [table, type] = NamesOf(row.code);
    text += Quoted(row.label) + "," + table + "," + std::to_string(row.code & AddressCode::kAddressMask) + "," + type +
            "," + (AddressCode(row.code).swapped() ? "swapped" : "") + "," + Quoted(row.format) + "," +
            Shortest(row.k) + "," + Shortest(row.x0) + "," + (row.writable ? "yes" : "no") + "\r\n";
  }
  return text;
}

bool SameRow(const RegisterRow& a, const RegisterRow& b) {
  return a.label == b.label && a.code == b.code && a.format == b.format && a.k == b.k && a.x0 == b.x0 &&
         a.writable == b.writable;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const CodePage& codePage = CodePage::Default();
  const RegisterList list = ParseRegisterCsv(text, codePage);

  int lastLine = 0;
  for (const RegisterRow& row : list.rows) {
    Check(row.line > lastLine, "rows come in file order, one per line");
    lastLine = row.line;
    Check(!row.label.empty(), "a row has a label");
    const AddressCode element(row.code);
    Check(element.isBit() || element.typeField() <= 5, "a row's type is a known one");
    Check(element.address() + element.width() - 1 <= 0xFFFF, "a row stays within the address space");
    Check(row.k != 0 && row.k == row.k && row.x0 == row.x0, "k and x0 are numbers, k not 0");
    Check(!(row.writable && (row.code & AddressCode::kInputTable)), "only writable tables are writable");
    Check(!NamesOf(row.code).second.empty(), "a row's element has a type name");
  }
  if (list.rows.empty()) Check(!list.errors.empty(), "a list without rows says why");
  if (list.rows.empty()) return 0;

  const RegisterList again = ParseRegisterCsv(CsvOf(list.rows), codePage);
  Check(again.errors.empty(), "rows written back read without errors");
  Check(again.rows.size() == list.rows.size(), "rows written back read as many rows");
  for (std::size_t i = 0; i < list.rows.size(); ++i)
    Check(SameRow(again.rows[i], list.rows[i]), "rows written back read the same");
  return 0;
}
