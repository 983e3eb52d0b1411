#pragma once

// The project behind a quick poll: one block of one table read with one
// function, every value shown with the same type, as the desktop's
// File > New poll asks for it. It is an ordinary register-list project, and
// the list stays with the poll's window so that one value at a time can be
// shown another way (a type, a word order, a display picture) and the
// project made again from the changed list.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "project/ListProject.h"
#include "project/ProjectFile.h"
#include "project/RegisterList.h"

namespace quorvel {

class CodePage;

struct QuickPoll {
  int function = 3;  // 1 coils, 2 discrete inputs, 3 holding registers, 4 input registers
  int start = 0;
  int quantity = 10;           // registers or bits
  std::string type = "int16";  // a register list type; for bits, the bits per value ("bits:1")
  std::int32_t periodMs = 1000;
};

// What a quick poll's project is made from.
struct QuickPollList {
  std::vector<RegisterRow> rows;
  ListProjectOptions options;
};

// A quick poll window's list, and the file its project is written to each
// time the list changes.
struct QuickPollSource {
  QuickPollList list;
  std::string file;
};

// Throws std::invalid_argument with what is wrong with the poll.
QuickPollList QuickPollRows(const QuickPoll& poll);
ProjectFile BuildQuickPollProject(const QuickPoll& poll, const CodePage& codePage);

// Shows the value at the table and address of `code` as `type` ("float32",
// "bits:4"; `swapped` for the most significant word first). A wider value
// takes in the values that start inside it; the addresses a narrower one
// lets go get values of their own again, one address wide (of the new type
// when that is one register wide, else int16; bits:1 for bits). A value may
// not reach past the last address the list covers in its table. The value's
// display picture goes back to the type's default. False with `error` set,
// and `rows` untouched, when the change cannot be made.
bool RetypeRow(std::vector<RegisterRow>& rows, std::uint32_t code, std::string_view type, bool swapped,
               std::string& error);

// Gives the value at the table and address of `code` the display picture
// `format` (empty: the type's default). It must be one line in `codePage`.
bool ReformatRow(std::vector<RegisterRow>& rows, std::uint32_t code, const std::string& format,
                 const CodePage& codePage, std::string& error);

}  // namespace quorvel
