#include "toolkit/io/atomic_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "toolkit/io/interrupt.h"
#include "toolkit/io/io_error.h"

namespace koralite::toolkit {
namespace fs = std::filesystem;

AtomicFile::AtomicFile(std::string path) : path_(std::move(path)) {
  std::error_code error;
  const fs::file_type kind = fs::status(path_, error).type();
  if (kind == fs::file_type::directory) {
    throw IoError("can't write " + path_ + ": it is a folder; name a file");
  }
  // A pipe or a device cannot be replaced; it is written as it stands.
  const bool replace = kind == fs::file_type::regular || kind == fs::file_type::not_found;
  beside_ = replace ? path_ + ".part" : "";
  file_.reset(std::fopen((replace ? beside_ : path_).c_str(), "wb"));
  if (!file_) {
    beside_.clear();  // nothing to remove
    fail("can't write ");
  }
}

AtomicFile::~AtomicFile() {
  file_.reset();
  if (!beside_.empty()) {
    std::remove(beside_.c_str());
  }
}

void AtomicFile::fail(const char* what) const {
  throw IoError(what + path_ + ": " + std::generic_category().message(errno) +
                "; check the folder, the rights and the space on the disk");
}

void AtomicFile::write(std::span<const unsigned char> bytes) {
  stop_if_interrupted();
  if (!file_) {
    throw std::runtime_error("can't write " + path_ + ": it is already committed");
  }
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
    fail("can't write ");
  }
  written_ += bytes.size();
}

void AtomicFile::write(std::string_view text) {
  write({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

void AtomicFile::write_at(std::uint64_t offset, std::span<const unsigned char> bytes) {
  if (offset > written_ || bytes.size() > written_ - offset) {
    throw std::runtime_error("can't write " + path_ + ": place not written before");
  }
  const std::uint64_t end = written_;
  if (offset > std::numeric_limits<off_t>::max() ||
      ::fseeko(file_.get(), static_cast<off_t>(offset), SEEK_SET) != 0) {
    fail("can't move in ");
  }
  write(bytes);
  written_ = end;
  if (::fseeko(file_.get(), 0, SEEK_END) != 0) {
    fail("can't move in ");
  }
}

void AtomicFile::commit() {
  if (!file_) {
    throw std::runtime_error("can't write " + path_ + ": it is already committed");
  }
  if (std::fflush(file_.get()) != 0) {
    fail("can't write ");
  }
  if (!beside_.empty() && ::fsync(::fileno(file_.get())) != 0) {
    fail("can't write ");
  }
  if (std::fclose(file_.release()) != 0) {
    fail("can't write ");
  }
  if (beside_.empty()) {
    return;
  }
  if (std::rename(beside_.c_str(), path_.c_str()) != 0) {
    fail("can't rename a file to ");
  }
  beside_.clear();
  // The rename itself is on disk once the folder is; some file systems refuse, and that is fine.
  const fs::path folder = fs::path(path_).parent_path();
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd >= 0) {
    static_cast<void>(::fsync(fd));
    ::close(fd);
  }
}

void write_file(const std::string& path, std::span<const unsigned char> bytes) {
  AtomicFile file(path);
  file.write(bytes);
  file.commit();
}

void write_file(const std::string& path, std::string_view text) {
  write_file(path, {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

}  // namespace koralite::toolkit
