// Lines from and to file descriptors, for filters: reads give up when an interrupt
// was caught (toolkit/io/interrupt.h), and writing fails with IoError when the reader is gone or
// the disk is full. One object serves one thread.
#pragma once

#include <string>
#include <string_view>

namespace koralite::toolkit::cli {

class LineReader {
 public:
  explicit LineReader(int descriptor) : descriptor_(descriptor) {}

  // The next line without its line feed; false at the end and when interrupted. A
  // last line without a line feed counts.
  bool read(std::string& line);

 private:
  bool fill();

  int descriptor_;
  std::string buffer_;
  std::size_t begin_ = 0;  // of what is unread
  bool at_end_ = false;
};

class LineWriter {
 public:
  explicit LineWriter(int descriptor) : descriptor_(descriptor) {}

  void write(std::string_view text);
  void flush();

 private:
  int descriptor_;
  std::string buffer_;
};

}  // namespace koralite::toolkit::cli
