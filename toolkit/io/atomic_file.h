// Output files that are whole or not there.
//
// The bytes go to a file beside the wanted one; commit() syncs it and renames it
// over the old one. Without commit() (an error, a crash, a full disk) the old file
// stays as it was and the half-written one is removed where possible. One owner,
// one thread. Failures are IoError naming the file and the cause; a caught ctrl-C
// makes write() throw InterruptedError, which unwinds the same way.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace koralite::toolkit {

class AtomicFile {
 public:
  explicit AtomicFile(std::string path);
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;
  ~AtomicFile();

  void write(std::span<const unsigned char> bytes);
  void write(std::string_view text);
  // Overwrites bytes written before, for heads that are known last. The end stays the place where
  // write() goes on.
  void write_at(std::uint64_t offset, std::span<const unsigned char> bytes);
  std::uint64_t position() const { return written_; }  // bytes written so far

  // Syncs, closes and renames. Nothing may be written afterwards.
  void commit();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  [[noreturn]] void fail(const char* what) const;

  std::string path_;
  std::string beside_;
  std::unique_ptr<std::FILE, Close> file_;
  std::uint64_t written_ = 0;
};

// Writes a whole file at once.
void write_file(const std::string& path, std::span<const unsigned char> bytes);
void write_file(const std::string& path, std::string_view text);

}  // namespace koralite::toolkit
