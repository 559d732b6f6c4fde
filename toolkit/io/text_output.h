// Text files written whole or not at all, gzip-compressed when their name ends
// in ".gz". The bytes go to a file beside the wanted one that commit() renames;
// without commit() nothing is left. One owner, one thread. Failures are
// std::runtime_error naming the file.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/io/atomic_file.h"

namespace koralite::toolkit {

class TextOutput {
 public:
  explicit TextOutput(const std::string& path);
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;
  ~TextOutput();

  void write(std::string_view text);
  void commit();

 private:
  struct Deflater;
  void deflate(std::string_view text, bool finish);

  AtomicFile file_;
  std::unique_ptr<Deflater> deflater_;  // none for plain text
};

}  // namespace koralite::toolkit
