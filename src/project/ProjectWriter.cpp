#include "project/ProjectWriter.h"

#include <fstream>
#include <limits>
#include <stdexcept>

#include "project/BinaryWriter.h"

namespace quorvel {

std::vector<std::uint8_t> WriteProject(const ProjectFile& file) {
  BinaryWriter out;
  out.WriteChars(file.Header);
  out.WriteI16(file.ValueA);
  out.WriteI16(file.ValueB);
  out.WriteI16(file.ValueC);
  out.WriteI32(file.Setting1);
  out.WriteI32(file.Setting2);
  out.WriteI32(file.Setting3);
  out.WriteI32(file.WindowField);
  out.WriteText16(file.MenuCaption1);
  out.WriteText16(file.MenuCaption2);
  out.WriteI16(file.Exeptions);
  out.WriteI16(file.DirectWrite);
  out.WriteI32(file.Timeout);
  out.WriteI32(file.Interval);
  out.WriteI32(file.ValueD);
  if (file.Sections.size() > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max())) {
    throw std::length_error("the section table has more than 32767 entries");
  }
  out.WriteI16(static_cast<std::int16_t>(file.Sections.size()));
  for (std::int16_t entry : file.Sections) out.WriteI16(entry);
  for (const ElementRecord& r : file.HiddenElements) WriteElementRecord(out, r);
  for (const ElementRecord& r : file.Elements) WriteElementRecord(out, r);
  for (const RequestRecord& r : file.Requests) WriteRequestRecord(out, r);
  for (const PictureRecord& r : file.Pictures) WritePictureRecord(out, r);
  out.WriteBytes(file.Trailing);
  return out.Take();
}

bool SaveProjectBytes(const std::string& path, const std::vector<std::uint8_t>& bytes, std::string& error) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (out) out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (out) out.close();
  if (!out) {
    error = "cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace quorvel
