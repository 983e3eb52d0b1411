#include "app/DeviceScan.h"

#include <algorithm>
#include <charconv>

#include "modbus/FrameCodec.h"
#include "modbus/FrameDecode.h"

namespace quorvel {

DeviceScan::DeviceScan(std::vector<int> ids, bool ascii) : ids_(std::move(ids)), ascii_(ascii) {}

std::vector<std::uint8_t> DeviceScan::Message() const {
  return {static_cast<std::uint8_t>(CurrentId()), 3, 0, 0, 0, 1};
}

std::optional<ScanHit> DeviceScan::Take(bool timedOut, std::span<const std::uint8_t> answer) {
  const int id = CurrentId();
  ++next_;
  if (timedOut) return std::nullopt;
  // The request as the answer is read against: it names the block asked for.
  std::vector<std::uint8_t> request = {static_cast<std::uint8_t>(id), 3, 0, 0, 0, 1, 0, 0};
  MODBUS::AddCRC(request, 6);
  const MODBUS::DecodedFrame asked = MODBUS::DecodeFrame(request, false, false);
  const MODBUS::DecodedFrame f = MODBUS::DecodeFrame(answer, ascii_, true, &asked);
  // A damaged answer, or one from another address, proves nothing about this id.
  if (!f.Ok() || f.slave != id || (f.function & 0x7F) != 3) return std::nullopt;
  ScanHit hit{id, f.role == MODBUS::FrameRole::Exception ? "exception " + std::to_string(f.exception) : "registers"};
  hits_.push_back(hit);
  return hit;
}

int DeviceScan::Percent() const { return ids_.empty() ? 100 : static_cast<int>(next_ * 100 / ids_.size()); }

std::optional<std::vector<int>> ParseIdList(const std::string& text, std::string& error) {
  std::vector<int> ids;
  const auto number = [](std::string_view t) -> std::optional<int> {
    int v = 0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc{} || end != t.data() + t.size() || v < 1 || v > 247) return std::nullopt;
    return v;
  };
  std::string_view rest = text;
  while (true) {
    const std::size_t comma = rest.find(',');
    const std::string_view part = rest.substr(0, comma);
    const std::size_t dash = part.find('-');
    const auto first = number(part.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : number(part.substr(dash + 1));
    if (!first || !last || *first > *last) {
      error = "slave ids are 1 to 247, as 1-247 or 1,5,10-20; not '" + text + "'";
      return std::nullopt;
    }
    for (int id = *first; id <= *last; ++id)
      if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    if (comma == std::string_view::npos) break;
    rest = rest.substr(comma + 1);
  }
  return ids;
}

}  // namespace quorvel
