#pragma once

// The periodic reads that cover a set of values: per table as few requests as
// the protocol allows, each at most 125 registers or 2000 bits long, and a
// gap of more than 16 unused addresses starts a new request rather than
// reading what nobody looks at.

#include <cstdint>
#include <vector>

#include "project/ProjectRecords.h"

namespace quorvel {

inline constexpr int kMostRegistersRead = 125;
inline constexpr int kMostBitsRead = 2000;
inline constexpr int kLargestGapRead = 16;

struct ReadBlock {
  int first = 0;
  int count = 0;
};

// `codes` are element address codes of one table (any order, overlaps allowed).
std::vector<ReadBlock> PlanBlocks(std::vector<std::uint32_t> codes);

// The read requests of every table for these elements, holding registers
// first, then input registers, coils and discrete inputs; each repeats every
// `periodMs`.
std::vector<RequestRecord> PlanReads(const std::vector<std::uint32_t>& codes, std::int32_t periodMs);

}  // namespace quorvel
