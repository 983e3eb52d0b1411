#pragma once

// A project file in memory, field for field as stored, so that writing it
// again gives the same bytes. Texts stay in the file's code page.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "project/ProjectRecords.h"

namespace quorvel {

struct ProjectFile {
  // The bytes taken as the header line: up to and including the first LF,
  // at most 256 bytes, carriage returns included.
  std::string Header;
  std::int16_t ValueA = 0;
  std::int16_t ValueB = 0;
  std::int16_t ValueC = 0;
  std::int32_t Setting1 = 0;
  std::int32_t Setting2 = 0;
  std::int32_t Setting3 = 0;
  std::int32_t WindowField = 0;
  std::string MenuCaption1;
  std::string MenuCaption2;
  std::int16_t Exeptions = 0;
  std::int16_t DirectWrite = 0;
  std::int32_t Timeout = 0;
  std::int32_t Interval = 0;
  std::int32_t ValueD = 0;
  // Entry 0 counts the hidden element records, entry 1 all element records,
  // entry 2 the requests and entry 3 the pictures; later entries are kept
  // but mean nothing.
  std::vector<std::int16_t> Sections;
  std::vector<ElementRecord> HiddenElements;
  std::vector<ElementRecord> Elements;
  std::vector<RequestRecord> Requests;
  std::vector<PictureRecord> Pictures;
  // Bytes after the last picture record.
  std::vector<std::uint8_t> Trailing;

  bool operator==(const ProjectFile&) const = default;
};

// Record counts as the section table gives them; a missing entry counts 0.
struct SectionCounts {
  int hidden = 0;
  int panel = 0;
  int requests = 0;
  int pictures = 0;
};
SectionCounts CountsOf(const std::vector<std::int16_t>& sections);

// The section table a file with these records needs.
std::vector<std::int16_t> SectionsFor(const ProjectFile& file);

// Tag that every project file names in its first line.
inline constexpr const char* kProjectTag = "DraventaFabricant";

// The first line as it is searched for the tag: carriage returns dropped and
// reading stopped at the line feed.
std::string HeaderText(std::string_view rawHeader);

// True when `text` holds the tag, in any letter case.
bool HasProjectTag(std::string_view text);

}  // namespace quorvel
