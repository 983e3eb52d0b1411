#pragma once

// A register list: the values a user wants to see of a device, one row each,
// as typed in a CSV file or as ranges on the command line. Every row is
// checked here, so that a project is only built from a list without faults.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/AddressCode.h"

namespace quorvel {

class CodePage;

struct RegisterRow {
  int line = 0;       // line of the CSV file; 0 for a row from a range
  std::string label;  // UTF-8; never empty once parsed
  std::uint32_t code = 0;
  std::string format;  // UTF-8; empty takes the default of the code
  double k = 1;
  double x0 = 0;
  bool writable = false;
};

// The CSV columns in their order.
inline constexpr const char* kRegisterColumns[] = {"label",  "table", "address", "type",    "order",
                                                   "format", "k",     "x0",      "writable"};

struct RegisterList {
  std::vector<RegisterRow> rows;
  // "line N: reason", one per bad line, in file order.
  std::vector<std::string> errors;
};

// Parses a CSV file's text: a header row naming the columns above in their
// order (trailing ones may be left out), then one row per value. Blank lines
// are skipped; cells may be quoted ("a, b"). Texts must be writable in
// `codePage`.
RegisterList ParseRegisterCsv(std::string_view text, const CodePage& codePage);

// "HR:0-9:int16", "C:0-15:bits:8", "IR:10-13:float32:swapped": the values of
// a block of addresses, each labelled with its address caption (HR0000).
// The type may be left out (int16, or bits:1 for coils and discrete inputs).
std::optional<std::vector<RegisterRow>> ParseRangeText(std::string_view range, std::string& error);

// The element address code of a value of table `table` ("HR", "IR", "C",
// "DI"), address and type ("int16" ... "bits:N"); nullopt with `error` set
// when they do not go together.
std::optional<std::uint32_t> ElementCodeFor(std::string_view table, std::uint32_t address, std::string_view type,
                                            bool swapped, std::string& error);

// "HR0040", "C 0007": the table's short name and the address in four digits.
std::string AddressCaption(std::uint32_t code);

// The type name ElementCodeFor takes for what `code` shows ("float32",
// "bits:8"); the word order is not part of it.
std::string TypeNameOf(std::uint32_t code);

// The type names a value of `code`'s table can take, in the order of the
// usage text: the register types, or bits:1 to bits:16.
std::vector<std::string> TypesFor(std::uint32_t code);

// Whether a value of `type` spans several registers, so that its word order
// ("swapped") can be chosen.
bool TakesWordOrder(std::string_view type);

// "HR", "IR", "C" or "DI": the table of `code` as ElementCodeFor takes it.
std::string TableNameOf(std::uint32_t code);

// The type names ElementCodeFor takes, for usage texts.
std::string TypeNames();

}  // namespace quorvel
