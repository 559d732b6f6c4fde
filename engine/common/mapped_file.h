// A whole file as read-only bytes.
//
// A file in memory is not copied: the object is then a view of the bytes that the path's
// MemoryFiles borrow. Of one in the file system
// The bytes are the system's page cache where the platform can map files, and a
// plain copy in memory elsewhere; callers cannot tell the difference. The object
// owns the mapping: it moves but does not copy, and every view into it dies with
// it (moving keeps views valid). A loaded file may be read from any number of
// threads. A file must not be cut short while it is mapped: writers replace
// files (write beside, then rename) and never rewrite them in place.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/file_path.h"

namespace koralite::common {

class MappedFile {
 public:
  // How the bytes are held; kCopy is the portable way and the one that tests force.
  enum class Access { kMap, kCopy };

  MappedFile() = default;  // no bytes

  // Opens a regular file. Throws std::runtime_error "can't open [file=PATH]: REASON".
  explicit MappedFile(const FilePath& path, Access access = Access::kMap);

  // The same for loaders with a message of their own: nothing when the file cannot be opened, is a
  // folder or no regular file, or cannot be read; `reason`, if given, then says why.
  static std::optional<MappedFile> open(const FilePath& path, std::string* reason = nullptr,
                                        Access access = Access::kMap);

  // The same, or an error with this message whose cause is "PATH: REASON".
  static MappedFile need(const FilePath& path, const std::string& message);

  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) noexcept;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  std::span<const unsigned char> data() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  void release() noexcept;

  std::span<const unsigned char> bytes_;
  std::vector<unsigned char> copy_;  // holds the bytes when they are not mapped
  bool mapped_ = false;
};

}  // namespace koralite::common
