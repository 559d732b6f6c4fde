// Reads scrambled fixed-record text resources (docs/format-resource.md).
//
// A reader owns the open file. It starts in enumeration mode (getline(line), in
// file order); CloseEnumMode() ends that for good and leaves random access. One
// thread at a time for the sequential form; the indexed form changes nothing and
// may be used from several threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "common/mapped_file.h"

namespace koralite::common {

class DesFileReader {
 public:
  // Throws std::runtime_error "Invalidate Input file" when the file cannot be opened and
  // "Cannot read line size" when it has no record size or one that is zero or negative.
  explicit DesFileReader(const FilePath& path);

  // The next record in file order; false at the end and after CloseEnumMode().
  bool getline(std::string& line);
  // Record `index`; false when it cannot be read whole.
  bool getline(std::string& line, unsigned index) const;
  void CloseEnumMode() { enumerating_ = false; }

  std::uint32_t record_size() const { return record_size_; }
  std::uint64_t record_count() const;  // whole records in the file

 private:
  MappedFile file_;
  std::uint32_t record_size_ = 0;
  std::uint64_t next_ = 0;  // next record to enumerate
  bool enumerating_ = true;
};

// Undoes the scrambling of one record: the text up to its first zero byte goes to `line`.
void unscramble_record(std::span<const unsigned char> record, std::string& line);

}  // namespace koralite::common
