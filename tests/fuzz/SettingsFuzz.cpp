// libFuzzer target: any bytes as the settings store's file, and a value set
// in it. Reading never fails; after a value is set it reads back as set (also
// from the written text, for any bytes in the value), every other entry that
// could be read before reads the same, and lines the store did not write
// survive in their order.
//
// Input: byte 0 picks the section and key names (from a small set, so that
// they meet the file's own), then the value up to the first NUL, then the
// file.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzCheck.h"
#include "platform/IniText.h"

using namespace quorvel::platform;
using quorvel::fuzz::Check;

namespace {

const char* const kSections[] = {"Ports", "ports", "Settings", "A"};
const char* const kKeys[] = {"COM1", "com1", "Key", "a", "CodePage", "k2"};

// Every (section, key) pair the harness asks about, with its value.
std::vector<std::optional<std::string>> Snapshot(const IniText& ini) {
  std::vector<std::optional<std::string>> values;
  for (const char* section : kSections)
    for (const char* key : kKeys) values.push_back(ini.Get(section, key));
  return values;
}

bool SameName(std::string_view a, std::string_view b) { return IniLower(a) == IniLower(b); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::size_t nul = rest.find('\0');
  const std::string value(rest.substr(0, nul));
  const std::string_view file = nul == std::string_view::npos ? std::string_view() : rest.substr(nul + 1);
  const std::string section = kSections[data[0] % std::size(kSections)];
  const std::string key = kKeys[(data[0] / std::size(kSections)) % std::size(kKeys)];

  Check(UnescapeIniValue(EscapeIniValue(value)) == value, "an escaped value unescapes to itself");

  IniText ini = IniText::Parse(file);
  const auto before = Snapshot(ini);
  const std::vector<std::string> linesBefore = ini.lines;
  const std::optional<std::size_t> replaced = ini.Find(section, key);
  ini.Set(section, key, value);
  const auto got = ini.Get(section, key);
  Check(got && *got == value, "a value set reads back");

  const IniText reread = IniText::Parse(ini.Text());
  const auto reGot = reread.Get(section, key);
  Check(reGot && *reGot == value, "a value set reads back from the written text");
  const auto after = Snapshot(reread);
  std::size_t i = 0;
  for (const char* s : kSections) {
    for (const char* k : kKeys) {
      if (!(SameName(s, section) && SameName(k, key))) Check(after[i] == before[i], "other entries are untouched");
      ++i;
    }
  }
  // The user's lines stay as they were: the key's own line is replaced, or
  // one to three lines (a blank, a section, the entry) are added.
  std::vector<std::string> linesAfter = reread.lines;
  if (replaced) {
    Check(linesAfter.size() == linesBefore.size(), "a replaced entry adds no line");
    linesAfter.erase(linesAfter.begin() + static_cast<std::ptrdiff_t>(*replaced));
    std::vector<std::string> others = linesBefore;
    others.erase(others.begin() + static_cast<std::ptrdiff_t>(*replaced));
    Check(linesAfter == others, "lines the store did not write are kept");
  } else {
    Check(linesAfter.size() > linesBefore.size() && linesAfter.size() <= linesBefore.size() + 3,
          "a new entry adds its lines");
    std::size_t j = 0;
    for (const std::string& line : linesAfter)
      if (j < linesBefore.size() && line == linesBefore[j]) ++j;
    Check(j == linesBefore.size(), "lines the store did not write are kept, in their order");
  }
  return 0;
}
