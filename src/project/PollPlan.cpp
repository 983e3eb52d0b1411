#include "project/PollPlan.h"

#include <algorithm>

#include "convert/AddressCode.h"

namespace quorvel {

std::vector<ReadBlock> PlanBlocks(std::vector<std::uint32_t> codes) {
  std::sort(codes.begin(), codes.end(),
            [](std::uint32_t a, std::uint32_t b) { return AddressCode(a).address() < AddressCode(b).address(); });
  std::vector<ReadBlock> blocks;
  if (codes.empty()) return blocks;
  const int most = AddressCode(codes.front()).isBit() ? kMostBitsRead : kMostRegistersRead;
  // Values in address order, each taken into the open block while the block
  // stays short enough and the gap small: a block only closes when the next
  // value could not be in it, so no fewer blocks would do. A value is always
  // read whole by one request.
  for (const std::uint32_t raw : codes) {
    const AddressCode code(raw);
    const int first = code.address();
    const int last = first + code.width() - 1;
    if (!blocks.empty()) {
      ReadBlock& open = blocks.back();
      const int openLast = open.first + open.count - 1;
      if (last <= openLast) continue;
      if (first - openLast - 1 <= kLargestGapRead && last - open.first + 1 <= most) {
        open.count = last - open.first + 1;
        continue;
      }
    }
    blocks.push_back({first, last - first + 1});
  }
  return blocks;
}

std::vector<RequestRecord> PlanReads(const std::vector<std::uint32_t>& codes, std::int32_t periodMs) {
  struct TableRead {
    std::uint32_t table;
    int func;
    const char* what;
  };
  static constexpr TableRead kReads[] = {{0, 3, "holding registers"},
                                         {AddressCode::kInputTable, 4, "input registers"},
                                         {AddressCode::kBitElement, 1, "coils"},
                                         {AddressCode::kTableMask, 2, "discrete inputs"}};
  std::vector<RequestRecord> requests;
  for (const TableRead& read : kReads) {
    std::vector<std::uint32_t> ofTable;
    for (const std::uint32_t code : codes)
      if ((code & AddressCode::kTableMask) == read.table) ofTable.push_back(code);
    for (const ReadBlock& block : PlanBlocks(ofTable)) {
      RequestRecord r;
      r.Func = read.func;
      r.ReadAddr = block.first;
      r.ReadQnt = block.count;
      r.Period = periodMs;
      r.Label = "Read " + std::string(read.what) + " " + std::to_string(block.first) + ".." +
                std::to_string(block.first + block.count - 1);
      requests.push_back(std::move(r));
    }
  }
  return requests;
}

}  // namespace quorvel
