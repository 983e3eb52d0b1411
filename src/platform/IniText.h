#pragma once

// The text of the settings store's INI file, held line by line so that a
// value can be changed without disturbing anything else a user wrote there:
// "[Section]" lines, "key=value" lines below them, and whatever other lines
// the file has, kept as they were. Section and key names match in any letter
// case. Values are stored escaped: a backslash before "n", "r" or another
// backslash stands for a line feed, a carriage return or the backslash; any
// other backslash stands for itself. Plain text in, plain text out: the
// store reads and writes the file around it.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvel::platform {

// ASCII letters in lower case; other bytes as they are.
std::string IniLower(std::string_view text);
// Without leading and trailing blanks (spaces and tabs).
std::string_view IniTrim(std::string_view text);

std::string EscapeIniValue(std::string_view value);
std::string UnescapeIniValue(std::string_view text);

struct IniText {
  // Each without its line feed; a carriage return before it stays with the
  // line so that it is written back as it was.
  std::vector<std::string> lines;

  static IniText Parse(std::string_view bytes);

  // The line without a carriage return at its end.
  static std::string_view Content(std::string_view line);
  // The section name of a "[name]" line.
  static std::optional<std::string_view> SectionOf(std::string_view line);
  // The key and the raw value of a "key=value" line.
  static std::optional<std::pair<std::string_view, std::string_view>> EntryOf(std::string_view line);

  // Lines [first, last) of the first section of that name, after its header;
  // nothing when absent.
  std::optional<std::pair<std::size_t, std::size_t>> Section(std::string_view name) const;
  // The line of the key's entry in that section.
  std::optional<std::size_t> Find(std::string_view section, std::string_view key) const;
  // The key's value, unescaped.
  std::optional<std::string> Get(std::string_view section, std::string_view key) const;

  // The line end of the file as it was written by hand: CR LF when its first line has it.
  std::string LineEnd() const;

  // Replaces the key's entry, or adds it at the end of its section, or adds
  // the section at the end of the text.
  void Set(const std::string& section, const std::string& key, const std::string& value);

  std::string Text() const;
};

}  // namespace quorvel::platform
