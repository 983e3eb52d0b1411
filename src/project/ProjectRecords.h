#pragma once

// The three record kinds of a project file, field for field as stored. Texts
// are kept as the file's bytes (code page, no terminator) so that a record
// written back is byte for byte the one that was read.

#include <cstdint>
#include <string>
#include <vector>

namespace quorvel {

class BinaryReader;
class BinaryWriter;

// One display element. Texts have 2-byte lengths.
struct ElementRecord {
  std::uint32_t BackColor = 0;
  std::uint32_t ForeColor = 0;
  std::string CtrlName{};
  std::int32_t Top = 0;
  std::int32_t Left = 0;
  std::int16_t FontBold = 0;
  std::int16_t FontUnderline = 0;
  std::int16_t FontItalic = 0;
  std::int16_t FontStrikethru = 0;
  std::int16_t FontSize = 0;
  std::string FontName{};
  std::int32_t Width = 0;
  std::int32_t Height = 0;
  std::string Caption{};
  std::uint32_t Address = 0;
  std::int16_t PictureNumber = 0;
  double Value1 = 0;
  double Value2 = 0;
  double DefaultValue = 0;
  std::int32_t Period = 0;
  double k = 0;
  double x0 = 0;
  std::string FormatString{};

  bool operator==(const ElementRecord&) const = default;
};

// One Modbus request. The data length and data are stored only when WriteQnt
// is not 0; the label has a 4-byte length.
struct RequestRecord {
  std::int32_t Func = 0;
  std::int32_t ReadAddr = 0;
  std::int32_t ReadQnt = 0;
  std::int32_t WriteAddr = 0;
  std::int32_t WriteQnt = 0;
  std::int32_t Control = 0;
  std::int32_t Period = 0;
  std::vector<std::uint8_t> Data{};
  std::string Label{};

  bool operator==(const RequestRecord&) const = default;
};

// One picture: a complete picture file and the extension it came with.
struct PictureRecord {
  std::int16_t Number = 0;
  std::string Type{};
  std::vector<std::uint8_t> Data{};

  bool operator==(const PictureRecord&) const = default;
};

// Each Read either returns a whole record or throws ReadError.
ElementRecord ReadElementRecord(BinaryReader& in);
RequestRecord ReadRequestRecord(BinaryReader& in);
PictureRecord ReadPictureRecord(BinaryReader& in);

// Throw std::length_error for a text or data block whose length the field
// cannot hold.
void WriteElementRecord(BinaryWriter& out, const ElementRecord& r);
void WriteRequestRecord(BinaryWriter& out, const RequestRecord& r);
void WritePictureRecord(BinaryWriter& out, const PictureRecord& r);

}  // namespace quorvel
