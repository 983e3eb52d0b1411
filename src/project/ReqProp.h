#pragma once

// One Modbus request of a project: the function, the block it reads, the block
// it writes with the data it carries (as it goes on the wire), how often it is
// sent and the label it shows in menus.
//
// Failures are raised to the caller: an index outside the data buffer as
// std::out_of_range ("Subscript out of range"), arithmetic that overflows as
// std::overflow_error ("Overflow").

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "project/ProjectRecords.h"

namespace quorvel {

class BinaryReader;
class BinaryWriter;

inline constexpr const char* kSubscriptOutOfRange = "Subscript out of range";

class ReqProp {
 public:
  // Reads one request record. A mask write (function 22) always comes out
  // with AND mask 0xFFFF and OR mask 0x0000, whatever the file held, so a
  // freshly loaded mask write changes nothing. Throws ReadError and then
  // leaves the request as it was.
  void Load(BinaryReader& in);
  void LoadRecord(const RequestRecord& record);
  // Writes the record back: the held data length, then the whole buffer.
  void Save(BinaryWriter& out) const;
  // Takes the other request's fields and data (not NextTime).
  void Copy(const ReqProp& other);

  std::uint8_t GetByte(std::int32_t index) const;
  // Lays `value` into the buffer at the place of the element with address code `code`.
  void LetBytes(double value, std::uint32_t code);
  // Parses a mask text ("1" set, "0" clear, "x" leave, blanks between groups)
  // into the AND and OR masks of a mask write; throws std::invalid_argument
  // for a text that is no mask.
  void GetMaskData(std::string_view mask, std::uint32_t code);
  // The buffer's masks as a mask text in the layout of the element `code`.
  std::string FillMaskData(std::uint32_t code) const;

  std::int32_t Func() const { return func_; }
  std::int32_t ReadAddr() const { return readAddr_; }
  std::int32_t ReadQnt() const { return readQnt_; }
  std::int32_t WriteAddr() const { return writeAddr_; }
  std::int32_t WriteQnt() const { return writeQnt_; }
  std::int32_t Control() const { return control_; }
  std::int32_t Period() const { return period_; }
  std::int32_t NextTime() const { return nextTime_; }
  const std::string& Label() const { return label_; }
  void SetFunc(std::int32_t v) { func_ = v; }
  void SetReadAddr(std::int32_t v) { readAddr_ = v; }
  void SetReadQnt(std::int32_t v) { readQnt_ = v; }
  void SetWriteAddr(std::int32_t v) { writeAddr_ = v; }
  // Stores the count and re-sizes the buffer by Func (old content dropped):
  // 5, 6 and 15 give 2 bytes, 16 gives 2 x count; anything else, or a size
  // below 1, is an index-range failure. The data length stays as it was.
  void SetWriteQnt(std::int32_t count);
  void SetControl(std::int32_t v) { control_ = v; }
  void SetPeriod(std::int32_t v) { period_ = v; }
  void SetNextTime(std::int32_t v) { nextTime_ = v; }
  void SetLabel(std::string v) { label_ = std::move(v); }

  // The data length as last set by loading or copying.
  std::int32_t DataLength() const { return dataLength_; }
  const std::vector<std::uint8_t>& Data() const { return data_; }

 private:
  void CheckIndex(std::int64_t index) const;

  std::int32_t func_ = 0;
  std::int32_t readAddr_ = 0;
  std::int32_t readQnt_ = 0;
  std::int32_t writeAddr_ = 0;
  std::int32_t writeQnt_ = 0;
  std::int32_t control_ = 0;
  std::int32_t period_ = 0;
  std::int32_t nextTime_ = 0;
  std::int32_t dataLength_ = 0;
  std::vector<std::uint8_t> data_;
  std::string label_;
};

}  // namespace quorvel
