#include "device/CsvWriter.h"

#include <cerrno>
#include <cstring>

namespace quorvel {

std::string CsvField(std::string_view field) {
  if (field.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(field);
  std::string quoted = "\"";
  for (const char c : field) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

std::string CsvRow(const std::vector<std::string>& fields) {
  std::string row;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) row += ',';
    row += CsvField(fields[i]);
  }
  return row + "\r\n";
}

CsvWriter::CsvWriter(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "wb")) {
  if (!file_) problem_ = std::strerror(errno);
}

void CsvWriter::Fail() {
  problem_ = std::strerror(errno);
  if (problem_.empty()) problem_ = "write failed";
}

void CsvWriter::Write(const std::vector<std::string>& fields) {
  if (!Ok()) return;
  const std::string row = CsvRow(fields);
  if (std::fwrite(row.data(), 1, row.size(), file_.get()) != row.size()) {
    Fail();
    return;
  }
  pending_ = true;
}

void CsvWriter::Flush() {
  if (!Ok() || !pending_) return;
  if (std::fflush(file_.get()) != 0) Fail();
  pending_ = false;
}

}  // namespace quorvel
