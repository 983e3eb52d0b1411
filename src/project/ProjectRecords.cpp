#include "project/ProjectRecords.h"

#include <limits>
#include <stdexcept>

#include "project/BinaryReader.h"
#include "project/BinaryWriter.h"

namespace quorvel {

ElementRecord ReadElementRecord(BinaryReader& in) {
  ElementRecord r;
  r.BackColor = in.ReadU32();
  r.ForeColor = in.ReadU32();
  r.CtrlName = in.ReadText16();
  r.Top = in.ReadI32();
  r.Left = in.ReadI32();
  r.FontBold = in.ReadI16();
  r.FontUnderline = in.ReadI16();
  r.FontItalic = in.ReadI16();
  r.FontStrikethru = in.ReadI16();
  r.FontSize = in.ReadI16();
  r.FontName = in.ReadText16();
  r.Width = in.ReadI32();
  r.Height = in.ReadI32();
  r.Caption = in.ReadText16();
  r.Address = in.ReadU32();
  r.PictureNumber = in.ReadI16();
  r.Value1 = in.ReadF64();
  r.Value2 = in.ReadF64();
  r.DefaultValue = in.ReadF64();
  r.Period = in.ReadI32();
  r.k = in.ReadF64();
  r.x0 = in.ReadF64();
  r.FormatString = in.ReadText16();
  return r;
}

RequestRecord ReadRequestRecord(BinaryReader& in) {
  RequestRecord r;
  r.Func = in.ReadI32();
  r.ReadAddr = in.ReadI32();
  r.ReadQnt = in.ReadI32();
  r.WriteAddr = in.ReadI32();
  r.WriteQnt = in.ReadI32();
  r.Control = in.ReadI32();
  r.Period = in.ReadI32();
  if (r.WriteQnt != 0) r.Data = in.ReadBytes(in.ReadI32());
  r.Label = in.ReadText32();
  return r;
}

PictureRecord ReadPictureRecord(BinaryReader& in) {
  PictureRecord r;
  r.Number = in.ReadI16();
  const std::int32_t size = in.ReadI32();
  r.Type = in.ReadText16();
  r.Data = in.ReadBytes(size);
  return r;
}

void WriteElementRecord(BinaryWriter& out, const ElementRecord& r) {
  out.WriteU32(r.BackColor);
  out.WriteU32(r.ForeColor);
  out.WriteText16(r.CtrlName);
  out.WriteI32(r.Top);
  out.WriteI32(r.Left);
  out.WriteI16(r.FontBold);
  out.WriteI16(r.FontUnderline);
  out.WriteI16(r.FontItalic);
  out.WriteI16(r.FontStrikethru);
  out.WriteI16(r.FontSize);
  out.WriteText16(r.FontName);
  out.WriteI32(r.Width);
  out.WriteI32(r.Height);
  out.WriteText16(r.Caption);
  out.WriteU32(r.Address);
  out.WriteI16(r.PictureNumber);
  out.WriteF64(r.Value1);
  out.WriteF64(r.Value2);
  out.WriteF64(r.DefaultValue);
  out.WriteI32(r.Period);
  out.WriteF64(r.k);
  out.WriteF64(r.x0);
  out.WriteText16(r.FormatString);
}

namespace {

std::int32_t CheckedSize(std::size_t size, const char* what) {
  if (size > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error(std::string(what) + " is too large");
  }
  return static_cast<std::int32_t>(size);
}

}  // namespace

void WriteRequestRecord(BinaryWriter& out, const RequestRecord& r) {
  out.WriteI32(r.Func);
  out.WriteI32(r.ReadAddr);
  out.WriteI32(r.ReadQnt);
  out.WriteI32(r.WriteAddr);
  out.WriteI32(r.WriteQnt);
  out.WriteI32(r.Control);
  out.WriteI32(r.Period);
  if (r.WriteQnt != 0) {
    out.WriteI32(CheckedSize(r.Data.size(), "request data"));
    out.WriteBytes(r.Data);
  }
  out.WriteText32(r.Label);
}

void WritePictureRecord(BinaryWriter& out, const PictureRecord& r) {
  out.WriteI16(r.Number);
  out.WriteI32(CheckedSize(r.Data.size(), "picture data"));
  out.WriteText16(r.Type);
  out.WriteBytes(r.Data);
}

}  // namespace quorvel
