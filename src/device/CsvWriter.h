#pragma once

// A comma-separated file written a row at a time, as spreadsheets read it:
// fields that hold a comma, a double quote or a line break are quoted, their
// quotes doubled, and rows end in CR LF. Text goes out as the UTF-8 it is
// given. Rows are buffered; Flush hands them to the system, so that what has
// been flushed survives the program ending abruptly.

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

// `field` as it goes into a row: quoted when it has to be.
std::string CsvField(std::string_view field);

// The fields quoted as needed, comma-separated, with the CR LF that ends a row.
std::string CsvRow(const std::vector<std::string>& fields);

class CsvWriter {
 public:
  // Creates or empties the file at `path`; Ok() says whether it could, and
  // Problem() why not.
  explicit CsvWriter(const std::string& path);
  bool Ok() const { return file_ != nullptr && problem_.empty(); }
  const std::string& Problem() const { return problem_; }
  const std::string& Path() const { return path_; }

  // Buffers one row; a write that fails leaves Problem() set and the rest
  // of the log is dropped (the disk is full or gone).
  void Write(const std::vector<std::string>& fields);
  // Rows written since the last Flush.
  bool Pending() const { return pending_; }
  void Flush();

 private:
  struct Close {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  void Fail();

  std::string path_;
  std::unique_ptr<std::FILE, Close> file_;
  std::string problem_;
  bool pending_ = false;
};

}  // namespace quorvel
