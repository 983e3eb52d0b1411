#pragma once

// The project behind a quick poll: one block of one table read with one
// function, every value shown with the same type, as the desktop's
// File > New poll asks for it. It is an ordinary register-list project.

#include <cstdint>
#include <string>

#include "project/ProjectFile.h"

namespace quorvel {

class CodePage;

struct QuickPoll {
  int function = 3;  // 1 coils, 2 discrete inputs, 3 holding registers, 4 input registers
  int start = 0;
  int quantity = 10;           // registers or bits
  std::string type = "int16";  // a register list type; for bits, the bits per value ("bits:1")
  std::int32_t periodMs = 1000;
};

// Throws std::invalid_argument with what is wrong with the poll.
ProjectFile BuildQuickPollProject(const QuickPoll& poll, const CodePage& codePage);

}  // namespace quorvel
